// The two ends of every container operation: a file that is read line by line and a file that is
// written anew. Both release what they hold on every way out.
#pragma once

#include <norviktdm/tdm.h>
#include <sys/types.h>

#include <string_view>

namespace tdm {

/// Results of opening and of whole operations.
inline constexpr int status_done = 0;
inline constexpr int status_missing = 2;  // silent: a file or a directory of its path is not there
inline constexpr int status_failed = -1;

struct line_copy;

/// An open container, read in blocks. `line` is the line read last, its newline included; it lies
/// in the block, is valid until the next read, and is NUL-terminated when it begins with `^` or
/// has no newline. Lines are accepted and refused as tdm_read_long_line does: `in.capacity` follows
/// the size that its buffer would have.
struct container_input {
    container_input() = default;
    container_input(const container_input &) = delete;
    container_input &operator=(const container_input &) = delete;
    ~container_input();

    line_stream in{};
    std::string_view line;
    char *block = nullptr;       // owned
    size_t next = 0;             // in the block: the first byte behind the current line
    size_t filled = 0;           // in the block: the first byte behind what was read
    size_t nul = 0;              // in the block: the first NUL at or behind `next`, or `filled`
    char *terminator = nullptr;  // of the current line; stands in for the byte behind it
    char behind_line = '\0';     // that byte
    off_t block_offset = 0;      // of the block in the file
    line_copy *copy = nullptr;   // lines of the block that are still to be written
};

/// Opens `path` for reading and takes its size from the open file.
/// @returns 0, 2 or -1; a failure is reported, except the 2 and a block that is not to be had.
[[nodiscard]] int open_container(container_input *c, const char *path, const char *operation);

/// Reads the next line. @returns 0, or 1 after the failure was reported.
[[nodiscard]] int next_line(container_input *c, bool *at_eof);

/// Goes back to the first line. @returns 0, or 1 after the failure was reported.
[[nodiscard]] int rewind_container(container_input *c);

/// Goes back to the first line and reads it: the old status record, which every operation that
/// changes a container writes anew. @returns 0, -1 after a reported failure, or `when_empty` (also
/// reported) when the container has no line any more.
[[nodiscard]] int skip_old_status(container_input *c, int when_empty);

/// Reads the first line of a freshly opened container and checks it.
/// @returns 0 with both numbers set, or 1 after the failure was reported.
[[nodiscard]] int find_status_control_record(container_input *c, uint64_t *format,
                                             uint64_t *highest_branch);

/// A file that an operation writes. Only `out.stream` and `out.file_name` matter to writers.
struct text_output {
    text_output() = default;
    text_output(const text_output &) = delete;
    text_output &operator=(const text_output &) = delete;
    ~text_output();

    line_stream out{};
    char *stdio_buffer = nullptr;
};

/// Creates or truncates `path`; null or empty means standard output. Refuses, before it touches
/// anything, a path that is the same file as the container or as `other_input` (may be null):
/// opening it would destroy the only copy.
/// @returns 0, 2 or -1 (reported).
[[nodiscard]] int open_output(text_output *o, const char *path, const char *operation,
                              const container_input *c, const char *other_input);

/// As open_output for a path that must be given: null or empty is a file that cannot be opened.
[[nodiscard]] int open_new_container(text_output *o, const char *path, const char *operation,
                                     const container_input *c, const char *other_input);

/// Takes over a stream that somebody else opened.
void adopt_stream(text_output *o, FILE *stream, const char *file_name, const char *operation);

/// Forces the output to disk and closes it, standard output excepted.
/// @returns the status of the sync, or -1 when the close failed; a failure is reported once.
[[nodiscard]] int finish_output(text_output *o);

/// Closes an output that stays incomplete; a failed close is reported beside what made it so.
/// @returns -1.
[[nodiscard]] int abandon_output(text_output *o);

/// As finish_output, but a failed close alone is silent.
[[nodiscard]] int finish_listing(text_output *o);

/// Closes the output without forcing it to disk. @returns 0, or -1 (reported).
[[nodiscard]] int close_output(text_output *o);

/// Writes lines of a container to an output, neighbours by one call. What is left over when the
/// copy ends early is written by its destructor.
struct line_copy {
    line_copy(container_input *from, text_output *to) : c(from), o(to) { c->copy = this; }
    line_copy(const line_copy &) = delete;
    line_copy &operator=(const line_copy &) = delete;
    ~line_copy();

    container_input *c;
    text_output *o;
    std::string_view pending;  // in the container's block
};

/// Copies the whole current line. A line without its newline is refused (reported): whatever was
/// written behind it would become part of it. @returns 0, or 1 after the failure was reported.
[[nodiscard]] int copy_line(line_copy *copy);

/// Refuses a current line without its newline, as copy_line does. @returns 0, or 1 (reported).
[[nodiscard]] int check_line_end(const container_input *c);

/// Copies a part of the current line. @returns 0, or 1 after the failure was reported.
[[nodiscard]] int copy_text(line_copy *copy, std::string_view text);

/// Writes what is pending; every copy that succeeds ends so. @returns 0, or 1 (reported).
[[nodiscard]] int flush_copy(line_copy *copy);

/// Writes bytes as they are. @returns 0, or 1 after the failure was reported.
[[nodiscard]] int write_text(text_output *o, std::string_view bytes);

}  // namespace tdm

#include "tdm_container/container_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "messages/messages.h"
#include "tdm_container/codec.h"
#include "tdm_session/line_reader.h"

namespace tdm {
namespace {

constexpr size_t stdio_buffer_size = size_t{1} << 17;
constexpr size_t block_size = size_t{1} << 17;
constexpr int32_t first_capacity = 256;

/// A large buffer for a stream that has not been used yet. Without one the stream is only slower.
char *enlarge_buffer(FILE *stream) {
    auto *buffer = static_cast<char *>(mem_malloc(stdio_buffer_size));
    if (buffer != nullptr && setvbuf(stream, buffer, _IOFBF, stdio_buffer_size) != 0) {
        mem_free(buffer);
        buffer = nullptr;
    }
    return buffer;
}

int report_open_failure(const char *path) {
    if (errno == ENOENT) {
        return status_missing;
    }
    report_file_trouble(message::cannot_open, path);
    return status_failed;
}

int refuse_null_path() {
    errno = EFAULT;
    return report_open_failure("(null)");
}

bool same_file(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int refuse_same_file(const char *output, const char *input) {
    report_failure_text(
        "\"%s\" is the same file as \"%s\", which is being read: nothing was written.\n", output,
        input);
    return status_failed;
}

/// The output, described by `target`, must not be a file that the operation reads.
int check_not_read(const struct stat &target, const char *name, const container_input *c,
                   const char *other_input) {
    if (!S_ISREG(target.st_mode)) {
        return 0;
    }
    struct stat read {};
    if (c != nullptr && fstat(fileno(c->in.stream), &read) == 0 && same_file(target, read)) {
        return refuse_same_file(name, c->in.file_name);
    }
    if (other_input != nullptr && stat(other_input, &read) == 0 && same_file(target, read)) {
        return refuse_same_file(name, other_input);
    }
    return 0;
}

/// Puts back the byte that the current line's terminator stands in for.
void release_line(container_input *c) {
    if (c->terminator != nullptr) {
        *c->terminator = c->behind_line;
        c->terminator = nullptr;
    }
}

int close_stream(text_output *o) {
    FILE *const stream = o->out.stream;
    if (stream == stdout) {
        return 0;
    }
    o->out.stream = nullptr;
    return std::fclose(stream);
}

int sync_output(text_output *o) {
    const int status = sys_fsync_stream(o->out.stream);
    if (status != 0) {
        report_file_trouble(message::trouble_accessing, o->out.file_name);
    }
    return status;
}

/// NUL-terminates the current line. Left out for text: reading on over a byte just written is slow.
void terminate_line(container_input *c) {
    c->terminator = c->block + c->next;
    c->behind_line = *c->terminator;
    *c->terminator = '\0';
}

/// Where the first NUL from `from` on is.
size_t find_nul(const container_input *c, size_t from) {
    const void *found = std::memchr(c->block + from, '\0', c->filled - from);
    return found == nullptr ? c->filled
                            : static_cast<size_t>(static_cast<const char *>(found) - c->block);
}

/// Moves the unread rest to the front of the block and reads on behind it.
/// @returns 0, `read_any` telling whether anything came; 1 after the failure was reported.
int fill_block(container_input *c, bool *read_any) {
    if (c->copy != nullptr && flush_copy(c->copy) != 0) {
        return 1;
    }
    const size_t rest = c->filled - c->next;
    std::memmove(c->block, c->block + c->next, rest);
    c->block_offset += static_cast<off_t>(c->next);
    c->next = 0;
    size_t got = 0;
    if (feof_unlocked(c->in.stream) == 0) {
        got = fread_unlocked(c->block + rest, 1, block_size - rest, c->in.stream);
    }
    if (got == 0 && ferror_unlocked(c->in.stream) != 0) {
        report_file_trouble(message::trouble_accessing, c->in.file_name);
        return 1;
    }
    c->filled = rest + got;
    c->nul = find_nul(c, 0);
    *read_any = got != 0;
    return 0;
}

/// The first newline from `from` on in the block, or null.
const char *find_newline(const container_input *c, size_t from) {
    return static_cast<const char *>(std::memchr(c->block + from, '\n', c->filled - from));
}

/// Passes over `length` bytes, whose first `text_length` are then the current line.
int accept_line(container_input *c, size_t length, size_t text_length, bool ended) {
    char *const start = c->block + c->next;
    c->line = {start, text_length};
    c->next += length;
    if (*start == format::record_mark || !ended) {
        terminate_line(c);
    }
    return 0;
}

/// Makes `length` bytes the current line, once the reader's rules have passed them.
/// @param at_eof  they are the last ones and have no newline.
int take_line(container_input *c, size_t length, bool at_eof) {
    char *const start = c->block + c->next;
    const bool has_nul = c->nul < c->next + length;
    const size_t text_length = has_nul ? c->nul - c->next : length;
    // Without a newline only the byte behind the text tells that it ends there.
    const bool ended = !has_nul && start[length - 1] == '\n';
    const size_t looked_at = text_length + (ended ? 0 : 1);
    const bool no_newline_line =
        std::string_view(start, length).starts_with(format::unended_prefix);
    while (looked_at > static_cast<size_t>(c->in.capacity - 2)) {
        const int capacity = next_line_capacity(c->in.capacity, no_newline_line);
        if (capacity == 0) {
            report_line_too_long(c->in.file_name);
            return 1;
        }
        c->in.capacity = capacity;
    }
    if (has_nul &&
        judge_nul(&c->in, at_eof, static_cast<uint64_t>(c->block_offset) + c->nul) != 0) {
        return 1;
    }
    return accept_line(c, length, text_length, ended);
}

}  // namespace

container_input::~container_input() {
    if (in.stream != nullptr) {
        std::fclose(in.stream);
    }
    mem_free(block);
}

line_copy::~line_copy() {
    fwrite_unlocked(pending.data(), 1, pending.size(), o->out.stream);
    c->copy = nullptr;
}

text_output::~text_output() {
    if (out.stream != nullptr && out.stream != stdout) {
        std::fclose(out.stream);
    }
    mem_free(stdio_buffer);
}

int open_container(container_input *c, const char *path, const char *operation) {
    if (path == nullptr) {
        return refuse_null_path();
    }
    c->in.stream = std::fopen(path, "r");
    if (c->in.stream == nullptr) {
        return report_open_failure(path);
    }
    // The block is the only buffer; one byte more than it holds is for the last line's terminator.
    setvbuf(c->in.stream, nullptr, _IONBF, 0);
    c->block = static_cast<char *>(mem_malloc(block_size + 1));
    if (c->block == nullptr) {
        return status_failed;
    }
    c->in.capacity = first_capacity;
    c->in.op_is_operation = 1;
    c->in.op_name = operation;
    c->in.file_name = path;
    struct stat st {};
    if (fstat(fileno(c->in.stream), &st) != 0) {
        report_file_trouble(message::trouble_accessing, path);
        return status_failed;
    }
    c->in.file_size = static_cast<uint64_t>(st.st_size);
    return status_done;
}

int next_line(container_input *c, bool *at_eof) {
    release_line(c);
    *at_eof = false;
    const char *newline = find_newline(c, c->next);
    for (size_t seen = c->filled - c->next; newline == nullptr; seen = c->filled - c->next) {
        // More than any line may have: whatever follows, the line is refused.
        const bool more = seen <= longest_line + no_newline_prefix;
        bool read_any = false;
        if (more && fill_block(c, &read_any) != 0) {
            return 1;
        }
        if (!read_any) {
            *at_eof = more && c->filled == c->next;
            return *at_eof ? 0 : take_line(c, c->filled - c->next, more);
        }
        newline = find_newline(c, c->next + seen);
    }
    const size_t length = static_cast<size_t>(newline - c->block) + 1 - c->next;
    // Most lines hold no NUL and fit the buffer that is there; then nothing else is to be judged.
    const bool ordinary =
        c->next + length <= c->nul && length <= static_cast<size_t>(c->in.capacity - 2);
    return ordinary ? accept_line(c, length, length, true) : take_line(c, length, false);
}

int rewind_container(container_input *c) {
    release_line(c);
    if (c->block_offset != 0) {
        if (fseeko(c->in.stream, 0, SEEK_SET) != 0) {
            report_file_trouble(message::trouble_accessing, c->in.file_name);
            return 1;
        }
        c->filled = 0;
        c->block_offset = 0;
    }
    clearerr(c->in.stream);
    c->next = 0;
    c->nul = find_nul(c, 0);
    return 0;
}

int skip_old_status(container_input *c, int when_empty) {
    bool at_eof = false;
    if (rewind_container(c) != 0 || next_line(c, &at_eof) != 0) {
        return status_failed;
    }
    if (at_eof) {
        report_bad_record(c->in.file_name, "<EOF>");
        return when_empty;
    }
    return status_done;
}

int find_status_control_record(container_input *c, uint64_t *format, uint64_t *highest_branch) {
    bool at_eof = false;
    if (next_line(c, &at_eof) != 0) {
        return 1;
    }
    if (!at_eof && c->terminator == nullptr) {
        terminate_line(c);
    }
    const char *const line = c->line.data();
    if (at_eof || !is_record(c->line, format::kind_status) ||
        tdm_cntutl_decode_status(line, format, highest_branch) != 0) {
        report_bad_record(c->in.file_name, at_eof ? "<EOF>" : line);
    } else if (*format != known_formats) {
        // The text takes an unsigned int; a format number is never larger in a sound container.
        report_failure(message::unknown_format, static_cast<unsigned>(*format));
    } else {
        return 0;
    }
    report_failure(message::not_a_container, c->in.file_name);
    return 1;
}

void adopt_stream(text_output *o, FILE *stream, const char *file_name, const char *operation) {
    o->out.stream = stream;
    o->out.file_name = file_name;
    o->out.op_is_operation = operation == nullptr ? 0 : 1;
    o->out.op_name = operation;
    if (stream == stdout) {
        // What the host failed to write before is not this operation's failure.
        std::fflush(stream);
        clearerr(stream);
    } else {
        o->stdio_buffer = enlarge_buffer(stream);
    }
}

int open_output(text_output *o, const char *path, const char *operation, const container_input *c,
                const char *other_input) {
    if (path != nullptr && *path != '\0') {
        return open_new_container(o, path, operation, c, other_input);
    }
    adopt_stream(o, stdout, "<stdout>", nullptr);
    struct stat target {};
    return fstat(fileno(stdout), &target) == 0
               ? check_not_read(target, o->out.file_name, c, other_input)
               : status_done;
}

int open_new_container(text_output *o, const char *path, const char *operation,
                       const container_input *c, const char *other_input) {
    if (path == nullptr) {
        return refuse_null_path();
    }
    struct stat target {};
    if (stat(path, &target) == 0 && check_not_read(target, path, c, other_input) != 0) {
        return status_failed;
    }
    FILE *const stream = std::fopen(path, "w");
    if (stream == nullptr) {
        return report_open_failure(path);
    }
    adopt_stream(o, stream, path, operation);
    return status_done;
}

int close_output(text_output *o) {
    if (close_stream(o) != 0) {
        report_file_trouble(message::trouble_accessing, o->out.file_name);
        return status_failed;
    }
    return status_done;
}

int finish_output(text_output *o) {
    const int status = sync_output(o);
    if (status == 0) {
        return close_output(o);
    }
    return close_stream(o) == 0 ? status : status_failed;
}

int abandon_output(text_output *o) {
    (void)close_output(o);
    return status_failed;
}

int finish_listing(text_output *o) {
    const int status = sync_output(o);
    return close_stream(o) == 0 ? status : status_failed;
}

int flush_copy(line_copy *copy) {
    const std::string_view pending = copy->pending;
    copy->pending = {};
    return pending.empty() ? 0 : write_text(copy->o, pending);
}

int copy_line(line_copy *copy) {
    return check_line_end(copy->c) != 0 ? 1 : copy_text(copy, copy->c->line);
}

int check_line_end(const container_input *c) {
    if (c->line.back() != '\n') {
        report_bad_record(c->in.file_name, c->line.data());
        return 1;
    }
    return 0;
}

int copy_text(line_copy *copy, std::string_view text) {
    if (copy->pending.data() + copy->pending.size() == text.data()) {
        copy->pending = {copy->pending.data(), copy->pending.size() + text.size()};
        return 0;
    }
    const int status = flush_copy(copy);
    copy->pending = text;
    return status;
}

int write_text(text_output *o, std::string_view bytes) {
    if (fwrite_unlocked(bytes.data(), 1, bytes.size(), o->out.stream) != bytes.size()) {
        report_file_trouble(message::trouble_writing, o->out.file_name);
        return 1;
    }
    return 0;
}

}  // namespace tdm

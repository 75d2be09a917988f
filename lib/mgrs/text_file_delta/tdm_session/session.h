// A comparison of one base file (index 0) with up to 31 others, and the stages that fill it in.
//
// Inside the engine lines count from 0 within the middle of a file: what is left of it once the
// head and the tail, the lines common to all files at either end, are taken off. Line numbers that
// cross the public interface count from 1 in the whole file: middle line m is line head lines + m
// + 1.
#pragma once

#include <norviktdm/tdm.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tdm {

inline constexpr int max_files = 32;  // the duplicate mask of a line class has a bit for each
inline constexpr uint32_t no_line = 0xFFFFFFFF;

/// Codeset codes with a meaning of their own.
inline constexpr uint32_t codeset_none = 0;
inline constexpr uint32_t codeset_euc = 1;
inline constexpr uint32_t codeset_sjis = 2;
inline constexpr uint32_t codeset_unknown = 4;

/// Entries of a match map below 0.
inline constexpr int32_t line_absent = -1;    // the text is nowhere in the other file's middle
inline constexpr int32_t line_unpaired = -2;  // it is there, but found no partner

/// What is known of one distinct line. In the table it is followed by one 32-bit number a file, the
/// line's first place in the middle of that file; see first_lines.
struct line_class {
    uint32_t dup_mask;  // bit k: the line is more than once in the middle of file k
};

/// The first middle line of each file that is of this class; no_line where there is none.
inline uint32_t *first_lines(line_class *c) {
    return &c->dup_mask + 1;
}
inline const uint32_t *first_lines(const line_class *c) {
    return &c->dup_mask + 1;
}

struct checkpoint {
    int32_t line;     // in the middle
    uint64_t offset;  // of the line's first byte in the file
};
static_assert(sizeof(checkpoint) == 16);

struct session_file {
    line_stream input;
    int32_t last_line;         // the middle has last_line + 1 lines
    uint32_t same_as_base;     // 1: same text as the base
    const line_class **lines;  // grow_array: the class of each middle line
    uint32_t checkpoint_count;
    checkpoint *checkpoints;  // grow_array, lines increasing
};

/// Lines that all files have in common at one end.
struct common_span {
    uint64_t line_count;
    uint64_t bytes[max_files];  // what they take up in each file
};

/// A line whose place in its file is known: the one behind the line that was fetched last.
struct line_position {
    int32_t line;  // in the middle; 0: nothing fetched yet
    uint64_t offset;
};

/// The ends of the next runs of a match map, at and after the stream's place in it. Every run is
/// measured once; the stream never looks more than three runs past the one it is in.
struct run_window {
    uint32_t count;
    uint32_t ends[4];  // increasing
};

/// A tdm_difference_kind, or that it was not looked for yet.
using block_kind = uint8_t;
inline constexpr block_kind kind_not_known = 255;

enum class session_state : uint32_t {
    created,
    entry_failed,  // the line tables may be incomplete
    entered,
    compare_failed,  // lines are classed, maps are missing
    compared,
};

}  // namespace tdm

struct tdm_session {
    uint16_t file_count;
    uint32_t ignore_blanks;
    int32_t op_flag;
    char *op_name;  // owned
    hash_table *line_classes;
    tdm::common_span head, tail;
    int32_t *base_map[tdm::max_files];  // owned; entry 0 is never set
    uint64_t base_line_count;
    int32_t *file_map[tdm::max_files];  // owned; entry 0 is never set
    uint64_t file_line_count[tdm::max_files];

    // The difference stream. Index 0: the current block of the base.
    int32_t diff_pos[tdm::max_files];         // middle line where the file's current block starts
    uint64_t diff_block_len[tdm::max_files];  // its lines; 0: not measured, or the file is used up
    uint32_t diff_done[tdm::max_files];       // the file has dealt with the current base block
    uint32_t diff_last_moved_insert;

    tdm::session_file files[tdm::max_files];

    uint32_t convert;  // 1: texts are converted to the locale's codeset when fetched
    void *cs_handle;
    uint32_t file_codeset, locale_codeset;  // codeset_none: not known
    char *conv_buf;                         // owned
    uint64_t conv_buf_size;

    // Kept beside the described fields, for speed and safety.
    tdm::session_state state;
    uint32_t identical;      // 1: all files are the same; known once entered
    uint32_t exact_classes;  // 1: lines with equal hashes and different bytes are kept apart
    uint32_t no_op_name;     // 1: the operation's name could not be kept, which was reported
    tdm::line_position last_pos[tdm::max_files];
    tdm::checkpoint *far_points[tdm::max_files];  // grow_array: places between the checkpoints
    uint32_t far_point_count[tdm::max_files];
    off_t stream_at[tdm::max_files];     // where each stream stands, or position_unknown
    char *stdio_buffer[tdm::max_files];  // owned; null: the stream has its default buffer
    tdm::run_window base_runs[tdm::max_files], file_runs[tdm::max_files];
    tdm::block_kind diff_kind[tdm::max_files];  // of the file's current block, or kind_not_known
};

namespace tdm {

/// Takes the lines that all files share at the front (`forward`) or at the end off the comparison.
/// The front comes first. @returns 0 with `identical` set, or 1 after the failure was reported.
[[nodiscard]] int match_head_tail(tdm_session *s, bool forward, common_span *span, bool *identical);

/// Learns the files' codeset from a line when conversion is on and it is not known yet.
/// @returns false when the line is in no codeset that is known (reported as a notice).
bool detect_codeset(tdm_session *s, std::string_view line);

/// Decides at creation whether line texts will be converted.
void set_up_codesets(tdm_session *s);
void release_codesets(tdm_session *s);

}  // namespace tdm

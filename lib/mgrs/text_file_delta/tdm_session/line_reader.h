// The long-line reader as the library's own files call it.
#pragma once

#include <norviktdm/tdm.h>
#include <sys/types.h>

#include <cstddef>

#include "text_line.h"

namespace tdm {

/// Longest line that is text, newline not counted, and what one stored without its newline may have
/// more.
inline constexpr int longest_line = format::longest_line;
inline constexpr int no_newline_prefix = format::unended_prefix.size();

inline constexpr off_t position_unknown = -1;

/// Reads the next line into in->line, as tdm_read_long_line does, for a caller that reads in order.
/// @param position  offset of the line's first byte, or position_unknown; moved past the line on
///                  success when it was known. Knowing it saves a system call for every line.
/// @param length    bytes of the line, its newline included, 0 at end of file.
/// @returns 0, or 1 after the failure was reported.
[[nodiscard]] int read_line(line_stream *in, off_t *position, size_t *length, bool *at_eof);

/// Reports that the file holds a line longer than text may have.
void report_line_too_long(const char *file_name);

// The reader's rules, for a reader that keeps its lines elsewhere.

/// The next capacity of a line buffer that is too small, 0 when the line is too long. A line of n
/// bytes, its newline included, fits a buffer of n + 2 bytes.
/// @param no_newline_line  the line begins with `^N `.
[[nodiscard]] int next_line_capacity(int capacity, bool no_newline_line);

/// Judges a NUL at `offset` of the file, met before the newline of its line.
/// @param at_eof  the line is the last one and has no newline.
/// @returns 0 when it is only what ends that last line; 1 after reporting binary data.
[[nodiscard]] int judge_nul(const line_stream *in, bool at_eof, uint64_t offset);

}  // namespace tdm

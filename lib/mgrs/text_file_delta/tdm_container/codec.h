// Records of a container, written and parsed one at a time: what the library's own files use of the
// codec beyond the exported functions.
#pragma once

#include <norviktdm/tdm.h>

#include <cstddef>
#include <string_view>

namespace tdm {

inline constexpr uint64_t container_format = 0xdb1;

/// What an oid may have at most where it is written, and where it is read.
inline constexpr size_t longest_written_oid = 99;
inline constexpr size_t longest_read_oid = 111;
using oid_buffer = char[longest_read_oid + 1];

/// Whether `line` is a record of this kind (commented-out records are of kind '#').
inline bool is_record(std::string_view line, char kind) {
    return line.size() >= 2 && line[0] == '^' && line[1] == kind;
}

/// The line without the `^#` that comments it out, and whether it had one.
inline std::string_view without_comment(std::string_view line, bool *commented) {
    *commented = is_record(line, '#');
    return *commented ? line.substr(2) : line;
}

/// The text of a line that begins with `^`, as stored_text gives it.
bool prefixed_text(std::string_view line, bool keep_newline, std::string_view *text);

/// A text line as stored, taken apart: its bytes as a version has them.
/// @param keep_newline  leave the newline that a `^N` line was given by the writer.
/// @returns false when the line is a record and not text.
inline bool stored_text(std::string_view line, bool keep_newline, std::string_view *text) {
    if (line.empty() || line[0] != '^') {
        *text = line;
        return true;
    }
    return prefixed_text(line, keep_newline, text);
}

/// tdm_cntutl_encode_text for text of known length.
[[nodiscard]] int encode_text(line_stream *out, std::string_view text);

/// Whether the line, once stored, could be read back; lines that could not are refused at check-in.
bool can_be_read_back(std::string_view text);

/// Whether the library may write this oid: 1 to 99 bytes, none white space or a control byte.
/// Reports a refused one; null is refused too.
[[nodiscard]] int check_oid(const char *oid);

/// Reports a record that cannot be decoded, or "<EOF>".
void report_bad_record(const char *file_name, const char *line);

}  // namespace tdm

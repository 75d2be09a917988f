// Records of a container, written and parsed one at a time: what the library's own files use of the
// codec beyond the exported functions.
#pragma once

#include <norviktdm/tdm.h>

#include <string_view>

#include "text_line.h"

namespace tdm {

using format::is_record;
using format::oid_buffer;
using format::without_comment;

/// A text line as stored, taken apart: its bytes as a version has them.
/// @param keep_newline  leave the newline that a `^N` line was given by the writer.
/// @returns false when the line is a record and not text.
inline bool stored_text(std::string_view line, bool keep_newline, std::string_view *text) {
    if (line.empty() || line[0] != format::record_mark) {
        *text = line;
        return true;
    }
    const bool is_text = format::holds_text(format::kind_of(line));
    *text = is_text ? format::text_of(line, keep_newline) : *text;
    return is_text;
}

/// tdm_cntutl_encode_text for text of known length.
[[nodiscard]] int encode_text(line_stream *out, std::string_view text);

/// Whether the library may write this oid: 1 to 99 bytes, none white space or a control byte.
/// Reports a refused one; null is refused too.
[[nodiscard]] int check_oid(const char *oid);

/// Reports a record that cannot be decoded, or "<EOF>".
void report_bad_record(const char *file_name, const char *line);

}  // namespace tdm

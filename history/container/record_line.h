// One line of a container, taken apart without reading past its end.
//
// What a record says is decided by the same readers of fields as in the library (record_decode.h);
// here it is also told whether an encoder spells it so.
#ifndef NORVIK_RECORD_LINE_H
#define NORVIK_RECORD_LINE_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "text_line.h"

namespace norvik {

using format::holds_text;
using format::longest_line;
using format::longest_written_oid;
using format::record_prefix;
using format::text_of;

// How a record spells its fields.
enum class spelling {
    canonical,  // as the encoders write it
    odd,        // decodes, but no encoder writes it so
    followed,   // decodes, but more stands behind the last field
    malformed,  // does not decode
};

// The fields of a V or B record, and its notes (version_notes.h) with their sum; empty for none.
// `oid` and `notes` point into the line.
struct object_fields {
    std::string_view oid;
    std::uint64_t number[3] = {0, 0, 0};
    std::string_view notes;
    std::optional<std::uint64_t> sum;
};

// The fields of an I or D record.
struct run_fields {
    std::uint64_t branch = 0;
    std::uint64_t version = 0;
    std::uint64_t count = 0;
};

// Decodes an I or D record.
[[nodiscard]] spelling decode_run(std::string_view line, run_fields *out);

// Decodes a V or B record: an oid and three numbers, and notes. Whatever else follows is none of
// them.
[[nodiscard]] spelling decode_object(std::string_view line, object_fields *out);

// Decodes an E record.
[[nodiscard]] spelling decode_element(std::string_view line, std::string_view *oid);

// Decodes an S record.
[[nodiscard]] spelling decode_status(std::string_view line, std::uint64_t *format,
                                     std::uint64_t *highest);

}  // namespace norvik

#endif

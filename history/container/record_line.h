// One line of a container, taken apart without reading past its end.
//
// What a record says is decided by the same readers of fields as in the library (record_decode.h);
// here it is also told whether an encoder spells it so.
#ifndef NORVIK_RECORD_LINE_H
#define NORVIK_RECORD_LINE_H

#include <cstdint>
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

// The fields of a V, B or E record. `oid` points into the line; an E record has no numbers.
struct object_fields {
    std::string_view oid;
    std::uint64_t number[3] = {0, 0, 0};
};

// The fields of an I or D record.
struct run_fields {
    std::uint64_t branch = 0;
    std::uint64_t version = 0;
    std::uint64_t count = 0;
};

// Decodes an I or D record.
[[nodiscard]] spelling decode_run(std::string_view line, run_fields *out);

// Decodes a V or B record (an oid and three numbers).
[[nodiscard]] spelling decode_object(std::string_view line, object_fields *out);

// Decodes an E record.
[[nodiscard]] spelling decode_element(std::string_view line, std::string_view *oid);

// Decodes an S record.
[[nodiscard]] spelling decode_status(std::string_view line, std::uint64_t *format,
                                     std::uint64_t *highest);

}  // namespace norvik

#endif

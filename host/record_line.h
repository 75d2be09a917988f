// One line of a container, taken apart without reading past its end.
//
// The forms that the library writes are read here directly. Whatever else its decoders accept (more
// blanks, leading zeros, signs, upper case, 0x) is handed to those decoders, so that this reader
// can never disagree with the library about what a record says.
#ifndef TDM_HOST_RECORD_LINE_H
#define TDM_HOST_RECORD_LINE_H

#include <cstdint>
#include <string_view>

namespace host {

// The longest object identifier that the library's decoders store.
constexpr std::size_t longest_decoded_oid = 111;
// The longest one that the encoders write.
constexpr std::size_t longest_written_oid = 99;
// The prefix of a quoted or unterminated text line and of every record: `^`, the kind, a blank.
constexpr std::size_t record_prefix = 3;
// The longest line that the reader accepts, newline not counted; `^N ` lines may have 3 more.
constexpr std::size_t longest_line = 8000;

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
    uint64_t number[3] = {0, 0, 0};
};

// The fields of an I or D record.
struct run_fields {
    uint64_t branch = 0;
    uint64_t version = 0;
    uint64_t count = 0;
};

// The kind of a record line: the second byte of a line that begins with `^`, 0 for a plain text
// line, '\n' for a line that holds nothing, or a NUL, behind its `^`. `line` may or may not end
// with its newline.
[[nodiscard]] char record_kind(std::string_view line);

// True for the kinds that hold text: plain, Q, N and T.
[[nodiscard]] constexpr bool holds_text(char kind) {
    return kind == 0 || kind == 'Q' || kind == 'N' || kind == 'T';
}

// The text of a text line as a version holds it: Q and N without their prefix, N without newline.
// `line` includes its newline.
[[nodiscard]] std::string_view text_of(std::string_view line);

// Decodes an I or D record.
[[nodiscard]] spelling decode_run(std::string_view line, run_fields *out);

// Decodes a V or B record (an oid and three numbers).
[[nodiscard]] spelling decode_object(std::string_view line, object_fields *out);

// Decodes an E record.
[[nodiscard]] spelling decode_element(std::string_view line, std::string_view *oid);

// Decodes an S record.
[[nodiscard]] spelling decode_status(std::string_view line, uint64_t *format, uint64_t *highest);

}  // namespace host

#endif

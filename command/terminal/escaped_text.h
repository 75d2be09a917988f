// Text made harmless to show: bytes that a terminal would obey are made visible.
#ifndef NORVIK_ESCAPED_TEXT_H
#define NORVIK_ESCAPED_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace norvik {

// `text` with every byte that a terminal would obey or cannot show made visible: control bytes as
// \n, \t, \e, \xNN; bytes that are no UTF-8 as \xNN; control and direction-changing characters as
// \u{NNNN}; a backslash as two. The result is printable UTF-8 and names one input only.
std::string escape_name(std::string_view text);

// The same for a line of text shown to people: a newline at its end, tabs and backslashes stay.
std::string escape_text(std::string_view text);

// Decodes the UTF-8 character at the start of `text`, which is not empty, and returns its length; 0
// when there is none (cut, overlong, a surrogate, beyond U+10FFFF).
std::size_t decode_utf8(std::string_view text, std::uint32_t &character);

// Whether `text` is UTF-8 throughout.
bool is_utf8(std::string_view text);

}  // namespace norvik

#endif

// One pass over the text. Where no character of UTF-8 begins, one byte is escaped and the next one
// tried.
#include "escaped_text.h"

#include <utf8proc.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace norvik {

namespace {

// Characters beyond ASCII that steer a terminal, cannot be seen or turn the reading direction: C1
// controls, marks and joiners without width, line and paragraph separators, embeddings and
// isolates, the byte order mark.
bool is_steering(std::uint32_t c) {
    return (c >= 0x80 && c <= 0x9f) || c == 0x61c || (c >= 0x200b && c <= 0x200f) ||
           (c >= 0x2028 && c <= 0x202e) || (c >= 0x2060 && c <= 0x2069) || c == 0xfeff;
}

void append_escaped_byte(std::string &out, std::uint8_t byte) {
    char buffer[8];
    switch (byte) {
        case '\n':
            out += "\\n";
            return;
        case '\t':
            out += "\\t";
            return;
        case '\r':
            out += "\\r";
            return;
        case 0x1b:
            out += "\\e";
            return;
        default:
            std::snprintf(buffer, sizeof buffer, "\\x%02x", byte);
            out += buffer;
    }
}

std::string escape(std::string_view text, bool name) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        std::uint32_t c = 0;
        const std::size_t length = decode_utf8(text, c);
        const auto first = static_cast<std::uint8_t>(text[0]);
        if (length == 0 || c < 0x20 || c == 0x7f) {
            if (!name && (c == '\t' || (c == '\n' && text.size() == 1)) && length == 1) {
                out += text[0];
            } else {
                append_escaped_byte(out, first);
            }
        } else if (is_steering(c)) {
            char buffer[16];
            std::snprintf(buffer, sizeof buffer, "\\u{%x}", c);
            out += buffer;
        } else if (c == '\\' && name) {
            out += "\\\\";
        } else {
            out += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

}  // namespace

std::size_t decode_utf8(std::string_view text, std::uint32_t &character) {
    character = static_cast<std::uint8_t>(text[0]);
    if (character < 0x80) {
        return 1;
    }
    utf8proc_int32_t found = 0;
    const utf8proc_ssize_t length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t *>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), &found);
    character = static_cast<std::uint32_t>(found);
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

std::string escape_name(std::string_view text) {
    return escape(text, true);
}

std::string escape_text(std::string_view text) {
    return escape(text, false);
}

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        std::uint32_t c = 0;
        const std::size_t length = decode_utf8(text, c);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace norvik

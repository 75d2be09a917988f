// One memory search a line; 8 bytes a line.
#include "text_lines.h"

#include <algorithm>
#include <cstring>

namespace norvik {

namespace {

// As the library has it in the C locale.
bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

text_lines split_lines(std::string_view bytes) {
    text_lines lines;
    lines.bytes = bytes;
    // A guess that spares most texts the second growth: forty bytes a line.
    lines.starts.reserve(bytes.size() / 40 + 2);
    std::size_t at = 0;
    while (at < bytes.size()) {
        const void *end = std::memchr(bytes.data() + at, '\n', bytes.size() - at);
        at = end == nullptr
                 ? bytes.size()
                 : static_cast<std::size_t>(static_cast<const char *>(end) - bytes.data()) + 1;
        lines.starts.push_back(at);
    }
    return lines;
}

bool same_line(std::string_view a, std::string_view b, line_equality equality) {
    if (equality == line_equality::exact) {
        return a == b;
    }
    if (equality == line_equality::without_inner_blanks &&
        lacks_last_newline(a) != lacks_last_newline(b)) {
        return false;
    }
    std::size_t i = 0;
    std::size_t j = 0;
    while (true) {
        while (i < a.size() && is_blank(a[i])) {
            i++;
        }
        while (j < b.size() && is_blank(b[j])) {
            j++;
        }
        if (i == a.size() || j == b.size()) {
            return i == a.size() && j == b.size();
        }
        if (a[i++] != b[j++]) {
            return false;
        }
    }
}

bool is_significant(std::string_view line) {
    return std::any_of(line.begin(), line.end(), [](char c) { return is_significant(c); });
}

}  // namespace norvik

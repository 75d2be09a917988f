#include "columns.h"

#include <algorithm>

#include "escaped_text.h"

namespace host {

namespace {

bool begins_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
}

}  // namespace

size_t count_columns(std::string_view escaped) {
    return static_cast<size_t>(std::count_if(escaped.begin(), escaped.end(), begins_character));
}

std::string widened(std::string escaped, size_t columns) {
    const size_t used = count_columns(escaped);
    escaped.append(columns - std::min(columns, used), ' ');
    return escaped;
}

std::string fit_column(std::string_view line, int width) {
    if (line.ends_with('\n')) {
        line.remove_suffix(1);
    }
    std::string out;
    int column = 0;
    size_t last_start = 0;  // of the character in the last column
    for (const char c : escape_text(line)) {
        if (c == '\t') {
            do {
                last_start = out.size();
                out += ' ';
            } while (++column % 8 != 0 && column < width);
            continue;
        }
        if (begins_character(c)) {
            if (column >= width) {
                out.resize(last_start);
                return out + '>';
            }
            last_start = out.size();
            column++;
        }
        out += c;
    }
    return out.append(static_cast<size_t>(width - column > 0 ? width - column : 0), ' ');
}

}  // namespace host

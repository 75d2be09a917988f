// Widths are those of escaped text, where nothing steers the terminal. ASCII is a column a byte and
// is passed over in runs; of all else utf8proc knows the width. One pass over the line, a long
// one's hidden rest included, which is escaped first.
#include "columns.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdint>

#include "escaped_text.h"

namespace norvik {

namespace {

struct shown_character {
    std::size_t bytes;
    std::size_t columns;
};

// The first character of escaped text, which is not empty.
shown_character first_character(std::string_view escaped) {
    if (static_cast<unsigned char>(escaped[0]) < 0x80) {
        return {1, 1};
    }
    std::uint32_t character = 0;
    const std::size_t bytes = decode_utf8(escaped, character);
    const int columns = utf8proc_charwidth(static_cast<utf8proc_int32_t>(character));
    return {bytes, static_cast<std::size_t>(columns)};
}

// How many characters of one byte and one column the text begins with.
std::size_t plain_length(std::string_view escaped) {
    const auto is_special = [](unsigned char c) { return c < ' ' || c >= 0x80; };
    return static_cast<std::size_t>(std::ranges::find_if(escaped, is_special) - escaped.begin());
}

}  // namespace

std::size_t count_columns(std::string_view escaped) {
    std::size_t columns = 0;
    while (!escaped.empty()) {
        const shown_character next = first_character(escaped);
        columns += next.columns;
        escaped.remove_prefix(next.bytes);
    }
    return columns;
}

std::string widened(std::string escaped, std::size_t columns) {
    const std::size_t used = count_columns(escaped);
    escaped.append(columns - std::min(columns, used), ' ');
    return escaped;
}

std::string fit_column(std::string_view line, int columns) {
    const auto width = static_cast<std::size_t>(columns);
    if (line.ends_with('\n')) {
        line.remove_suffix(1);
    }
    std::string out;
    std::size_t column = 0;
    // The longest beginning that leaves a column for the mark of what is cut.
    std::size_t kept = 0, kept_columns = 0;
    const std::string escaped = escape_text(line);
    for (std::string_view rest = escaped; !rest.empty();) {
        const std::size_t plain = plain_length(rest.substr(0, width - column));
        if (plain > 0) {
            out += rest.substr(0, plain);
            rest.remove_prefix(plain);
            column += plain;
            kept_columns = std::min(column, width - 1);
            kept = out.size() - (column - kept_columns);
            continue;
        }
        // A tab fits wherever one column is left: it goes no further than the edge.
        const bool tab = rest[0] == '\t';
        const shown_character next = first_character(rest);
        if (column + (tab ? 1 : next.columns) > width) {
            out.resize(kept);
            return out.append(width - 1 - kept_columns, ' ') + '>';
        }
        const std::size_t blanks = tab ? std::min(8 - column % 8, width - column) : 0;
        out.append(blanks, ' ').append(tab ? "" : rest.substr(0, next.bytes));
        column += tab ? blanks : next.columns;
        if (column < width) {
            kept = out.size();
            kept_columns = column;
        }
        rest.remove_prefix(next.bytes);
    }
    return out.append(width - column, ' ');
}

}  // namespace norvik

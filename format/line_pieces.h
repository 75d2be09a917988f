// Where a line that is longer than any that is read is cut.
//
// Its pieces are stored as a row: open lines (^N), and behind them the piece with the newline, or
// an open one where the text ends without. The cuts depend on the line's bytes alone, each on the
// 64 before it, so that two lines that are the same in some stretch have the same pieces there.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "text_line.h"

namespace format {

// Bytes of a piece, a newline not counted. All but the last of a line have as many at least.
inline constexpr std::size_t shortest_piece = 256;
inline constexpr std::size_t longest_piece = 7990;

// Whether a line of so many bytes before its newline, or before its end, is stored as a row. The
// library's check-in reads the lines of rows and counts their pieces, so that only lines that it
// refuses to read may be rows: a quoted one that cannot be read back is none, and not stored.
constexpr bool is_row(std::size_t size) {
    return size > longest_line;
}

// The size of the first piece of `rest`, the line or what is left of it behind a piece, with its
// newline where it has one. The last piece has the newline and a byte before it.
constexpr std::size_t first_piece(std::string_view rest) {
    constexpr std::size_t window = 64;
    constexpr std::uint64_t factor = 0x9e3779b97f4a7c15;
    constexpr std::uint64_t cut_below = 0x0058000000000000;  // one place of 745
    const std::size_t size = rest.size() - (rest.ends_with('\n') ? 1 : 0);
    if (size <= shortest_piece) {
        return rest.size();
    }
    std::uint64_t value = 0;
    const std::size_t most = std::min(size, longest_piece);
    for (std::size_t i = shortest_piece - window; i < most; i++) {
        value = value * 2 + static_cast<unsigned char>(rest[i]);
        if (i + 1 >= shortest_piece && i + 1 < size && value * factor < cut_below) {
            return i + 1;
        }
    }
    return most == size ? rest.size() : most;
}

}  // namespace format

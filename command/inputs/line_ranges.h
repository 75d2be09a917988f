// Ranges of lines as people give them.
#ifndef NORVIK_LINE_RANGES_H
#define NORVIK_LINE_RANGES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "failure.h"

namespace norvik {

// Lines `first` to `last`, counted from 1, both included.
struct line_range {
    std::size_t first = 1;
    std::size_t last = 0;
};

// What each of `asked` means in the text of those lines, in order of the lines and joined where
// they overlap. Each is FROM,TO or FROM alone, which goes to the last line. FROM is a line's number
// or /REGEX/ (extended), the first line that matches behind the range asked before; TO a number,
// +N or -N (N lines from FROM on, or up to it), or /REGEX/, the first line behind FROM that
// matches. A range that goes past the last line ends there; one that begins behind it, or matches
// nothing, is refused in the name of `name`.
result<std::vector<line_range>> find_line_ranges(const std::vector<std::string_view> &lines,
                                                 const std::vector<std::string> &asked,
                                                 const std::string &name);

}  // namespace norvik

#endif

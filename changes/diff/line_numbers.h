// Numbers for distinct lines: equal lines get the same number, so that further work compares
// integers.
#ifndef NORVIK_LINE_NUMBERS_H
#define NORVIK_LINE_NUMBERS_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "text_lines.h"

namespace norvik {

// Keeps views of the lines: their texts must outlive the table. Cost of a look-up: one pass over
// the line and, nearly always, one comparison.
class line_numbers {
public:
    explicit line_numbers(line_equality equality) : equality_(equality) {}

    // Forgets all lines and makes room for `expected` distinct ones; more are welcome.
    void reset(std::size_t expected);

    // The line's number, from 0 in order of first appearance; number() gives a new line the next
    // one, find() gives -1 for a line that has none.
    std::int32_t number(std::string_view line);
    std::int32_t find(std::string_view line) const;

    std::int32_t count() const { return static_cast<std::int32_t>(lines_.size()); }
    std::string_view line(std::int32_t number) const {
        return lines_[static_cast<std::size_t>(number)];
    }

private:
    std::size_t hash_of(std::string_view line) const;
    std::size_t slot_of(std::string_view line, std::size_t hash) const;
    void grow();

    line_equality equality_;
    std::vector<std::string_view> lines_;
    std::vector<std::size_t> hashes_;  // of the lines, so that growing looks at no text
    // A power of two of them, at most half of them taken; -1 free.
    std::vector<std::int32_t> slots_;
};

}  // namespace norvik

#endif

// What people are shown of lines that are too long to be read.
#ifndef NORVIK_LINE_EXCERPT_H
#define NORVIK_LINE_EXCERPT_H

#include <string>
#include <string_view>

namespace norvik {

// Whether the line, without its newline, is so long that a terminal shows excerpts only.
[[nodiscard]] bool is_shown_in_excerpts(std::string_view line);

struct line_excerpts {
    std::string before;
    std::string after;
};

// The places at which two lines without newline differ, the first ten, each with up to `around`
// bytes on both sides and 200 of its own; `...` for what lies between. Of equal lines the
// beginning.
[[nodiscard]] line_excerpts excerpts_of(std::string_view before, std::string_view after,
                                        std::size_t around);

}  // namespace norvik

#endif

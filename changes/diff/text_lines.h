// A text seen as lines: views into bytes that somebody else keeps.
#ifndef NORVIK_TEXT_LINES_H
#define NORVIK_TEXT_LINES_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace norvik {

// Lines count from 0 here and in every edit; only what people and the library see counts from 1.
struct text_lines {
    std::string_view bytes;
    std::vector<std::size_t> starts{0};  // offset of every line, and the size as one entry more

    std::int32_t count() const { return static_cast<std::int32_t>(starts.size()) - 1; }

    // The line with its newline; the last line may have none.
    std::string_view line(std::int32_t index) const { return range(index, index + 1); }

    // Lines first .. end - 1 as they stand in the text.
    std::string_view range(std::int32_t first, std::int32_t end) const {
        const std::size_t from = starts[static_cast<std::size_t>(first)];
        return bytes.substr(from, starts[static_cast<std::size_t>(end)] - from);
    }
};

// The lines of `bytes`, which must outlive the result. An empty text has no line; text after the
// last newline is a line without one.
text_lines split_lines(std::string_view bytes);

// Whether the text has lines and the last one has no newline.
inline bool lacks_last_newline(std::string_view bytes) {
    return !bytes.empty() && bytes.back() != '\n';
}

// When two lines are equal.
enum class line_equality {
    exact,
    without_blanks,  // all white space left out of account
    // The same, but a line without newline is no equal of one that ends with it: a merge that took
    // them for the same could join two lines.
    without_inner_blanks,
};

// Whether two lines, each with its newline where it has one, are equal in that sense.
bool same_line(std::string_view a, std::string_view b, line_equality equality);

// A letter, a digit or a byte of a longer character.
inline bool is_significant(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
}

// Whether a line says something of its own: it holds such a byte. Blank lines and lone braces do
// not.
bool is_significant(std::string_view line);

}  // namespace norvik

#endif

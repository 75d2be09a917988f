// How a container stores the lines of a text: one each, but a long line as a row of pieces
// (line_pieces.h).
#ifndef NORVIK_STORED_LINE_H
#define NORVIK_STORED_LINE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"
#include "text_lines.h"

namespace norvik {

// A text and the lines that it is stored as; both must outlive it.
struct stored_text {
    std::string_view text;
    std::optional<text_lines> lines;  // without value each line of the text is one
};

// Whether a line of the text has more than 8000 bytes before its newline. Looks at the ends of
// lines only.
[[nodiscard]] bool has_long_line(std::string_view text);

// The text as it is to be stored.
[[nodiscard]] stored_text split_stored(std::string_view text);

// The text as it is stored, by the ends (offsets, rising) of its lines without newline.
[[nodiscard]] stored_text stored_with(std::string_view text, const std::vector<std::size_t> &open);

// Whether a line, with its newline where it has one, can be stored whole and read back.
[[nodiscard]] bool can_be_stored(std::string_view line);

// Why such a line cannot be stored, in plain words with a way out.
[[nodiscard]] std::string why_not_stored(std::string_view line);

// The refusal of a text, called `name`, for the line that has the byte at `offset`.
[[nodiscard]] failure refuse_line(const std::string &name, std::string_view text,
                                  std::size_t offset);

}  // namespace norvik

#endif

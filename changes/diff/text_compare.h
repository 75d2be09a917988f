// The edits that make one text of another, both in memory, by our own comparison: what a check-in
// weaves.
//
// 1. What both texts have in common at their ends is taken off, byte for byte;
// 2. lines that are unique on both sides of what is left are pairs, and equal neighbours of pairs;
// 3. edit_list.h makes edits of them.
// Lines may be of any length. Cost: the common ends as fast as memory is compared, the rest a
// look-up a line and the work of edit_list.h.
#ifndef NORVIK_TEXT_COMPARE_H
#define NORVIK_TEXT_COMPARE_H

#include <string_view>
#include <vector>

#include "edit_list.h"

namespace norvik {

// In order, none touching the next; none for equal texts. Both texts have less than 2^31 lines.
[[nodiscard]] std::vector<edit> compare_texts(std::string_view before, std::string_view text);

// The same of texts that are divided already, into lines or into less, with their moves.
[[nodiscard]] file_edits compare_lines(const text_lines &base, const text_lines &file,
                                       const edit_list_options &options);

}  // namespace norvik

#endif

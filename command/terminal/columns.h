// Texts side by side on a terminal or a page. A character takes the columns that terminals give it:
// two for a wide one, none for one that joins the character before it.
#ifndef NORVIK_COLUMNS_H
#define NORVIK_COLUMNS_H

#include <cstddef>
#include <string>
#include <string_view>

namespace norvik {

// The columns that escaped text takes.
std::size_t count_columns(std::string_view escaped);

// Escaped text with blanks behind it, `columns` wide at least.
std::string widened(std::string escaped, std::size_t columns);

// A line of text made to fill exactly `columns` columns (1 at least): control bytes shown as
// escape_text does, tabs at every eighth column, the newline dropped, what is too long cut with ">"
// in the last column, what is short filled with blanks.
std::string fit_column(std::string_view line, int columns);

}  // namespace norvik

#endif

// Texts side by side on a terminal or a page.
#ifndef TDM_HOST_COLUMNS_H
#define TDM_HOST_COLUMNS_H

#include <string>
#include <string_view>

namespace host {

// The columns that escaped text takes: a character counts as one.
size_t count_columns(std::string_view escaped);

// Escaped text with blanks behind it, `columns` wide at least.
std::string widened(std::string escaped, size_t columns);

// A line of text made to fill exactly `width` columns: control bytes shown as escape_text does,
// tabs at every eighth column, the newline dropped, what is too long cut with ">" in the last
// column, what is short filled with blanks. A character counts as one column.
std::string fit_column(std::string_view line, int width);

}  // namespace host

#endif

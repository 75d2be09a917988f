// Lines and changes counted as people see them where long lines are stored in pieces.
#ifndef NORVIK_LINE_COUNTS_H
#define NORVIK_LINE_COUNTS_H

#include <vector>

#include "weave_cursor.h"

namespace norvik {

// Sets the lines of the versions' totals, and their changes, to what they are when a row of pieces
// (line_pieces.h) is one line: a line is added, or deleted, when a piece of it is. A second pass
// over the weave, O(bytes + stretches x log versions); nothing where no version has pieces.
void count_rows_as_lines(const container_view &view, const version_tree &tree,
                         std::vector<text_step> *totals, std::vector<change_counts> *changes);

}  // namespace norvik

#endif

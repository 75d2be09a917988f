// Lines and changes counted as people see them where long lines are stored in pieces.
#ifndef NORVIK_LINE_COUNTS_H
#define NORVIK_LINE_COUNTS_H

#include "weave_scan.h"

namespace norvik {

// Sets the lines of the scan's totals, and its changes, to what they are when a row of pieces
// (line_pieces.h) is one line: a line is added, or deleted, when a piece of it is. A second pass
// over the weave, O(bytes + stretches x log versions); nothing where no version has pieces.
void count_rows_as_lines(const container_view &view, weave_scan *scan);

}  // namespace norvik

#endif

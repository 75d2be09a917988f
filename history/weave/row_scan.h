// The rows of open lines that versions read: a line without newline and what follows it.
#ifndef NORVIK_ROW_SCAN_H
#define NORVIK_ROW_SCAN_H

#include <cstdint>
#include <set>
#include <vector>

#include "container_view.h"
#include "version_tree.h"

namespace norvik {

// By position in the tree: the container's line (from 1) at which the version's first row begins
// that makes a line too short for one (line_pieces.h); 0 for none. An open line at the end of a
// text is no row. One pass over the weave, O(bytes + stretches x log versions).
[[nodiscard]] std::vector<std::uint64_t> find_short_rows(const container_view &view,
                                                         const version_tree &tree);

// The living versions that have lines stored in pieces: what a program that knows only the library
// can read and delete, but not build on. A pass over the weave as scan_weave's where a line stands
// without newline before the end, else a search through its bytes.
[[nodiscard]] std::set<version_id> versions_with_rows(const container_view &view);

}  // namespace norvik

#endif

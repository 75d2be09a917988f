// The rules that the records of a header follow among each other.
#ifndef NORVIK_HEADER_CHECK_H
#define NORVIK_HEADER_CHECK_H

#include <vector>

#include "weave_cursor.h"

namespace norvik {

// Everything wrong with the header, in no particular order, the damages and oddities that reading
// it has found included; each with the versions that it puts in doubt. O(records).
[[nodiscard]] std::vector<weave_fault> check_header(const container_view &view,
                                                    const version_tree &tree);

}  // namespace norvik

#endif

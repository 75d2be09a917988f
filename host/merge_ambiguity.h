// Insertions and deletions among equal lines: where it matters which of the lines was meant, and
// the texts do not tell.
#ifndef TDM_HOST_MERGE_AMBIGUITY_H
#define TDM_HOST_MERGE_AMBIGUITY_H

#include <vector>

#include "merge_input.h"

namespace host {

// Base lines first .. end - 1; equal numbers stand for the place before line `first`.
struct base_range {
    int32_t first = 0;
    int32_t end = 0;
};

// The stretches of the base in which nobody can say what the contributors did together:
// - one inserted or deleted lines that could stand before or behind another's edit as well, and the
//   merged text depends on it;
// - several did the same to repeated lines (one more row equal to its neighbour), which may be the
//   same change or one of each.
// `order` has all edits by base line; contributors with the same text count as one. The ranges are
// in the order of their ends. Cost: the edits, and the equal lines before each of them.
std::vector<base_range> ambiguous_ranges(const merge_input &in,
                                         const std::vector<place_edit> &order);

}  // namespace host

#endif

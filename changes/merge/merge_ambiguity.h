// Changes among lines that repeat: where it matters which of the lines were meant, and the texts do
// not tell.
//
// A contributor's edits are one of several that are equally small. Where one of the others pairs
// the lines around another contributor's edit differently, that edit comes to stand elsewhere in
// the merged text; where one of them has that very edit, both may have made the same one.
#ifndef NORVIK_MERGE_AMBIGUITY_H
#define NORVIK_MERGE_AMBIGUITY_H

#include <vector>

#include "merge_input.h"

namespace norvik {

// Base lines first .. end - 1; equal numbers stand for the place before line `first`.
struct base_range {
    std::int32_t first = 0;
    std::int32_t end = 0;
};

// The stretches of the base in which nobody can say what the contributors did together. For each
// edit, and the smallest edits of each other contributor:
// - one keeps the edited lines and their neighbours on either side, but pairs them with other lines
//   of its text, and the merged text depends on it;
// - one has the same edit, which we took for another one (of two rows removed from ten equal ones,
//   is one the row that the other contributor removed?);
// - both have it, but one could have it elsewhere, clear of the first (one more row equal to its
//   neighbour may be the same change or one of each).
// `order` has all edits by base line; contributors with the same text count as one. Edits within
// some hundred lines are looked at, and insertions and deletions that slide there from anywhere.
// Cost: the edits times those near them; the smallest edits are only searched where the lines
// around an edit repeat (shortest_paths.h).
std::vector<base_range> ambiguous_ranges(const merge_input &in,
                                         const std::vector<place_edit> &order);

}  // namespace norvik

#endif

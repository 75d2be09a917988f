// How one text becomes another: what the comparison, the merge and the printing of differences
// hand to each other.
#ifndef NORVIK_EDIT_H
#define NORVIK_EDIT_H

#include <cstdint>
#include <vector>

namespace norvik {

// Base lines base_first .. base_end - 1 are replaced by lines file_first .. file_end - 1 of the
// file; lines count from 0, and one of the two ranges may be empty.
struct edit {
    std::int32_t base_first = 0;
    std::int32_t base_end = 0;
    std::int32_t file_first = 0;
    std::int32_t file_end = 0;
    friend bool operator==(const edit &, const edit &) = default;
};

// `count` lines that stand in both texts, the same line by line.
struct line_run {
    std::int32_t base_first = 0;
    std::int32_t file_first = 0;
    std::int32_t count = 0;
    friend bool operator==(const line_run &, const line_run &) = default;
};

// One file against the base. Edits are in order in both texts and never touch: at least one line
// that is the same in both stands between two of them.
struct file_edits {
    std::vector<edit> edits;
    // Text that moved, in order of base_first: each run lies in the removed part of one edit and in
    // the inserted part of an edit, most often another one.
    std::vector<line_run> moves;
};

}  // namespace norvik

#endif

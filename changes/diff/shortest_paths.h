// All smallest edits of a stretch at once: which lines can be paired, and which must.
//
// A smallest edit is a shortest path through the grid of the base's lines and the file's, as in
// E. W. Myers, "An O(ND) Difference Algorithm and Its Variations", Algorithmica 1986. The steps
// from the beginning to every point and from it to the end are kept, for the diagonals that a
// shortest path can touch: a point is on such a path when both together are the least.
#ifndef NORVIK_SHORTEST_PATHS_H
#define NORVIK_SHORTEST_PATHS_H

#include <cstdint>
#include <vector>

#include "edit.h"
#include "line_numbers.h"
#include "text_lines.h"

namespace norvik {

// Keeps its tables from one stretch to the next.
class shortest_paths {
public:
    // `base` must outlive the object.
    shortest_paths(const text_lines &base, line_equality equality)
        : base_(base), table_(equality) {}

    // Takes the stretch of the base and of `file`, which some edit makes of each other that removes
    // `removed` lines and inserts `inserted`. False, and nothing taken, where it is too large: time
    // and memory grow with the stretch's lines in the base times the lines of that edit.
    bool take(const text_lines &file, const edit &stretch, std::int32_t removed,
              std::int32_t inserted);

    // Whether a smallest edit goes from the beginning of `part`, which must be of the stretch, to
    // its end by `steps` lines removed and inserted; the caller knows that so many can do it.
    bool may_pass(const edit &part, std::int32_t steps) const;

    // Whether all smallest edits keep the base's line, and pair it with the same line.
    bool is_certain(std::int32_t line) const;

private:
    std::int32_t x_end() const { return static_cast<std::int32_t>(x_.size()); }
    std::int32_t y_end() const { return static_cast<std::int32_t>(y_.size()); }
    bool same(std::int32_t x, std::int32_t y) const {
        return x_[static_cast<std::size_t>(x)] == y_[static_cast<std::size_t>(y)];
    }
    // A point by its column and its diagonal, y - x; there is one more diagonal on either side.
    std::size_t at(std::int32_t x, std::int32_t diagonal) const {
        return static_cast<std::size_t>(x) * static_cast<std::size_t>(highest_ - lowest_ + 3) +
               static_cast<std::size_t>(diagonal + 1 - lowest_);
    }
    void fill_forward();
    void fill_backward();

    const text_lines &base_;
    line_numbers table_;
    std::vector<std::int32_t> x_, y_;  // numbers of the lines of the stretch, base and file
    edit stretch_;
    std::int32_t lowest_ = 0;  // diagonals
    std::int32_t highest_ = 0;
    std::int32_t least_ = 0;  // steps of a smallest edit
    std::vector<std::int32_t> forward_, backward_;
};

}  // namespace norvik

#endif

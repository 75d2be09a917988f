// What every version has read so far, for all versions at once: a segment tree over the positions
// of a version tree.
//
// A stretch of lines is folded into one step (lines, bytes, fingerprint) and applied to the range
// of versions that hold it; the steps wait in the nodes and are composed downwards only as far as
// later ranges need it. A deletion covers the range of its versions: steps pass covered nodes by,
// so that lines under any number of deletions cost no more. Each operation is O(log versions).
//
// Invariants: a node's `waiting` step has reached the node but not its children; a child that is
// covered when its parent is pushed down misses the step, and since a cover changes only after the
// nodes above it have been pushed, that is exactly what was covered when the step came. A node's
// `due` is that of its nearest uncovered version, less what waits in the node and those below it.
#ifndef NORVIK_MEMBER_TREE_H
#define NORVIK_MEMBER_TREE_H

#include <cstdint>
#include <functional>
#include <vector>

#include "version_sum.h"
#include "version_tree.h"

namespace norvik {

// What a run of lines adds to a text. The fingerprint is a value of its bytes or lines as digits: a
// text with value x becomes x * factor + offset modulo 2^61 - 1.
struct text_step {
    std::uint64_t lines = 0;
    std::uint64_t bytes = 0;
    std::uint64_t factor = 1;
    std::uint64_t offset = 0;
    // Container line of the first text line without newline, 0 if none.
    std::uint64_t first_unended = 0;
    std::uint64_t last_line = 0;  // container line of the last line
};

// Whether a text has a line without newline that is not its last one: a piece of a row, or damage.
inline bool has_inner_open_line(const text_step &text) {
    return text.first_unended != 0 && text.first_unended != text.last_line;
}

inline constexpr std::uint64_t nothing_due = UINT64_MAX;

class member_tree {
public:
    // With fingerprints steps are composed in their order; without, they are only summed up, which
    // saves pushing them down when another one comes.
    member_tree(std::uint32_t positions, bool fingerprints);

    // Adds `step` to every version of the range that is not covered.
    void apply(position_range range, const text_step &step);

    // A deletion begins (+1) or ends (-1) for the versions of the range.
    void cover(position_range range, int change);
    // Whether any deletion covers the version.
    [[nodiscard]] bool is_covered(std::uint32_t position) const;

    // After how many more lines the version is due; nothing_due for never.
    void set_due(std::uint32_t position, std::uint64_t lines);
    // The smallest of these over the uncovered versions of the range.
    [[nodiscard]] std::uint64_t nearest_due(position_range range) const;
    // A version that is due now, no_position when there is none. It stays due until set again.
    [[nodiscard]] std::uint32_t next_due() const;

    // The lines that the version has read so far.
    [[nodiscard]] std::uint64_t lines_of(std::uint32_t position) const;

    // Appends the uncovered parts of the range to `out`, in order, neighbours joined:
    // O(parts x log versions).
    void uncovered(position_range range, std::vector<position_range> *out) const;

    // Everything that each version has read, by position.
    [[nodiscard]] std::vector<text_step> totals();

private:
    struct node {
        text_step waiting;
        std::uint64_t due = nothing_due;
        std::uint32_t covers = 0;         // deletions of exactly this node's range
        std::uint32_t covered_below = 0;  // nodes below with covers
    };

    // What a descent does on its way.
    struct passage {
        bool push = true;           // before the nodes below are visited
        bool pull = true;           // after that
        bool below_covers = false;  // visits what is covered as well
    };

    position_range widened(position_range range) const;
    void apply_uncovered(position_range range, const text_step &step);
    void take(std::size_t at, const text_step &step);
    void push(std::size_t at);
    void push_above(std::uint32_t position);
    void pull(std::size_t at);
    std::uint64_t lines_waiting_above(std::size_t at) const;
    void find_nearest(std::size_t at, position_range span, position_range range,
                      std::uint64_t passed, std::uint64_t *nearest) const;
    // Visits the nodes that make up `range`, which has positions of `span`.
    template <typename Visit>
    void descend(std::size_t at, position_range span, position_range range, passage way,
                 const Visit &visit);
    void uncovered_below(std::size_t at, position_range span, position_range range,
                         std::vector<position_range> *out) const;

    const bool ordered_;
    std::uint64_t cover_count_ = 0;
    std::uint32_t due_versions_ = 0;
    std::uint32_t positions_;
    std::uint32_t size_;  // of the span of the root: a power of two
    std::vector<node> nodes_;
};

}  // namespace norvik

#endif

// A segment tree with lazy propagation, its nodes in one array, children of i at 2i and 2i + 1; a
// cover is not pushed down but counted at its nodes (as J. L. Bentley's for the area of a union of
// rectangles, "Algorithms for Klee's Rectangle Problems", 1977). 64 bytes a node, 128 to 256 a
// version.
#include "member_tree.h"

#include <algorithm>
#include <bit>

namespace norvik {
namespace {

constexpr std::size_t root = 1;  // children of i: 2i and 2i + 1

position_range left_half(position_range span) {
    return {span.first, span.first + (span.end - span.first) / 2};
}

position_range right_half(position_range span) {
    return {span.first + (span.end - span.first) / 2, span.end};
}

bool apart(position_range a, position_range b) {
    return a.end <= b.first || b.end <= a.first;
}

}  // namespace

member_tree::member_tree(std::uint32_t positions, bool fingerprints)
    : ordered_(fingerprints),
      positions_(positions),
      size_(std::bit_ceil(std::max(positions, std::uint32_t{1}))),
      nodes_(std::size_t{2} * size_) {}

void member_tree::take(std::size_t at, const text_step &step) {
    node &to = nodes_[at];
    text_step &sum = to.waiting;
    if (sum.lines == 0) {
        sum = step;
    } else {
        sum.lines += step.lines;
        sum.bytes += step.bytes;
        if (ordered_) {
            sum.factor = multiply_add(sum.factor, step.factor, 0);
            sum.offset = multiply_add(sum.offset, step.factor, step.offset);
        }
        if (step.first_unended != 0 &&
            (sum.first_unended == 0 || step.first_unended < sum.first_unended)) {
            sum.first_unended = step.first_unended;
        }
        sum.last_line = std::max(sum.last_line, step.last_line);
    }
    if (to.due != nothing_due) {
        to.due -= step.lines;
    }
}

void member_tree::push(std::size_t at) {
    if (nodes_[at].waiting.lines == 0) {
        return;
    }
    for (const std::size_t child : {2 * at, 2 * at + 1}) {
        // A covered child was covered when the steps came: it misses them.
        if (nodes_[child].covers == 0) {
            take(child, nodes_[at].waiting);
        }
    }
    nodes_[at].waiting = {};
}

// What the node's due and cover count are by its children's.
void member_tree::pull(std::size_t at) {
    const node &left = nodes_[2 * at];
    const node &right = nodes_[2 * at + 1];
    node &self = nodes_[at];
    const std::uint64_t due = std::min(left.covers == 0 ? left.due : nothing_due,
                                       right.covers == 0 ? right.due : nothing_due);
    self.due = due == nothing_due ? due : due - self.waiting.lines;
    self.covered_below = left.covered_below + right.covered_below + (left.covers != 0 ? 1 : 0) +
                         (right.covers != 0 ? 1 : 0);
}

template <typename Visit>
void member_tree::descend(std::size_t at, position_range span, position_range range, passage way,
                          const Visit &visit) {
    if (!way.below_covers && nodes_[at].covers != 0) {
        return;
    }
    if (range.holds(span)) {
        visit(at);
        return;
    }
    if (way.push) {
        push(at);
    }
    const position_range left = left_half(span);
    if (range.first < left.end) {
        descend(2 * at, left, range, way, visit);
    }
    if (range.end > left.end) {
        descend(2 * at + 1, {left.end, span.end}, range, way, visit);
    }
    if (way.pull) {
        pull(at);
    }
}

void member_tree::apply(position_range range, const text_step &step) {
    if (range.empty()) {
        return;
    }
    range = widened(range);
    if (cover_count_ == 0) {
        if (ordered_) {
            push_above(range.first);
            push_above(range.end);
        }
        apply_uncovered(range, step);
        return;
    }
    descend(root, {0, size_}, range, {.push = ordered_, .pull = due_versions_ != 0},
            [&](std::size_t at) { take(at, step); });
}

// The positions behind the last version belong to nobody: a range that ends there may as well end
// with the tree, and is made up of fewer nodes then.
position_range member_tree::widened(position_range range) const {
    return {range.first, range.end == positions_ ? size_ : range.end};
}

// What waits above the border between the position and the one before goes down to its sides.
void member_tree::push_above(std::uint32_t position) {
    if (position == 0 || position == size_) {
        return;
    }
    const std::size_t leaf = std::size_t{size_} + position;
    for (int level = std::countr_zero(size_); level > std::countr_zero(position); level--) {
        push(leaf >> level);
    }
}

// While nothing is covered, nothing is due either, and the nodes of a range need no descent.
void member_tree::apply_uncovered(position_range range, const text_step &step) {
    std::size_t first = std::size_t{size_} + range.first;
    std::size_t end = std::size_t{size_} + range.end;
    for (; first < end; first /= 2, end /= 2) {
        if (first % 2 == 1) {
            take(first++, step);
        }
        if (end % 2 == 1) {
            take(--end, step);
        }
    }
}

void member_tree::cover(position_range range, int change) {
    cover_count_ = static_cast<std::uint64_t>(static_cast<std::int64_t>(cover_count_) + change);
    descend(root, {0, size_}, widened(range), {.below_covers = true}, [&](std::size_t at) {
        nodes_[at].covers =
            static_cast<std::uint32_t>(static_cast<int>(nodes_[at].covers) + change);
    });
}

bool member_tree::is_covered(std::uint32_t position) const {
    for (std::size_t at = std::size_t{size_} + position; at >= root; at /= 2) {
        if (nodes_[at].covers != 0) {
            return true;
        }
    }
    return false;
}

// The lines of the steps that wait above a node and will reach it.
std::uint64_t member_tree::lines_waiting_above(std::size_t at) const {
    std::uint64_t lines = 0;
    for (; at > root && nodes_[at].covers == 0; at /= 2) {
        lines += nodes_[at / 2].waiting.lines;
    }
    return lines;
}

void member_tree::set_due(std::uint32_t position, std::uint64_t lines) {
    std::size_t at = std::size_t{size_} + position;
    due_versions_ += (lines != nothing_due ? 1 : 0) - (nodes_[at].due != nothing_due ? 1 : 0);
    nodes_[at].due = lines == nothing_due ? lines : lines + lines_waiting_above(at);
    while ((at /= 2) >= root) {
        pull(at);
    }
}

void member_tree::find_nearest(std::size_t at, position_range span, position_range range,
                               std::uint64_t passed, std::uint64_t *nearest) const {
    const node &self = nodes_[at];
    if (apart(span, range) || self.covers != 0 || self.due == nothing_due) {
        return;
    }
    if (range.holds(span)) {
        *nearest = std::min(*nearest, self.due - passed);
        return;
    }
    passed += self.waiting.lines;
    find_nearest(2 * at, left_half(span), range, passed, nearest);
    find_nearest(2 * at + 1, right_half(span), range, passed, nearest);
}

std::uint64_t member_tree::nearest_due(position_range range) const {
    std::uint64_t nearest = nothing_due;
    find_nearest(root, {0, size_}, widened(range), 0, &nearest);
    return nearest;
}

std::uint32_t member_tree::next_due() const {
    if (nodes_[root].covers != 0 || nodes_[root].due != 0) {
        return no_position;
    }
    // A waiting step has been taken off the due of its node, not yet off the children's.
    std::size_t at = root;
    std::uint64_t due_there = 0;
    while (at < size_) {
        due_there += nodes_[at].waiting.lines;
        const node &left = nodes_[2 * at];
        at = left.covers == 0 && left.due == due_there ? 2 * at : 2 * at + 1;
    }
    return static_cast<std::uint32_t>(at - size_);
}

std::uint64_t member_tree::lines_of(std::uint32_t position) const {
    const std::size_t at = std::size_t{size_} + position;
    return nodes_[at].waiting.lines + lines_waiting_above(at);
}

void member_tree::uncovered_below(std::size_t at, position_range span, position_range range,
                                  std::vector<position_range> *out) const {
    if (apart(span, range) || nodes_[at].covers != 0) {
        return;
    }
    if (nodes_[at].covered_below != 0 || !range.holds(span)) {
        uncovered_below(2 * at, left_half(span), range, out);
        uncovered_below(2 * at + 1, right_half(span), range, out);
        return;
    }
    if (!out->empty() && out->back().end == span.first) {
        out->back().end = span.end;
    } else {
        out->push_back(span);
    }
}

void member_tree::uncovered(position_range range, std::vector<position_range> *out) const {
    uncovered_below(root, {0, size_}, range, out);
}

std::vector<text_step> member_tree::totals() {
    std::vector<text_step> all(positions_);
    for (std::size_t at = root; at < size_; at++) {
        push(at);
    }
    for (std::uint32_t i = 0; i < positions_; i++) {
        all[i] = nodes_[std::size_t{size_} + i].waiting;
    }
    return all;
}

}  // namespace norvik

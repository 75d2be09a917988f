// What every version has read, against arrays that are filled one version at a time.
#include "member_tree.h"

#include <gtest/gtest.h>

#include <random>

#include "seeds.h"

namespace {

using norvik::nothing_due;
using norvik::position_range;
using norvik::text_step;

class naive_members {
public:
    naive_members(unsigned seed, uint32_t positions, bool fingerprints)
        : random_(seed),
          fingerprints_(fingerprints),
          tree_(positions, fingerprints),
          read_(positions),
          covers_(positions),
          due_(positions, nothing_due) {}

    void step() {
        switch (below(4)) {
            case 0:
                cover(some_range(), +1);
                break;
            case 1:
                if (!covered_.empty()) {
                    cover(covered_.back(), -1);
                }
                break;
            case 2:
                if (const uint32_t i = below(size()); !covered_.empty() && covers_[i] == 0) {
                    due_[i] = below(20);
                    tree_.set_due(i, due_[i]);
                }
                break;
            default:
                apply(some_range());
        }
        expect_same();
    }

    void expect_same_totals() {
        const std::vector<text_step> totals = tree_.totals();
        for (uint32_t i = 0; i < size(); i++) {
            EXPECT_EQ(totals[i].lines, read_[i].lines);
            EXPECT_EQ(totals[i].offset, read_[i].offset);
            EXPECT_EQ(totals[i].last_line, read_[i].last_line);
        }
    }

private:
    uint32_t size() const { return static_cast<uint32_t>(read_.size()); }
    uint32_t below(uint32_t end) { return static_cast<uint32_t>(random_() % end); }
    position_range some_range() {
        const uint32_t first = below(size());
        return {first, first + 1 + below(size() - first)};
    }

    // Nothing is due while nothing is covered.
    void cover(position_range range, int change) {
        change > 0 ? covered_.push_back(range) : covered_.pop_back();
        for (uint32_t i = 0; i < size() && covered_.empty(); i++) {
            due_[i] = nothing_due;
            tree_.set_due(i, nothing_due);
        }
        tree_.cover(range, change);
        for (uint32_t i = range.first; i < range.end; i++) {
            covers_[i] += change;
        }
    }

    void apply(position_range range) {
        const uint64_t most = std::min<uint64_t>(tree_.nearest_due(range), 9);
        if (most == 0) {
            return;
        }
        const uint64_t lines = 1 + below(static_cast<uint32_t>(most));
        const text_step step{
            lines, 2 * lines, fingerprints_ ? 7U : 1U, fingerprints_ ? random_() : 0, 0, ++at_};
        tree_.apply(range, step);
        for (uint32_t i = range.first; i < range.end; i++) {
            if (covers_[i] == 0) {
                read_[i].lines += lines;
                read_[i].offset = norvik::multiply_add(read_[i].offset, step.factor, step.offset);
                read_[i].last_line = at_;
                due_[i] -= due_[i] == nothing_due ? 0 : lines;
            }
        }
    }

    void expect_same() {
        const position_range range = some_range();
        uint64_t nearest = nothing_due;
        std::vector<position_range> parts, expected;
        bool any_due = false;
        for (uint32_t i = 0; i < size(); i++) {
            EXPECT_EQ(tree_.is_covered(i), covers_[i] != 0);
            EXPECT_EQ(tree_.lines_of(i), read_[i].lines);
            any_due = any_due || (covers_[i] == 0 && due_[i] == 0);
            if (i < range.first || i >= range.end || covers_[i] != 0) {
                continue;
            }
            nearest = std::min(nearest, due_[i]);
            if (!expected.empty() && expected.back().end == i) {
                expected.back().end++;
            } else {
                expected.push_back({i, i + 1});
            }
        }
        tree_.uncovered(range, &parts);
        EXPECT_EQ(parts, expected);
        EXPECT_EQ(tree_.nearest_due(range), nearest);
        const uint32_t due = tree_.next_due();
        EXPECT_EQ(due != norvik::no_position, any_due);
        if (due != norvik::no_position) {
            EXPECT_EQ(due_[due], 0U);
            due_[due] = nothing_due;
            tree_.set_due(due, nothing_due);
        }
    }

    std::mt19937 random_;
    const bool fingerprints_;
    norvik::member_tree tree_;
    std::vector<text_step> read_;
    std::vector<int> covers_;
    std::vector<uint64_t> due_;
    std::vector<position_range> covered_;
    uint64_t at_ = 0;
};

TEST(member_tree, reads_as_one_version_after_the_other) {
    for (const unsigned seed : seeds(40)) {
        const uint32_t positions = 1 + seed % 21;
        naive_members members(seed, positions, positions % 2 == 0);
        for (int i = 0; i < 200; i++) {
            members.step();
        }
        members.expect_same_totals();
    }
}

}  // namespace

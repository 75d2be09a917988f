// Random merges with the right result known from their making: each contributor edits places of its
// own, and the result is put together from the same edits without a merge.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "merge_run.h"
#include "small_texts.h"

namespace {

using lines = std::vector<std::string>;

struct made_edit {
    size_t first, end;  // of the base
    lines text;
    size_t maker;
};

struct trial {
    lines base;
    std::vector<made_edit> edits;
    size_t makers = 0;

    lines with_edits_of(size_t maker) const {
        lines out;
        size_t at = 0;
        for (const made_edit &e : edits) {
            if (maker == makers || maker == e.maker) {
                out.insert(out.end(), base.begin() + static_cast<long>(at),
                           base.begin() + static_cast<long>(e.first));
                out.insert(out.end(), e.text.begin(), e.text.end());
                at = e.end;
            }
        }
        out.insert(out.end(), base.begin() + static_cast<long>(at), base.end());
        return out;
    }
    lines right() const { return with_edits_of(makers); }
};

// A table or a text of `kinds` different lines. Edits keep apart; with `marks` by lines that stand
// once, so that the texts leave no doubt which lines were edited.
trial make_trial(text_maker &make, size_t kinds, bool marks) {
    const auto line = [&] {
        return kinds == 0 ? make.line()
                          : std::to_string(make.chance(0.7) ? 0 : make.below(kinds)) + "\n";
    };
    trial t;
    t.makers = 2 + make.below(4);
    for (size_t places = 1 + make.below(8); places > 0; places--) {
        for (size_t i = 1 + make.below(8); i > 0; i--) {
            t.base.push_back(line());
        }
        made_edit e{t.base.size(), t.base.size(), {}, make.below(t.makers)};
        e.first -= std::min(e.first, make.below(3));
        e.first = std::max(e.first, t.edits.empty() ? 0 : t.edits.back().end + 1);
        e.first = std::min(e.first, e.end);
        for (size_t i = make.below(3); i > 0; i--) {
            e.text.push_back(line());
        }
        t.edits.push_back(e);
        t.base.push_back(marks ? "mark " + std::to_string(places) + "\n" : line());
        t.base.push_back(marks ? "end " + std::to_string(places) + "\n" : line());
    }
    return t;
}

// The merged text, or nothing for a conflict.
std::string merged(const trial &t, const std::vector<size_t> &order) {
    lines texts{joined(t.base)};
    for (const size_t k : order) {
        texts.push_back(joined(t.with_edits_of(k)));
    }
    std::vector<host::named_text> named;
    for (const std::string &text : texts) {
        named.push_back({std::to_string(named.size()), text});
    }
    host::merge_options options;
    host::merge_run run;
    EXPECT_EQ(host::merge_texts(named, &options, &run), 0);
    return host::is_clean(run.plan) ? run.merged.text : "(conflict)";
}

TEST(merge_trials, results_are_as_made_in_any_order) {
    int right = 0, other = 0, conflicts = 0;
    for (const unsigned seed : seeds(100)) {
        for (const size_t kinds : {0U, 2U, 3U, 5U, 10U}) {
            for (const bool marks : {true, false}) {
                text_maker make{std::mt19937(seed), 0.8};
                const trial t = make_trial(make, kinds, marks);
                std::vector<size_t> order(t.makers);
                std::iota(order.begin(), order.end(), size_t{0});
                const std::string text = merged(t, order);
                if (marks) {
                    EXPECT_EQ(text, joined(t.right())) << kinds << " kinds";
                } else {
                    conflicts += text == "(conflict)" ? 1 : 0;
                    right += text == joined(t.right()) ? 1 : 0;
                    other += text != "(conflict)" && text != joined(t.right()) ? 1 : 0;
                }
                // A contributor given twice counts once.
                order.push_back(make.below(t.makers));
                std::shuffle(order.begin(), order.end(), make.random);
                EXPECT_EQ(merged(t, order), text) << kinds << " kinds";
            }
        }
    }
    // Without marks several makings may give the same texts; another one's result is no fault.
    RecordProperty("right", right);
    RecordProperty("conflicts", conflicts);
    RecordProperty("of_another_making", other);
    EXPECT_GE(right, 20 * other);
}

}  // namespace

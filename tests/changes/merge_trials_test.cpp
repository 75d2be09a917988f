// Random merges with the right result known from their making: each contributor edits places of its
// own, and the result is put together from the same edits without a merge.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "compared_texts.h"
#include "small_texts.h"

namespace {

using lines = std::vector<std::string>;

struct made_edit {
    size_t first, end;  // of the base
    lines text;
    size_t maker, other;  // who made it; the same number twice for one contributor
};

struct trial {
    lines base;
    std::vector<made_edit> edits;
    size_t makers = 0;

    lines with_edits_of(size_t maker) const {
        lines out;
        size_t at = 0;
        for (const made_edit &e : edits) {
            if (maker == makers || maker == e.maker || maker == e.other) {
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

// What the lines are, and what keeps the edits apart: lines that stand once, so that the texts
// leave no doubt which lines were edited, or just any line.
struct trial_kind {
    size_t kinds;  // of rows in a table; 0: braces and blank lines among others, as in a program
    bool marks;
    bool shared;  // some edits were made by two contributors
};

std::string made_row(text_maker &make, size_t kinds) {
    return kinds == 0 ? make.line()
                      : std::to_string(make.chance(0.7) ? 0 : make.below(kinds)) + "\n";
}

trial make_trial(text_maker &make, const trial_kind &kind) {
    const auto line = [&] { return made_row(make, kind.kinds); };
    trial t;
    t.makers = 2 + make.below(4);
    for (size_t places = 1 + make.below(8); places > 0; places--) {
        for (size_t i = 1 + make.below(8); i > 0; i--) {
            t.base.push_back(line());
        }
        const size_t maker = make.below(t.makers);
        made_edit e{t.base.size(), t.base.size(), {}, maker, maker};
        e.first -= std::min(e.first, make.below(3));
        e.first = std::max(e.first, t.edits.empty() ? 0 : t.edits.back().end + 1);
        e.first = std::min(e.first, e.end);
        for (size_t i = make.below(3); i > 0; i--) {
            e.text.push_back(line());
        }
        e.other = kind.shared && make.chance(0.3) ? make.below(t.makers) : maker;
        t.edits.push_back(e);
        t.base.push_back(kind.marks ? "mark " + std::to_string(places) + "\n" : line());
        t.base.push_back(kind.marks ? "end " + std::to_string(places) + "\n" : line());
    }
    return t;
}

// Whether two contributors have the same text but not from the same edits: what they made of it
// together cannot be told.
bool has_twins(const trial &t) {
    for (size_t k = 1; k < t.makers; k++) {
        for (size_t j = 0; j < k; j++) {
            const auto has = [](const made_edit &e, size_t x) {
                return e.maker == x || e.other == x;
            };
            const bool same = std::all_of(t.edits.begin(), t.edits.end(), [&](const made_edit &e) {
                return has(e, j) == has(e, k);
            });
            if (!same && t.with_edits_of(j) == t.with_edits_of(k) && t.with_edits_of(k) != t.base) {
                return true;
            }
        }
    }
    return false;
}

// The merged text, or "(conflict)"; the base first.
std::string merged(const lines &texts) {
    const merge_of merge(texts);
    return merge.clean ? merge.text : "(conflict)";
}

std::string merged(const trial &t, const std::vector<size_t> &order) {
    lines texts{joined(t.base)};
    for (const size_t k : order) {
        texts.push_back(joined(t.with_edits_of(k)));
    }
    return merged(texts);
}

struct tally {
    int right = 0, conflicts = 0, other = 0;
    void add(const std::string &text, const trial &t) {
        (text == "(conflict)" ? conflicts : text == joined(t.right()) ? right : other)++;
    }
};

TEST(merge_trials, results_are_as_made_in_any_order) {
    tally tables, programs;
    for (const unsigned seed : seeds(100)) {
        for (const size_t kinds : {0U, 2U, 3U, 5U, 10U}) {
            for (const auto &[marks, shared] :
                 {std::pair{true, false}, {false, false}, {false, true}}) {
                text_maker make{std::mt19937(seed), 0.8};
                const trial t = make_trial(make, {kinds, marks, shared});
                std::vector<size_t> order(t.makers);
                std::iota(order.begin(), order.end(), size_t{0});
                const std::string text = merged(t, order);
                if (marks) {
                    EXPECT_EQ(text, joined(t.right())) << kinds << " kinds";
                } else if (!has_twins(t)) {
                    (kinds == 0 ? programs : tables).add(text, t);
                }
                // A contributor given twice counts once.
                order.push_back(make.below(t.makers));
                std::shuffle(order.begin(), order.end(), make.random);
                EXPECT_EQ(merged(t, order), text) << kinds << " kinds";
            }
        }
    }
    // Without marks the edits may not be the smallest that give a text (a row taken out here and
    // one put in there), and then nobody can tell: another making's result is no fault, but rare.
    EXPECT_GE(tables.right, 60 * tables.other) << tables.conflicts << " conflicts";
    EXPECT_GE(tables.right, tables.conflicts);
    EXPECT_GE(programs.right, 100 * programs.other) << programs.conflicts << " conflicts";
    EXPECT_GE(programs.right, 9 * programs.conflicts);
}

// One row out, in or changed by each contributor, a row apart at least: two with the same text tell
// no more than one, all others are merged as they were made or left to the user.
TEST(merge_trials, one_edit_each_is_never_merged_wrong) {
    tally all;
    for (const unsigned seed : seeds(300)) {
        for (const size_t kinds : {0U, 2U, 3U, 5U, 10U}) {
            text_maker make{std::mt19937(seed), 0.8};
            const auto row = [&] { return made_row(make, kinds); };
            trial t;
            const size_t most = 2 + make.below(4);
            while (t.makers < most) {
                for (size_t i = 1 + make.below(5); i > 0; i--) {
                    t.base.push_back(row());
                }
                const size_t out = make.below(2);
                made_edit e{t.base.size() - out, t.base.size(), {}, t.makers, t.makers};
                if (out == 0 || make.chance(0.5)) {
                    e.text = {row()};
                }
                if (out == 1 && e.text == lines{t.base.back()}) {
                    e.text = {"another\n"};
                }
                t.edits.push_back(e);
                t.makers++;
                t.base.push_back(row());
            }
            if (!has_twins(t)) {
                std::vector<size_t> order(t.makers);
                std::iota(order.begin(), order.end(), size_t{0});
                all.add(merged(t, order), t);
            }
        }
    }
    EXPECT_EQ(all.other, 0);
    EXPECT_GE(2 * all.right, all.conflicts);
}

// Where one of several smallest edits of a contributor holds what the other changed.
TEST(merge_trials, equal_lines_that_tell_no_more_are_conflicts) {
    const struct {
        const char *name, *base, *x, *y;
        bool clean;
    } rows[] = {
        {"a row of two removed", "1 0 0 0 0 2", "1 0 0 2", "1 0 0 0 2", false},
        {"a row removed beside a line", "0 1 2 0 0 0 2", "0 1 0 0 2", "0 1 2 0 0 2", false},
        {"both add a row", "a 0 0 b c d", "a 0 0 0 b c d", "a 0 0 0 b c D", false},
        {"both add at the beginning", "1 2 3 4", "0 1 2 3 4", "0 1 2 3 D", true},
        {"both add at the end", "0 1 2 3 4", "0 1 2 3 4 5", "A 1 2 3 4 5", true},
        {"both add a longer text", "a { x } b c", "a { x } { y } b c", "a { x } { y } b C", true},
    };
    for (const auto &row : rows) {
        for (const bool swapped : {false, true}) {
            const lines texts = {lines_of(row.base), lines_of(swapped ? row.y : row.x),
                                 lines_of(swapped ? row.x : row.y)};
            EXPECT_EQ(merged(texts) != "(conflict)", row.clean) << row.name;
        }
    }
}

}  // namespace

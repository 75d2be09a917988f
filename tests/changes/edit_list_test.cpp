// Edits of one text against another: that they are right, small, and the same for the same change.
#include "edit_list.h"

#include <gtest/gtest.h>

#include "compared_texts.h"
#include "edit_slide.h"
#include "gap_match.h"
#include "moved_text.h"
#include "small_texts.h"

namespace {

int32_t longest_common(const norvik::text_lines &a, const norvik::text_lines &b) {
    std::vector<int32_t> row(static_cast<size_t>(b.count()) + 1);
    for (int32_t i = 0; i < a.count(); i++) {
        int32_t diagonal = 0;
        for (size_t j = 1; j < row.size(); j++) {
            const int32_t above = row[j];
            row[j] = a.line(i) == b.line(static_cast<int32_t>(j) - 1) ? diagonal + 1
                                                                      : std::max(above, row[j - 1]);
            diagonal = above;
        }
    }
    return row.back();
}

TEST(gap_match, finds_as_many_pairs_as_there_are) {
    for (const unsigned seed : seeds(200)) {
        text_maker make{std::mt19937(seed), 0.9};
        const std::string a = joined(make.text(make.below(30)));
        const std::string b = joined(make.text(make.below(30)));
        const norvik::text_lines x = norvik::split_lines(a);
        const norvik::text_lines y = norvik::split_lines(b);
        std::vector<norvik::line_run> runs;
        norvik::gap_matcher(x, y, norvik::line_equality::exact)
            .match({0, x.count(), 0, y.count()}, &runs);
        int32_t pairs = 0;
        norvik::line_run last;
        for (const norvik::line_run &run : runs) {
            EXPECT_GE(run.base_first, last.base_first + last.count) << "seed " << seed;
            EXPECT_GE(run.file_first, last.file_first + last.count) << "seed " << seed;
            EXPECT_EQ(x.range(run.base_first, run.base_first + run.count),
                      y.range(run.file_first, run.file_first + run.count));
            pairs += run.count;
            last = run;
        }
        EXPECT_EQ(pairs, longest_common(x, y)) << "seed " << seed;
    }
}

TEST(gap_match, what_is_too_far_apart_is_divided_at_unique_lines) {
    std::string rising, falling;
    for (int i = 0; i < 100; i++) {
        rising += std::to_string(i / 2) + "\n";
        falling += std::to_string(50 - i / 2) + "\n";
    }
    std::string a, b;
    for (int i = 0; i < 30; i++) {
        a.append("mark ").append(std::to_string(i)).append("\n").append(rising);
        b.append("mark ").append(std::to_string(i)).append("\n").append(falling);
    }
    const norvik::text_lines x = norvik::split_lines(a);
    const norvik::text_lines y = norvik::split_lines(b);
    std::vector<norvik::line_run> runs;
    norvik::gap_matcher(x, y, norvik::line_equality::exact)
        .match({0, x.count(), 0, y.count()}, &runs);
    int32_t pairs = 0;
    for (const norvik::line_run &run : runs) {
        pairs += run.count;
    }
    EXPECT_EQ(pairs,
              30 * (1 + longest_common(norvik::split_lines(rising), norvik::split_lines(falling))));
}

TEST(edit_list, chosen_places_are_as_written_here) {
    const struct {
        const char *name, *base, *file;
        std::vector<norvik::edit> edits;
        std::vector<norvik::line_run> moves;
    } rows[] = {
        {"an insertion among equal lines stands last", "a b b c", "a b b b c", {{3, 3, 3, 4}}, {}},
        {"so does a deletion", "a b b c", "a b c", {{2, 3, 2, 2}}, {}},
        {"the smaller part moves",
         "a1 a2 b1 b2 b3",
         "b1 b2 b3 a1 a2",
         {{0, 2, 0, 0}, {5, 5, 3, 5}},
         {{0, 3, 2}}},
        {"a single line does not count as moved",
         "x a b c",
         "a b c x",
         {{0, 1, 0, 0}, {4, 4, 3, 4}},
         {}},
        {"repeated lines move as a whole",
         "A A A b c d",
         "b c d A A A",
         {{0, 3, 0, 0}, {6, 6, 3, 6}},
         {{0, 3, 3}}},
        {"nor do braces", "{ } a b c", "a b c { }", {{0, 2, 0, 0}, {5, 5, 3, 5}}, {}},
        {"braces between", "a { b } c", "a { x } c", {{2, 3, 2, 3}}, {}},
    };
    for (const auto &row : rows) {
        const compared_texts compared({lines_of(row.base), lines_of(row.file)});
        const norvik::file_edits found = compared.edits(1);
        EXPECT_EQ(found.edits, row.edits) << row.name;
        EXPECT_EQ(found.moves, row.moves) << row.name;
    }
}

// Long lines are compared from the end in pieces, so that the common tail begins within a line.
TEST(edit_list, lines_that_agree_only_in_their_ends_differ) {
    const std::string end(6000, 'x');
    const std::string before = lines_of("1 2 3 4 5 6 7 8");
    for (const char *behind : {"", "\nlast\n"}) {
        const std::string base = before + "a" + end + behind;
        const std::string file = before + "b" + end + behind;
        const compared_texts compared({base, file});
        const uint64_t tail = 6000 + std::string_view(behind).size();
        const norvik::file_edits found =
            norvik::edits_from_pairs(compared.lines[0], compared.lines[1], {}, {8, tail, tail}, {});
        EXPECT_EQ(found.edits, (std::vector<norvik::edit>{{8, 9, 8, 9}}));
    }
}

// Texts whose lines have equal hashes all the same differ.
TEST(edit_list, pairs_of_lines_are_checked_against_the_texts) {
    const compared_texts compared({lines_of("a b c"), lines_of("a X c")});
    const norvik::file_edits found = norvik::edits_from_pairs(compared.lines[0], compared.lines[1],
                                                              {{{0, 0, 3}}, {{0, 1, 9}}}, {}, {});
    EXPECT_EQ(found.edits, (std::vector<norvik::edit>{{1, 2, 1, 2}}));
    EXPECT_EQ(found.moves, (std::vector<norvik::line_run>{}));
}

// Too long to be matched again, whichever the pairs say is in its place.
TEST(edit_list, longer_of_two_long_texts_stays) {
    std::string a, b;
    for (int i = 0; i < 80; i++) {
        (i % 2 == 0 ? a : b).append("a or b ").append(std::to_string(i)).append("\n");
        b.append("b ").append(std::to_string(i)).append("\n");
    }
    const norvik::file_edits found = compared_texts({b + a, a + b}).edits(1);
    EXPECT_EQ(found.edits, (std::vector<norvik::edit>{{0, 0, 0, 40}, {120, 160, 160, 160}}));
    EXPECT_EQ(found.moves, (std::vector<norvik::line_run>{{120, 0, 40}}));
}

// Without refinement nothing else pairs the lines.
TEST(edit_list, common_ends_are_pairs) {
    const compared_texts compared({lines_of("a b c d"), lines_of("a X d")});
    const norvik::file_edits found = norvik::edits_from_pairs(
        compared.lines[0], compared.lines[1], {}, {1, 2, 2}, {norvik::line_equality::exact, false});
    EXPECT_EQ(found.edits, (std::vector<norvik::edit>{{1, 3, 1, 2}}));
}

TEST(edit_slide, whole_edits_come_to_stand_as_written_here) {
    const struct {
        const char *name, *base, *file;
        std::vector<norvik::edit> edits, settled;
    } rows[] = {
        {"an insertion stands last", "a b b c", "a b b b c", {{1, 1, 1, 2}}, {{3, 3, 3, 4}}},
        {"so does a deletion", "a b b c", "a b c", {{1, 2, 1, 1}}, {{2, 3, 2, 2}}},
        {"of several lines", "a b c b d", "a b d", {{1, 3, 1, 1}}, {{2, 4, 2, 2}}},
        {"a change has one place", "a b b c", "a x b c", {{1, 2, 1, 2}}, {{1, 2, 1, 2}}},
        {"down to an insertion",
         "a 0 0 b",
         "a 0 1 b",
         {{1, 2, 1, 1}, {3, 3, 2, 3}},
         {{2, 3, 2, 3}}},
        {"up to a change", "a x 0 0 b", "a y 0 b", {{1, 2, 1, 2}, {3, 4, 3, 3}}, {{1, 3, 1, 2}}},
    };
    for (const auto &row : rows) {
        const compared_texts texts({lines_of(row.base), lines_of(row.file)});
        std::vector<norvik::edit> edits = row.edits;
        norvik::settle_edits(texts.lines[0], texts.lines[1], &edits);
        EXPECT_EQ(edits, row.settled) << row.name;
    }
    const compared_texts texts({lines_of("a b b c"), lines_of("a b b b c")});
    const norvik::file_edits found = norvik::edits_from_pairs(texts.lines[0], texts.lines[1],
                                                              {{{0, 0, 1}, {1, 2, 3}}, {}}, {}, {});
    EXPECT_EQ(found.edits, rows[0].settled) << "wherever the pairs leave it";
}

TEST(moved_text, lies_in_what_one_edit_removes_and_one_inserts) {
    const struct {
        const char *name, *base, *file;
        std::vector<norvik::edit> edits;
        std::vector<norvik::line_run> candidates, moves;
    } rows[] = {
        {"a candidate grows to its edits' ends",
         "x a b c y",
         "x y a b c",
         {{1, 4, 1, 1}, {5, 5, 2, 5}},
         {{2, 3, 1}},
         {{1, 2, 3}}},
        {"and no further",
         "x a b c y",
         "a y a b c",
         {{0, 3, 0, 0}, {4, 5, 1, 5}},
         {{2, 3, 1}},
         {{1, 2, 2}}},
        {"lines that differ are passed over",
         "q a b z",
         "z w a b",
         {{0, 3, 0, 0}, {4, 4, 1, 4}},
         {{0, 1, 3}},
         {{1, 2, 2}}},
        {"one line is too few", "a z", "z a", {{0, 1, 0, 0}, {2, 2, 1, 2}}, {{0, 1, 1}}, {}},
        {"lines that stay do not move", "a b z", "a b z a b", {{3, 3, 3, 5}}, {{0, 3, 2}}, {}},
        {"whole edits need no candidate, once",
         "a b y z",
         "y a b z a b",
         {{0, 2, 0, 0}, {3, 3, 1, 3}, {4, 4, 4, 6}},
         {},
         {{0, 1, 2}}},
        {"a line moves once",
         "a b y z",
         "y a b z a b",
         {{0, 2, 0, 0}, {3, 3, 1, 3}, {4, 4, 4, 6}},
         {{0, 4, 2}, {0, 1, 2}},
         {{0, 4, 2}}},
    };
    for (const auto &row : rows) {
        const compared_texts texts({lines_of(row.base), lines_of(row.file)});
        EXPECT_EQ(norvik::moved_runs(texts.lines[0], texts.lines[1], row.edits, row.candidates,
                                     norvik::line_equality::exact),
                  row.moves)
            << row.name;
    }
}

}  // namespace

// Edits of one text against another: that they are right, small, and the same for the same change.
#include "edit_list.h"

#include <gtest/gtest.h>

#include <sstream>

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

// How many lines the matcher pairs; they are equal, and in order in both texts.
int32_t matched(const norvik::text_lines &x, const norvik::text_lines &y) {
    std::vector<norvik::line_run> runs;
    norvik::gap_matcher(x, y, norvik::line_equality::exact)
        .match({0, x.count(), 0, y.count()}, &runs);
    int32_t pairs = 0;
    norvik::line_run last;
    for (const norvik::line_run &run : runs) {
        EXPECT_GE(run.base_first, last.base_first + last.count);
        EXPECT_GE(run.file_first, last.file_first + last.count);
        EXPECT_EQ(x.range(run.base_first, run.base_first + run.count),
                  y.range(run.file_first, run.file_first + run.count));
        pairs += run.count;
        last = run;
    }
    return pairs;
}

TEST(gap_match, finds_as_many_pairs_as_there_are) {
    for (const unsigned seed : seeds(200)) {
        text_maker make{std::mt19937(seed), 0.9};
        const compared_texts texts(
            {joined(make.text(make.below(30))), joined(make.text(make.below(30)))});
        EXPECT_EQ(matched(texts.lines[0], texts.lines[1]),
                  longest_common(texts.lines[0], texts.lines[1]));
    }
}

TEST(gap_match, what_is_too_far_apart_is_divided_at_unique_lines) {
    std::string rising, falling, a, b;
    for (int i = 0; i < 100; i++) {
        rising += std::to_string(i / 2) + "\n";
        falling += std::to_string(50 - i / 2) + "\n";
    }
    for (int i = 0; i < 30; i++) {
        a.append("mark ").append(std::to_string(i)).append("\n").append(rising);
        b.append("mark ").append(std::to_string(i)).append("\n").append(falling);
    }
    const compared_texts texts({a, b, rising, falling});
    EXPECT_EQ(matched(texts.lines[0], texts.lines[1]),
              30 * (1 + longest_common(texts.lines[2], texts.lines[3])));
}

// Edits as "FIRST-END>FIRST-END" of base and file, runs as "BASE,FILE*COUNT".
std::vector<norvik::edit> edits_of(const std::string &words) {
    std::vector<norvik::edit> edits;
    std::istringstream in(words);
    char c = 0;
    for (norvik::edit e;
         in >> e.base_first >> c >> e.base_end >> c >> e.file_first >> c >> e.file_end;) {
        edits.push_back(e);
    }
    return edits;
}

std::vector<norvik::line_run> runs_of(const std::string &words) {
    std::vector<norvik::line_run> runs;
    std::istringstream in(words);
    char c = 0;
    for (norvik::line_run run; in >> run.base_first >> c >> run.file_first >> c >> run.count;) {
        runs.push_back(run);
    }
    return runs;
}

TEST(edit_list, chosen_places_are_as_written_here) {
    const struct {
        const char *name, *base, *file, *edits, *moves;
    } rows[] = {
        {"the smaller part moves", "a1 a2 b1 b2 b3", "b1 b2 b3 a1 a2", "0-2>0-0 5-5>3-5", "0,3*2"},
        {"a single line does not count as moved", "x a b c", "a b c x", "0-1>0-0 4-4>3-4", ""},
        {"repeated lines move as a whole", "A A A b c d", "b c d A A A", "0-3>0-0 6-6>3-6",
         "0,3*3"},
        {"nor do braces", "{ } a b c", "a b c { }", "0-2>0-0 5-5>3-5", ""},
        {"braces between", "a { b } c", "a { x } c", "2-3>2-3", ""},
    };
    for (const auto &row : rows) {
        const norvik::file_edits found =
            compared_texts({lines_of(row.base), lines_of(row.file)}).edits(1);
        EXPECT_EQ(found.edits, edits_of(row.edits)) << row.name;
        EXPECT_EQ(found.moves, runs_of(row.moves)) << row.name;
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
    EXPECT_EQ(found.edits, edits_of("0-0>0-40 120-160>160-160"));
    EXPECT_EQ(found.moves, runs_of("120,0*40"));
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
        const char *name, *base, *file, *edits, *settled;
    } rows[] = {
        {"an insertion stands last", "a b b c", "a b b b c", "1-1>1-2", "3-3>3-4"},
        {"so does a deletion", "a b b c", "a b c", "1-2>1-1", "2-3>2-2"},
        {"of several lines", "a b c b d", "a b d", "1-3>1-1", "2-4>2-2"},
        {"a change has one place", "a b b c", "a x b c", "1-2>1-2", "1-2>1-2"},
        {"down to an insertion", "a 0 0 b", "a 0 1 b", "1-2>1-1 3-3>2-3", "2-3>2-3"},
        {"up to a change", "a x 0 0 b", "a y 0 b", "1-2>1-2 3-4>3-3", "1-3>1-2"},
    };
    for (const auto &row : rows) {
        const compared_texts texts({lines_of(row.base), lines_of(row.file)});
        std::vector<norvik::edit> edits = edits_of(row.edits);
        norvik::settle_edits(texts.lines[0], texts.lines[1], &edits);
        EXPECT_EQ(edits, edits_of(row.settled)) << row.name;
    }
    const compared_texts texts({lines_of("a b b c"), lines_of("a b b b c")});
    const norvik::file_edits found = norvik::edits_from_pairs(texts.lines[0], texts.lines[1],
                                                              {{{0, 0, 1}, {1, 2, 3}}, {}}, {}, {});
    EXPECT_EQ(found.edits, edits_of(rows[0].settled)) << "wherever the pairs leave it";
}

TEST(moved_text, lies_in_what_one_edit_removes_and_one_inserts) {
    const char *const two_copies = "0-2>0-0 3-3>1-3 4-4>4-6";
    const struct {
        const char *name, *base, *file, *edits, *candidates, *moves;
    } rows[] = {
        {"a candidate grows to its edits' ends", "x a b c y", "x y a b c", "1-4>1-1 5-5>2-5",
         "2,3*1", "1,2*3"},
        {"and no further", "x a b c y", "a y a b c", "0-3>0-0 4-5>1-5", "2,3*1", "1,2*2"},
        {"lines that differ are passed over", "q a b z", "z w a b", "0-3>0-0 4-4>1-4", "0,1*3",
         "1,2*2"},
        {"one line is too few", "a z", "z a", "0-1>0-0 2-2>1-2", "0,1*1", ""},
        {"lines that stay do not move", "a b z", "a b z a b", "3-3>3-5", "0,3*2", ""},
        {"whole edits need no candidate, once", "a b y z", "y a b z a b", two_copies, "", "0,1*2"},
        {"a line moves once", "a b y z", "y a b z a b", two_copies, "0,4*2 0,1*2", "0,4*2"},
    };
    for (const auto &row : rows) {
        const compared_texts texts({lines_of(row.base), lines_of(row.file)});
        EXPECT_EQ(norvik::moved_runs(texts.lines[0], texts.lines[1], edits_of(row.edits),
                                     runs_of(row.candidates), norvik::line_equality::exact),
                  runs_of(row.moves))
            << row.name;
    }
}

}  // namespace

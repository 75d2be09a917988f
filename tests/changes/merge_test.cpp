// Merges of small texts, every one with the contributors in every order; and random ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "compared_texts.h"
#include "small_texts.h"

namespace {

using texts = std::vector<std::string>;

// A text with "{x|base|y}" for a conflict, as the markers show it when x's file is number `x`.
std::string with_markers(const std::string &pattern, int x) {
    std::string out;
    std::string words;
    std::array<std::string, 3> parts;
    const auto flush = [&words] { return lines_of(std::exchange(words, "")); };
    size_t part = 0;
    for (const char c : pattern) {
        if (c == '{') {
            out += flush();
            part = 0;
        } else if (c == '|') {
            parts[part++] = flush();
        } else if (c == '}') {
            parts[part] = flush();
            if (x == 2) {
                std::swap(parts[0], parts[2]);
            }
            out += "<<<<<<< 1\n" + parts[0] + "|||||||\n" + parts[1] + "=======\n" + parts[2] +
                   ">>>>>>> 2\n";
        } else {
            words += c;
        }
    }
    return out + flush();
}

TEST(merging, small_texts_merge_as_written_here) {
    const struct {
        const char *name, *base, *x, *y, *merged;
    } rows[] = {
        {"nothing changed", "a b c", "a b c", "a b c", "a b c"},
        {"one changed", "a b c", "a B c", "a b c", "a B c"},
        {"apart", "a b c d e", "A b c d e", "a b c d E", "A b c d E"},
        {"the same change", "a b c", "a X Y c", "a X Y c", "a X Y c"},
        {"the same deletion", "a b c", "a c", "a c", "a c"},
        {"the same insertion", "a c", "a b c", "a b c", "a b c"},
        {"other changes", "a b c", "a X c", "a Y c", "a {X|b|Y} c"},
        {"other insertions", "a c", "a X c", "a Y c", "a {X||Y} c"},
        {"change and deletion", "a b c", "a X c", "a c", "a {X|b|} c"},
        {"touching", "a b c d", "a X c d", "a b Y d", "a {X c|b c|b Y} d"},
        {"an insertion before a change", "a b c", "a X b c", "a Y c", "a {X b|b|Y} c"},
        {"one line between", "a b c d e", "a X c d e", "a b c Y e", "a X c Y e"},
        // Block by block these two would lose lines unasked.
        {"overlapping changes", "a b c d e f g h i j", "a b C D E F g h i j",
         "a b c d E2 F2 G2 H2 i j", "a b {C D E F g h|c d e f g h|c d E2 F2 G2 H2} i j"},
        {"a change over a deletion", "a b c d e f g", "a B C D E f g", "a b c g",
         "a {B C D E f|b c d e f|b c} g"},
        {"no newline at the end, one side", "a b c", "a b c$", "A b c", "A b c$"},
        {"no newline, and a line behind", "a b", "a b$", "a b c", "a {b|b|b c}"},
        {"a line behind a last line without newline", "a q b$", "a q b c", "A q b$", "A q b c"},
        {"empty base, the same", "", "a b", "a b", "a b"},
        {"empty base", "", "a b", "c", "{a b||c}"},
        {"all deleted and changed", "a b", "", "a B", "{|a b|a B}"},
        {"a changed row and a new row", "1 2", "2 2", "1 2 2", "2 2 2"},
        {"among equal rows", "0 0 7 0 0", "0 0 0 0 0", "0 0 7 0 0 0", "0 0 0 0 0 0"},
        {"one more row beside a changed one", "a 0 0 0 b", "a 0 0 0 0 b", "a 0 1 0 b",
         "a 0 {0 0 0|0 0|1 0} b"},
        {"one row less", "a 0 0 0 b", "a 0 0 b", "a 1 0 0 b", "a 1 0 b"},
        {"one more row each", "a 0 b c d", "a 0 0 b c d", "a 0 0 b c D", "a 0 {0||0} b c D"},
        {"a row less in both, one more in one", "0 a b c 0 d", "a b 0 c 0 d", "a b c 0 d",
         "a b 0 c 0 d"},
        {"blanks only", "a b c", "a b\t c", "a b\x0b c", "a b c"},
    };
    for (const auto &row : rows) {
        const std::string base = lines_of(row.base);
        for (const int x : {1, 2}) {
            const std::string first = lines_of(x == 1 ? row.x : row.y);
            const std::string second = lines_of(x == 1 ? row.y : row.x);
            const merge_of merge({base, first, second});
            EXPECT_EQ(merge.text, with_markers(row.merged, x)) << row.name << ", file " << x;
            EXPECT_EQ(merge.clean, std::string(row.merged).find('{') == std::string::npos)
                << row.name;
        }
    }
}

std::string block(char letter) {
    std::string text;
    for (int i = 1; i <= 8; i++) {
        text += std::string(1, letter) + " line " + std::to_string(i) + "\n";
    }
    return text;
}

const std::string A = block('A'), B = block('B'), C = block('C'), D = block('D');

// A text of blocks: "AC3n" is A, then C with its line 3 edited, then three new lines. "C3'" has
// another edit there, and a "$" leaves the text without a newline at its end.
std::string blocks(const std::string &words) {
    std::string text;
    for (const char c : words) {
        if (c >= 'A' && c <= 'D') {
            text += block(c);
        } else if (c >= '1' && c <= '8') {
            const size_t line = text.size() - static_cast<size_t>('9' - c) * 9;
            text.replace(line, 8, "edited 1");
        } else if (c == '\'') {
            text[text.rfind("edited 1") + 7] = '2';
        } else if (c == '$') {
            text.pop_back();
        } else {
            text += "new 1\nnew 2\nnew 3\n";
        }
    }
    return text;
}

TEST(merging, blocks_are_moved_as_written_here) {
    const std::pair<const char *, const char *> rows[] = {
        // The base and the contributors; a "#" stands for every line. Nothing for a conflict.
        {"ABCD BACD BACD", "BACD"},
        {"ABCD BCAD BCAD BCAD", "BCAD"},
        {"ABCD BACD BCAD", ""},
        {"ABCD BACD BCDA", ""},
        {"ABCD BCDA BCAD BCDA", ""},
        {"ABCD BACD A#BCD", "BA#CD"},
        {"ABCD BCAD A#BCD", "BCA#D"},
        {"ABCD A#BCD BCDA A#BCD", "BCDA#"},
        {"ABCD BCAD A2BCD A5'BCD", "BCA25'D"},
        {"ABCD BCAD A2BCD A2'BCD", ""},
        {"ABCD A3BCD BCAD A2BCD", ""},
        {"ABCD BCAD nABCD", ""},
        {"ABCD BCAD AnBCD", ""},
        {"BCDA ABCD BCDA8$", ""},
        {"ABCD BACD BCD", ""},
        {"ABCD BCD BCDA BCD", ""},
    };
    for (const auto &[words, merged] : rows) {
        for (char line = '1'; line <= (strchr(words, '#') != nullptr ? '8' : '1'); line++) {
            const auto text_of = [&](std::string text) {
                std::replace(text.begin(), text.end(), '#', line);
                return blocks(text);
            };
            texts all;
            std::istringstream in(words);
            for (std::string word; in >> word;) {
                all.push_back(text_of(word));
            }
            for (int turn = 0; turn < 2; turn++) {
                const merge_of merge(all);
                EXPECT_EQ(merge.clean ? merge.text : "", text_of(merged)) << words << line;
                EXPECT_TRUE(merge.clean || merge.text.find("A line 4\n") != std::string::npos);
                std::reverse(all.begin() + 1, all.end());
            }
        }
    }
}

TEST(merging, gives_up_where_no_conflict_mends_the_text) {
    merge_of merge({lines_of("a b c"), lines_of("a X c"), lines_of("a b c d")});
    merge.run.in.changes[0].edits.clear();
    merge.run.plan = norvik::plan_merge(merge.run.in, false);
    EXPECT_FALSE(norvik::finish_merge({}, &merge.run));
}

TEST(merging, same_lines_in_two_places_are_reported_and_strictly_a_conflict) {
    const std::string N = "new 1\nnew 2\nnew 3\n";
    norvik::merge_options strict;
    strict.strict = true;
    for (const texts &all : {texts{A + B + C + D, A + N + B + C + D, A + B + C + N + D},
                             texts{A + B + C + D, A + B + C + N + D, A + N + B + C + D}}) {
        const merge_of merge(all);
        EXPECT_EQ(merge.text, A + N + B + C + N + D);
        ASSERT_EQ(merge.run.verdict.repeated.size(), 1U);
        EXPECT_EQ(merge.run.verdict.repeated[0].first, 8);
        EXPECT_EQ(merge.run.verdict.repeated[0].second, 27);
        EXPECT_EQ(merge.run.verdict.repeated[0].count, 3);
        EXPECT_FALSE(merge_of(all, strict).clean);
    }
}

TEST(merging, line_moved_by_one_and_deleted_by_another_is_seen_by_the_check) {
    const texts all = {lines_of("a b c d e f"), lines_of("a c d b2 e b f"), lines_of("a c d e f")};
    EXPECT_FALSE(merge_of(all).clean);
    EXPECT_FALSE(merge_of({all[0], all[2], all[1]}).clean);
}

TEST(merging, adjacent_changes_apply_where_asked) {
    norvik::merge_options adjacent;
    adjacent.apply_adjacent = true;
    const texts rows[] = {
        {lines_of("a b c d"), lines_of("a X c d"), lines_of("a b Y d"), lines_of("a X Y d")},
        {lines_of("a b c"), lines_of("a N b c"), lines_of("a B c"), lines_of("a N B c")}};
    for (const texts &row : rows) {
        for (const texts &all : {texts{row[0], row[1], row[2]}, texts{row[0], row[2], row[1]}}) {
            EXPECT_FALSE(merge_of(all).clean);
            EXPECT_EQ(merge_of(all, adjacent).text, row[3]);
        }
    }
    // The changed last line has no newline: what is inserted behind it must not be joined to it.
    EXPECT_FALSE(merge_of({lines_of("a b"), lines_of("a B$"), lines_of("a b c")}, adjacent).clean);
}

TEST(merging, ignored_blanks_keep_the_base) {
    norvik::merge_options blanks;
    blanks.ignore_blanks = true;
    EXPECT_EQ(merge_of({"a  b\nc\n", "a b\nc\n", "a  b\nC\n"}, blanks).text, "a  b\nC\n");
    EXPECT_EQ(merge_of({"a\nb", "a\nb\nc\n", "a \nb"}, blanks).text, "a\nb\nc\n");
    EXPECT_EQ(merge_of({"a\nb", "a\nb\n", "a \nb"}, blanks).text, "a\nb\n");
}

TEST(merging, disjoint_changes_of_many_merge_in_any_order) {
    for (const unsigned seed : seeds(20)) {
        text_maker make{std::mt19937(seed)};
        const auto base = make.text(124);
        texts all = {joined(base)};
        auto wanted = base;
        for (size_t k = 0; k < 31; k++) {
            auto changed = base;
            changed[k * 4 + 1] = wanted[k * 4 + 1] = make.line() + make.line();
            all.push_back(joined(changed));
        }
        std::shuffle(all.begin() + 1, all.end(), make.random);
        const merge_of merge(all);
        EXPECT_TRUE(merge.clean);
        EXPECT_EQ(merge.text, joined(wanted));
    }
}

TEST(merging, check_finds_what_is_lost_doubled_and_foreign) {
    merge_of merge({lines_of("a b c d e"), lines_of("a b c X d e"), lines_of("a c d e")});
    ASSERT_EQ(merge.text, lines_of("a c X d e"));
    const std::pair<const char *, norvik::line_fault_kind> rows[] = {
        {"a b c X d e", norvik::line_fault_kind::doubled},
        {"a c X X d e", norvik::line_fault_kind::doubled},
        {"a c d e", norvik::line_fault_kind::lost},
        {"a c Q d e", norvik::line_fault_kind::foreign},
        {"A c X d e", norvik::line_fault_kind::foreign},
        {"a c X d", norvik::line_fault_kind::foreign},
    };
    for (const auto &[words, kind] : rows) {
        norvik::merged_text bad = merge.run.merged;
        bad.text = lines_of(words);
        // The places follow the text: one line at b, then the lines between c and d.
        const bool keeps_b = bad.text.starts_with("a\nb\n");
        bad.places[0].end = bad.places[0].from + (keeps_b ? 2 : 0);
        bad.places[1].from = bad.places[0].end + 2;
        bad.places[1].end = std::max(bad.places[1].from, bad.text.find("d\n"));
        const auto verdict = norvik::check_merged(merge.run.in, merge.run.plan, bad);
        EXPECT_NE(std::ranges::find(verdict.faults, kind, &norvik::line_fault::kind),
                  verdict.faults.end())
            << words;
    }
    EXPECT_TRUE(
        norvik::check_merged(merge.run.in, merge.run.plan, merge.run.merged).faults.empty());
}

// The last line stands once, with or without its newline: one moved it, the other removed it.
TEST(merging, moved_last_line_without_newline_is_the_same_line) {
    const texts moved = {lines_of("a b c d e$"), lines_of("e a b c d"), lines_of("a b c d")};
    EXPECT_FALSE(merge_of(moved).clean);
}

TEST(merging, marker_is_one_line_whatever_its_label) {
    norvik::merge_options options;
    options.markers.base_label = "b\n\x7f";
    const std::vector<std::string> all = {"b\n", "x\n", "y\n"};
    const auto marker = [&] { return merge_of(all, options).text; };
    EXPECT_NE(marker().find("\n||||||| b??\n"), std::string::npos) << marker();
    options.markers.on_one_line = [](std::string_view) { return std::string("spelled"); };
    EXPECT_NE(marker().find("\n||||||| spelled\n"), std::string::npos) << marker();
    EXPECT_TRUE(marker().starts_with("<<<<<<< 1\n"));
}

}  // namespace

// What merge writes and says, and what it refuses.
#include <gtest/gtest.h>

#include <algorithm>

#include "merge_words.h"
#include "run_command.h"
#include "small_texts.h"

namespace {

using texts = std::vector<std::string>;

class merging : public testing::Test {
protected:
    const scratch_folder folder_;
};

TEST_F(merging, what_cannot_be_seen_is_told) {
    const std::pair<texts, const char *> rows[] = {
        {{"a\r\n", "a\n"}, "line endings"},
        {{"a", "a\n"}, "the newline at the end"},
        {{"a \nb\n", "a\t\nb\n"}, "blanks at line ends"},
        {{"a b\n", "a  b\n"}, "blanks"},
        {{"a\n", "b\n"}, ""},
        {{"a\n", "a\n"}, ""},
        {{"", "\n"}, ""},
    };
    for (const auto &[sides, words] : rows) {
        EXPECT_EQ(norvik::invisible_difference({sides[0], sides[1]}), words);
    }
    write_file("b", "a\nb\nc\n");
    write_file("x", "a\nb\r\nc\n");
    write_file("y", "a\nb \nc\n");
    expect_told(tdm("merge b x y"), 1, "blanks at line ends only");
}

TEST_F(merging, command_writes_reports_and_refuses) {
    write_file("base", lines_of("a b c d e f"));
    write_file("x", lines_of("a X c d e1 f"));
    write_file("y", lines_of("a b c d e2 f"));
    const command_result json = tdm("merge base x y -o out --json --report report");
    EXPECT_EQ(json.status, 1);
    expect_golden("json/merge.json", json.out);
    expect_golden("merge-report.txt", read_file("report"));
    expect_golden("merge-conflict.txt", read_file("out"));
    EXPECT_EQ(json.err, "tdm: out:5: conflict: x and y changed the same lines differently\n");

    EXPECT_EQ(tdm("merge base x y -o out").status, 2);
    for (const char *words :
         {"merge base x y -o new --report ./new -f", "merge base x y -o new --report x -f",
          "merge base x y -o new --report - --json", "merge base x y -o new --report report"}) {
        EXPECT_EQ(tdm(words).status, 2) << words;
    }
    EXPECT_EQ(read_file("new") + read_file("x"), lines_of("a X c d e1 f"));
    EXPECT_EQ(tdm("merge base x base -o x -f").status, 0);
    EXPECT_EQ(read_file("x"), lines_of("a X c d e1 f"));
    const command_result abandoned = tdm("merge base x y -o none --abort-on-conflict");
    EXPECT_EQ(abandoned.status, 1);
    EXPECT_TRUE(abandoned.err.starts_with("tdm: base:5: conflict: ")) << abandoned.err;
    EXPECT_EQ(tdm("merge base x y -o none --ask").status, 2);
    EXPECT_EQ(tdm("merge base x y -o none --mq 2").status, 1);
    EXPECT_EQ(tdm("merge base x y -o none --mq 0").status, 2);
    EXPECT_EQ(tdm("merge base x missing -o none").status, 2);
    EXPECT_EQ(tdm("merge base x /dev/null -o none --strict").status, 1);
    EXPECT_EQ(tdm("merge base x y -o full", {.file_size_limit = 3}).status, 2);
    EXPECT_EQ(tdm("merge base x y", {.output_path = "/dev/full"}).status, 2);
    const auto files = files_in(".");
    EXPECT_EQ(std::count(files.begin(), files.end(), "full"), 0);

    EXPECT_EQ(tdm("merge base - -").status, 2);
    EXPECT_EQ(tdm("diff - -").status, 2);

    write_file("base", lines_of("A1 A2 A3 b c d e f"));
    write_file("there", lines_of("b c A1 A2 A3 d e f"));
    write_file("elsewhere", lines_of("b c d e A1 A2 A3 f"));
    const std::string err = tdm("merge base there elsewhere -o moved").err;
    EXPECT_NE(err.find("tdm: moved:"), std::string::npos) << err;
    EXPECT_NE(err.find("; also at line "), std::string::npos) << err;
    write_file("base", lines_of("a b c d e f"));

    const command_result style =
        tdm("merge base x y --style zdiff3 --marker-size 9 --label B --label X\a");
    EXPECT_NE(style.out.find("<<<<<<<<< X\\x07\ne1\n||||||||| B\ne\n=========\ne2\n>>>>>>>>> y\n"),
              std::string::npos)
        << style.out;
}

TEST_F(merging, same_lines_in_two_places_are_told_and_a_conflict_under_strict) {
    write_file("base", lines_of("a b c d e f g"));
    write_file("x", lines_of("a P Q R b c d e f g"));
    write_file("y", lines_of("a b c d e f P Q R g"));
    const struct {
        const char *option;
        int status;
        const char *words, *json;
    } rows[] = {
        {"", 0, "inserted in different places by several files: lines 2-4 and lines 10-12\n",
         "\"second\": 10,"},
        {" --strict", 1, "x and y inserted the same lines in different places; also at line 14\n",
         "\"reason\": \"repeated\","},
    };
    for (const auto &row : rows) {
        const std::string line = std::string("merge base x y -f -o out") + row.option;
        expect_told(tdm(line.c_str()), row.status, row.words);
        const command_result json = tdm((line + " --json").c_str());
        EXPECT_NE(json.out.find(row.json), std::string::npos) << json.out;
    }
}

TEST_F(merging, decisions_of_the_library_that_lose_lines_become_a_conflict) {
    const std::array<const char *, 4> rows[] = {
        // base, x, y, the text after automatic decisions or nothing for a conflict
        {"a b c d e f g", "a B C D E f g", "a b c g", ""},
        {"a b c d e", "A b c d e", "a b c d E", "A b c d E"},
        {"a b c", "a X c", "a X c", "a X c"},
    };
    for (const auto &row : rows) {
        write_file("base", lines_of(row[0]));
        for (const int x : {1, 2}) {
            write_file("x", lines_of(row[static_cast<size_t>(x)]));
            write_file("y", lines_of(row[static_cast<size_t>(3 - x)]));
            const command_result result = tdm("merge --mq 0 -fo out base x y");
            EXPECT_EQ(result.status, *row[3] == '\0' ? 1 : 0) << row[0] << result.err;
            if (*row[3] != '\0') {
                EXPECT_EQ(read_file("out"), lines_of(row[3]));
            }
        }
    }
}

}  // namespace

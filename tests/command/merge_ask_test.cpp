// The interactive merge on a pseudo terminal.
#include <gtest/gtest.h>

#include "run_command.h"
#include "small_texts.h"

namespace {

class asking : public testing::Test {
protected:
    void SetUp() override {
        write_file("base", lines_of("a b c d e f"));
        write_file("x", lines_of("a X c d e1 f"));
        write_file("y", lines_of("a Y c d f"));
    }

    // The answers are written in a row, "." for an empty line.
    command_result merge(const std::string &answers, const std::string &options = "--ask",
                         const std::string &editor = "kill -INT $PPID; sh edit.sh") {
        std::string lines;
        for (const std::string &answer : words_of(answers)) {
            lines += (answer == "." ? "" : answer) + "\n";
        }
        // The editor leaves the markers at first. What interrupts it does not end the merge.
        write_file("edit.sh", "test -e tried && echo edited >\"$1\"; touch tried\n");
        return on_terminal("merge base x y -f -o out " + options, lines,
                           {.environment = {"EDITOR=" + editor, "VISUAL="}});
    }

    const scratch_folder folder_;
};

TEST_F(asking, answers_decide) {
    const struct {
        const char *answers, *text;
    } rows[] = {
        {"y n y", "a X c d e1 f"},        // the deletion is passed over
        {". . n y", "a X c d f"},         // yes, then no; the deletion
        {"n n n n", "a b c d e f"},       // the base stays
        {"yes y no n", "a X Y c d e f"},  // both changes after each other
        {"b 3", "a b c d f"},             // the base; file 3
        {"2 e e", "a X c d edited f"},    // file 2; the editor
        {"? s 4 n y 1", "a Y c d e f"},
    };
    for (const auto &row : rows) {
        const command_result result = merge(row.answers);
        EXPECT_EQ(result.status, 0) << result.out;
        EXPECT_EQ(read_file("out"), lines_of(row.text)) << result.out;
    }
    const command_result shown = merge("y n y", "--ask --report told");
    EXPECT_NE(read_file("told").find("decided by an answer between x and y\n"), std::string::npos);
    for (const char *words : {"file 1 (base) line 2", "file 3 y line 2", "Do you want the CHANGE",
                              "[Y/n/a/b/K/e/s/?]", "[y/N/a/b/K/e/s/?]"}) {
        EXPECT_NE(shown.out.find(words), std::string::npos) << words << "\n" << shown.out;
    }
}

TEST_F(asking, abandoned_merge_leaves_no_output) {
    EXPECT_EQ(merge("y n a").status, 1);
    EXPECT_EQ(merge("").status, 1);  // end of input
    EXPECT_EQ(merge("y", "--ask --no-input").status, 2);
    EXPECT_EQ(merge("a", "--mq 1").status, 1);
    const command_result failed = merge("e a", "--ask", "sh -c 'exit 3'");
    EXPECT_NE(failed.out.find("'sh -c 'exit 3'' ended with status 3; nothing is taken from it"),
              std::string::npos)
        << failed.out;
    EXPECT_EQ(files_in("."), (std::vector<std::string>{"base", "edit.sh", "x", "y"}));
}

TEST_F(asking, long_places_are_shown_in_part) {
    write_file("x", lines_of("a b c d") + std::string(50, '\n') + "f\n");
    EXPECT_NE(merge("a").out.find("more lines; s shows them"), std::string::npos);
}

TEST_F(asking, library_merge_asks_and_keeps_regions_whole) {
    EXPECT_EQ(merge("y n n y", "--mq 0").status, 0);
    EXPECT_EQ(read_file("out"), lines_of("a X c d f"));

    // Everything declined, the library's decisions would still drop g and h.
    write_file("base", lines_of("a b c d e f g h i j"));
    write_file("x", lines_of("a b C D E F g h i j"));
    write_file("y", lines_of("a b c d E2 F2 G2 H2 i j"));
    const command_result lossy = merge("n n n n n n", "--mq 0");
    EXPECT_EQ(lossy.status, 1) << lossy.out;
    const std::string out = read_file("out");
    for (const char *line : {"\nF\n", "\ng\n", "\nh\n", "\nH2\n"}) {
        EXPECT_NE(out.find(line), std::string::npos) << out;
    }
}

}  // namespace

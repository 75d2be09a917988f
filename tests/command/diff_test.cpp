// What diff prints, in every form, and that patch and git apply take it.
#include <gtest/gtest.h>

#include "run_command.h"
#include "small_texts.h"

namespace {

class differences : public testing::Test {
protected:
    std::string diff(const std::string &base, const std::string &file,
                     std::vector<std::string> options = {}) {
        write_file("old", base);
        write_file("new", file);
        options.insert(options.begin(), "diff");
        options.insert(options.end(), {"old", "new"});
        const command_result result = tdm(options);
        EXPECT_EQ(result.status, base == file ? 0 : 1) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }

    const scratch_folder folder_;
};

const char *const header = "--- old\n+++ new\n";

TEST_F(differences, unified_output_is_as_written_here) {
    const struct {
        std::string base, file, hunks;
    } rows[] = {
        {"a\nb\nc\n", "a\nX\nc\n", "@@ -1,3 +1,3 @@\n a\n-b\n+X\n c\n"},
        {"", "a\n", "@@ -0,0 +1 @@\n+a\n"},
        {"a\n", "", "@@ -1 +0,0 @@\n-a\n"},
        {"a\nb", "a\nb\n", "@@ -1,2 +1,2 @@\n a\n-b\n\\ No newline at end of file\n+b\n"},
        {"a\nb", "b", "@@ -1,2 +1 @@\n-a\n b\n\\ No newline at end of file\n"},
        {"a\r\n", "a\n", "@@ -1 +1 @@\n-a\r\n+a\n"},
        {lines_of("1 2 3 4 5 6 7 8 9"), lines_of("1 X 3 4 5 6 7 8 Y"),
         "@@ -1,9 +1,9 @@\n 1\n-2\n+X\n 3\n 4\n 5\n 6\n 7\n 8\n-9\n+Y\n"},
        {lines_of("1 2 3 4 5 6 7 8 9 10"), lines_of("X 2 3 4 5 6 7 8 Y 10"),
         "@@ -1,4 +1,4 @@\n-1\n+X\n 2\n 3\n 4\n@@ -6,5 +6,5 @@\n 6\n 7\n 8\n-9\n+Y\n 10\n"},
        {lines_of("m1 m2 a b c"), lines_of("a b c m1 m2"),
         "@@ -1,5 +1,5 @@ 1-2 moved to 4-5; 4-5 moved from 1-2\n-m1\n-m2\n a\n b\n c\n+m1\n+m2\n"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(diff(row.base, row.file), header + row.hunks);
    }
    EXPECT_EQ(diff("a\n", "a\n"), "");
    EXPECT_EQ(tdm("diff -w old new").status, 0);
    write_file("new", "a");
    EXPECT_EQ(tdm("diff -w old new").status, 0);
    EXPECT_EQ(diff("a b\nc\n", "a  b\nC\n", {"-w", "-U0"}),
              header + std::string("@@ -2 +2 @@\n-c\n+C\n"));
    EXPECT_EQ(diff(rows[8].base, rows[8].file, {"--no-moves", "-U0"}),
              header + std::string("@@ -1,2 +0,0 @@\n-m1\n-m2\n@@ -5,0 +4,2 @@\n+m1\n+m2\n"));
}

std::string apply(const std::string &text, const std::string &patch,
                  const std::vector<std::string> &command) {
    write_file("x", text);
    const command_result result = run(command, {.input = patch});
    EXPECT_EQ(result.status, 0) << result.out << result.err << patch;
    return read_file("x");
}

TEST_F(differences, patch_and_git_turn_one_text_into_the_other_and_back) {
    for (const unsigned seed : seeds(sanitized ? 15U : 80U)) {
        text_maker make{std::mt19937(seed), seed % 3 * 0.3};
        const auto lines = make.text(1 + make.below(40));
        const std::string a = joined(lines, make.chance(0.2));
        const std::string b = joined(make.changed(lines), make.chance(0.2)) + "end\n";
        const std::string context = "-U" + std::to_string(make.below(5));
        const std::string patch = diff(a, b, {context, "--label", "a/x", "--label", "b/x"});
        EXPECT_EQ(apply(a, patch, {"patch", "-s", "-p1"}), b) << "seed " << seed;
        EXPECT_EQ(apply(b, patch, {"patch", "-s", "-p1", "-R"}), a) << "seed " << seed;
        EXPECT_EQ(apply(a, patch, {"git", "apply", "--unidiff-zero"}), b) << "seed " << seed;
    }
}

TEST_F(differences, names_of_any_kind_reach_patch) {
    for (const std::string name : {"with blank", "quo\"te", "back\\slash", "tab\there"}) {
        write_file(name, "a\n");
        write_file("other", "b\n");
        const std::string patch =
            tdm({"diff", "--label", name, "--label", name, "--", name, "other"}).out;
        EXPECT_EQ(run({"patch", "-s", "-p0"}, {.input = patch}).status, 0) << patch;
        EXPECT_EQ(read_file(name), "b\n") << patch;
    }
}

TEST_F(differences, other_forms_are_as_documented) {
    const std::string base = lines_of("one two three four five six seven eight m1 m2 m3 nine ten");
    const std::string file =
        lines_of("one m1 m2 m3 two 3 four five six seven eight nine ten eleven$");
    for (const char *form : {"stat", "word", "blocks", "brief"}) {
        expect_golden(std::string("diff-") + form + ".txt",
                      diff(base, file, {std::string("--") + form}));
    }
    expect_golden("json/diff.json", diff(base, file, {"--json"}));
    expect_golden("diff-side.txt", diff(base, file, {"-y", "-W", "40"}));
    expect_golden("diff-side-context.txt", diff(base, file, {"-y", "-W", "40", "-U1"}));
    expect_golden("diff-color.txt", diff(base, file, {"--color=always"}));
    write_file("third", base);
    EXPECT_EQ(tdm("diff --brief old new third").out, "old and new differ\n");
    EXPECT_EQ(tdm("diff --quiet old new").out, "");
}

TEST_F(differences, words_of_changed_lines) {
    EXPECT_EQ(diff("int f(int a);\n", "int g(int a, char b);\n", {"--word"}),
              "--- old\n+++ new\n@@ line 1 @@\nint [-f-]{+g+}(int a{+, char b+});\n");
    EXPECT_EQ(diff("a\nb", "c\nb", {"--word"}), "--- old\n+++ new\n@@ line 1 @@\n[-a-]{+c+}\nb\n");
    EXPECT_EQ(diff("a\nb", "a\nc", {"--word"}), "--- old\n+++ new\n@@ line 1 @@\na\n[-b-]{+c+}\n");
}

TEST_F(differences, versions_of_a_container) {
    write_file("t1", lines_of("a b"));
    write_file("t2", lines_of("a B"));
    ASSERT_EQ(tdm("create c").status, 0);
    ASSERT_EQ(tdm("checkin c t1").status, 0);
    ASSERT_EQ(tdm("checkin c t2").status, 0);
    const std::string hunk = "@@ -1,2 +1,2 @@\n a\n-b\n+B\n";
    EXPECT_EQ(tdm("diff -c c main@1 main@2").out, "--- main@1\n+++ main@2\n" + hunk);
    EXPECT_EQ(tdm("diff -c c main@1").out, "--- main@1\n+++ main@2\n" + hunk);
    EXPECT_EQ(tdm("diff -c c main@2 main").status, 0);
    EXPECT_EQ(tdm("diff -c c main@7").status, 2);
}

TEST_F(differences, trouble_is_told) {
    write_file("text", "a\n");
    write_file("nul", std::string("a\0b\n", 4));
    for (const char *name : {"missing", ".", "nul"}) {
        const command_result result = tdm({"diff", "text", name});
        EXPECT_EQ(result.status, 2) << name;
        EXPECT_NE(result.err, "") << name;
    }
    EXPECT_EQ(tdm("diff text").status, 2);
    EXPECT_EQ(tdm("diff text -", {.input = "b\n"}).status, 1);
    EXPECT_EQ(tdm("diff /dev/null text", {.output_path = "/dev/full"}).status, 2);
}

}  // namespace

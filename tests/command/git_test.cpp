// Git end to end: the merge driver, the tools and the external diff, in a repository of its own.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "run_command.h"
#include "small_texts.h"

namespace {

const std::string odd_name = "a 'b' \"c\" $d.txt";

class git : public testing::Test {
protected:
    void SetUp() override {
        const std::string folder = std::string(TDM_COMMAND);
        environment_ = {"HOME=" + folder_.path(), "GIT_CONFIG_NOSYSTEM=1",
                        "GIT_CEILING_DIRECTORIES=/tmp", "GIT_TERMINAL_PROMPT=0",
                        "PATH=" + folder.substr(0, folder.rfind('/')) + ":" + std::getenv("PATH")};
        write_file(".gitconfig",
                   "[user]\nname = T\nemail = t@example.org\n[init]\ndefaultBranch = main\n"
                   "[mergetool]\nkeepBackup = false\n[core]\nquotePath = false\n" +
                       tdm("config git").out);
        write_file(".gitattributes", "* merge=tdm diff=tdm\n");
        write_file(".gitignore", ".gitconfig\n.gitignore\n");
        EXPECT_EQ(call("init -q").status, 0);
        write_file(odd_name, base_);
        write_file("-dash", base_);
        write_file("more", base_);
        write_file("gone", "gone\n");
        commit("base");
    }

    command_result call(std::vector<std::string> words, const std::string &input = {}) {
        words.insert(words.begin(), "git");
        return run(words, {.input = input, .environment = environment_});
    }

    command_result call(const char *words, const std::string &input = {}) {
        return call(words_of(words), input);
    }

    void commit(const std::string &message) {
        EXPECT_EQ(call("add -A").status, 0);
        EXPECT_EQ(call({"commit", "-q", "-m", message}).status, 0);
    }

    // Commits `ours` on main and `theirs` on a branch as the text of `name`, and merges.
    command_result merge(const std::string &name, const std::string &ours,
                         const std::string &theirs) {
        EXPECT_EQ(call("checkout -q -b side").status, 0);
        write_file(name, theirs);
        commit("theirs");
        EXPECT_EQ(call("checkout -q main").status, 0);
        write_file(name, ours);
        commit("ours");
        return call("merge -q --no-edit side");
    }

    const scratch_folder folder_;
    std::vector<std::string> environment_;
    const std::string base_ = lines_of("a1 a2 a3 a4 b1 b2 b3 b4 c1 c2 c3 c4");
};

TEST_F(git, driver_carries_an_edit_along_with_moved_lines) {
    const command_result result = merge(odd_name, lines_of("b1 b2 b3 b4 a1 a2 a3 a4 c1 c2 c3 c4"),
                                        lines_of("a1 a2 a3 EDITED b1 b2 b3 b4 c1 c2 c3 c4"));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(read_file(odd_name), lines_of("b1 b2 b3 b4 a1 a2 a3 EDITED c1 c2 c3 c4"));
}

TEST_F(git, driver_leaves_a_conflict_in_the_work_file) {
    const command_result result = merge("-dash", lines_of("X a2"), lines_of("Y a2"));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(read_file("-dash"),
              "<<<<<<< ours\nX\n||||||| base\na1\n=======\nY\n>>>>>>> theirs\na2\n");
    EXPECT_NE(result.err.find("tdm: -dash:1: conflict: ours and theirs"), std::string::npos)
        << result.err;
    EXPECT_EQ(call("status --short").out, "UU -dash\n");
}

TEST_F(git, driver_merges_files_that_both_sides_added) {
    EXPECT_EQ(merge("added", "one\ntwo\n", "one\n2\n").status, 1);
    EXPECT_EQ(read_file("added"),
              "<<<<<<< ours\none\ntwo\n||||||| base\n=======\none\n2\n>>>>>>> theirs\n");
}

TEST_F(git, failing_driver_keeps_both_sides) {
    const std::string binary("ours\0\n", 6);
    EXPECT_EQ(merge(odd_name, binary, "theirs").status, 1);
    EXPECT_EQ(read_file(odd_name), "<<<<<<< ours\n" + binary + "=======\ntheirs\n>>>>>>> theirs\n");

    // A write that fails in the middle: git's file still holds our side whole.
    write_file("o", "base\n");
    write_file("b", "theirs\n");
    write_file("a.tdm", "somebody's");
    const size_t files = files_in(".").size() + 1;  // and a
    for (const long limit : {0L, 3L, 10L}) {
        write_file("a", "ours, a long line\n");
        EXPECT_EQ(tdm("git-merge o a b 7 path", {.file_size_limit = limit}).status, 2);
        EXPECT_EQ(read_file("a"), "ours, a long line\n");
    }
    EXPECT_EQ(tdm("git-merge o a /dev/zero 7 path").status, 2);
    EXPECT_EQ(read_file("a"), "ours, a long line\n");
    EXPECT_EQ(tdm("git-merge missing a b 9 path %S %X %Y").status, 1);
    EXPECT_EQ(read_file("a"),
              "<<<<<<<<< ours\nours, a long line\n=========\ntheirs\n>>>>>>>>> theirs\n");
    EXPECT_EQ(files_in(".").size(), files);
    EXPECT_EQ(read_file("a.tdm"), "somebody's");
}

TEST_F(git, merge_tool_writes_what_was_decided) {
    EXPECT_EQ(merge("added", "one\n", "two\n").status, 1);
    const command_result refused = call("mergetool -y -t tdm");
    EXPECT_NE(refused.status, 0);
    EXPECT_EQ(call("status --short").out, "AA added\n");

    // On a terminal, of the `script` of util-linux: file 3 is theirs.
    write_file("answers", "3\n");
    const command_result asked =
        run({"sh", "-c",
             "(sleep 1; cat answers; sleep 1) | script -qec 'git mergetool -y -t tdm' /dev/null"},
            {.environment = environment_});
    EXPECT_EQ(read_file("added"), "two\n") << asked.out;
    EXPECT_EQ(call("diff --name-only --diff-filter=U").out, "");
}

TEST_F(git, diff_runs_the_external_command) {
    write_file(odd_name, lines_of("X a2 a3 a4 b1 b2 b3 b4 c1 c2 c3 c4"));
    write_file("-dash", "");
    write_file("new", "n\n");
    EXPECT_EQ(call("mv more moved").status + call("rm -q gone").status, 0);
    write_file("moved", base_ + "more\n");
    chmod(odd_name.c_str(), 0755);
    EXPECT_EQ(call("add -A").status, 0);
    chmod("new", 0755);
    EXPECT_EQ(call("add -A").status, 0);
    const command_result patch = call("diff --cached");
    EXPECT_EQ(patch.status, 0) << patch.err;
    expect_golden("git-diff.txt", patch.out);
    EXPECT_EQ(call("reset -q --hard").status, 0);
    EXPECT_EQ(call("apply --index", patch.out).status, 0) << patch.out;
    EXPECT_TRUE(read_file(odd_name).starts_with("X\n"));
    EXPECT_EQ(call("diff --cached").out, patch.out);

    // Given plainly in the environment, it knows git by its arguments.
    environment_.push_back("GIT_EXTERNAL_DIFF=tdm diff");
    write_file(".gitattributes", "");
    EXPECT_NE(call({"diff", "--cached", "--", odd_name}).out.find("-a1\n+X\n"), std::string::npos);
    const command_result tool = call({"difftool", "-y", "-t", "tdm", "--cached", "--", odd_name});
    EXPECT_EQ(tool.status, 0) << tool.err;
    EXPECT_NE(tool.out.find("-a1\n+X\n"), std::string::npos) << tool.out;
}

TEST_F(git, diff_of_an_unmerged_path_and_of_a_binary_file) {
    EXPECT_EQ(merge("-dash", lines_of("X a2"), lines_of("Y a2")).status, 1);
    const command_result unmerged = call("diff HEAD -- -dash");
    EXPECT_EQ(unmerged.status, 0) << unmerged.err;
    EXPECT_EQ(call("reset -q --hard").status, 0);
    write_file(odd_name, std::string("\0", 1));
    const command_result binary = call("diff");
    EXPECT_EQ(binary.status, 0);
    EXPECT_NE(binary.out.find("Binary files \"a/a 'b' \\\"c"), std::string::npos) << binary.out;
}

}  // namespace

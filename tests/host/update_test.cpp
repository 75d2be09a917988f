// Nobody undoes what another has stored: what a file was made from, and what may be replaced.
#include <gtest/gtest.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <string>

#include "run_command.h"

namespace {

constexpr const char *attribute = "user.tdm.base";

std::string base_of(const char *file) {
    char value[64];
    const ssize_t size = getxattr(file, attribute, value, sizeof value);
    return {value, size < 0 ? 0 : static_cast<size_t>(size)};
}

// A container of main@1 to main@3, each with one line changed, and files that it knows nothing of.
class update : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(tdm({"create", "c"}).status, 0);
        for (const char *text : {"1\n2\n3\n4\n5\n", "1\nB\n3\n4\n5\n", "1\nB\n3\n4\nE\n"}) {
            ASSERT_EQ(tdm({"checkin", "c", "-"}, {.input = text}).status, 0);
        }
    }

    const scratch_folder folder_;
};

TEST_F(update, checkout_replaces_what_a_version_keeps_and_nothing_else) {
    struct row {
        const char *text;
        bool kept;
    };
    const row rows[] = {{"1\nB\n3\n4\n5\n", true}, {"", true},
                        {"1\nB\n3\n4\n5", false},  {"1\n2\n3\n4\nE\n", false},
                        {"1\nB\n4\n3\n5\n", false}};
    for (const row &r : rows) {
        unlink("f");
        write_file("f", r.text);
        const command_result result = tdm({"checkout", "c", "main@1", "-o", "f"});
        EXPECT_EQ(result.status, r.kept ? 0 : 2) << r.text;
        EXPECT_EQ(result.err.find("no version of c") == std::string::npos, r.kept) << result.err;
        EXPECT_EQ(read_file("f"), r.kept ? "1\n2\n3\n4\n5\n" : r.text);
        EXPECT_EQ(tdm({"checkout", "c", base_of("f")}).out, r.kept ? read_file("f") : "");
    }
    // What only a deleted version has kept is kept no longer.
    write_file("f", "1\nB\n3\n4\nE\n");
    ASSERT_EQ(tdm({"delete", "c", "main@3", "--yes"}).status, 0);
    EXPECT_EQ(tdm({"checkout", "c", "-o", "f"}).status, 2);
}

TEST_F(update, text_that_changes_before_the_rename_stays) {
    ASSERT_EQ(tdm({"checkout", "c", "-o", "f"}).status, 0);
    // Same size and time: only the bytes tell.
    const std::string script = std::string(
                                   "strace -o /dev/null -e trace=fsync -e "
                                   "inject=fsync:delay_enter=700000:when=1 '") +
                               TDM_COMMAND +
                               "' checkout c main@1 -o f & sleep 0.4; cp -p f t; echo X | dd of=f "
                               "conv=notrunc status=none; touch -r t f; wait $!";
    const command_result result =
        run({"bash", "-c", script}, {.environment = {"ASAN_OPTIONS=detect_leaks=0"}});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("changed by somebody else"), std::string::npos) << result.err;
    EXPECT_EQ(read_file("f"), "X\nB\n3\n4\nE\n");
}

}  // namespace

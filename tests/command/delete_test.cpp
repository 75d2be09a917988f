// Deletion and purge: what is left, what is gone, what is refused.
#include <gtest/gtest.h>

#include "run_command.h"

namespace {

// main 1 to 4, draft off main@2 with 1 and 2, deep off draft@1.
class pruning : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(tdm("create c").status, 0);
        store("a\nb\n}\n", {});
        store("a\nSECRET\nstays\nb\n}\n}\n", {});
        store("a\nstays\nb\n}\n", {});
        store("a\nstays\nd\n", {});
        store("a\nb\ndraft\n", {"--branch", "draft", "--from", "main@2"});
        store("a\nb\ndraft\nmore\n", {"--branch", "draft"});
        store("deep\n", {"--branch", "deep", "--from", "draft@1"});
    }

    static void store(const std::string &text, std::vector<std::string> more) {
        write_file("t", text);
        more.insert(more.begin(), {"checkin", "c", "t", "-q", "--no-base"});
        ASSERT_EQ(tdm(more).status, 0);
    }

    const scratch_folder folder_;
};

TEST_F(pruning, refuses_what_would_break_the_container) {
    const std::pair<const char *, const char *> rows[] = {
        {"main@0", "cannot be deleted"},
        {"--branch main", "the first branch"},
        {"--branch draft", "other branches hang on it: deep (off draft@1)"},
        {"--branch none", "has no branch none"},
        {"main@9", "no version main@9"},
        {"", "no VERSION"},
    };
    const std::string before = read_file("c");
    for (const auto &[words, said] : rows) {
        expect_told(tdm((std::string("delete c --yes ") + words).c_str()), 2, said);
    }
    EXPECT_EQ(tdm("delete c main@4").status, 2);
    write_file("cut", before.substr(0, before.size() - 3));
    EXPECT_EQ(tdm("delete cut main@4 --yes").status, 2);
    EXPECT_EQ(read_file("c"), before);
    EXPECT_EQ(files_in("."), (std::vector<std::string>{"c", "cut", "t"}));
}

TEST_F(pruning, says_what_is_gone_and_what_stays) {
    const std::string before = read_file("c");
    const command_result planned = tdm("delete c main@2 main@4 deep@1 --dry-run");
    EXPECT_EQ(planned.out, "");
    EXPECT_EQ(planned.err,
              "tdm: deep@1: would be deleted, its lines would be gone from the file\n"
              "tdm: main@4: would be deleted, its lines would be gone from the file\n"
              "tdm: main@2: would be deleted, but its lines would stay in the file, for main@3 and "
              "branch draft\n"
              "tdm: branch deep: would be removed with all its versions\n");
    const std::string told =
        "deep@1: deleted, its lines are gone from the file\n"
        "main@4: deleted, its lines are gone from the file\n"
        "main@2: deleted, but its lines are still in the file, for main@3 and branch draft\n"
        "branch deep: removed, none of its versions is left\n";
    EXPECT_EQ(read_file("c"), before);
    expect_told(tdm("delete c draft@1 draft@2 --dry-run"), 0,
                "branch draft: would stay without versions, for branch deep\n");
    const command_result done = tdm("delete c main@2 main@4 deep@1 --yes");
    EXPECT_EQ(done.out, told);
    EXPECT_EQ(done.err, planned.err);
    EXPECT_EQ(tdm("verify c").out, "c: sound, 5 versions\n");
    EXPECT_EQ(tdm("checkout c main@3").out, "a\nstays\nb\n}\n");
    EXPECT_EQ(tdm("checkout c draft@2").out, "a\nb\ndraft\nmore\n");
    EXPECT_EQ(tdm("checkout c main@2").status, 2);
    write_file("t", "new\n");
    EXPECT_EQ(tdm("checkin c t").out, "main@4\n");
}

TEST_F(pruning, purge_leaves_no_byte_of_the_secret) {
    ASSERT_EQ(tdm("delete c --branch deep --branch draft --yes").status, 0);
    write_file("copy", read_file("c"));
    const std::string told =
        "main@2: deleted; of 3 lines that it inserted 2 are gone from the file\n"
        "not purged, because these versions hold them:\n"
        "  main@3, main@4: stays\n"
        "purged, but these versions have lines of the same text:\n"
        "  main@1, main@3: }\n";
    const command_result planned = tdm("purge c main@2 --dry-run");
    EXPECT_EQ(planned.out, "");
    expect_told(planned, 0,
                "of 3 lines that it inserted 2 would be gone from the file\n"
                "tdm: would not be purged, because");
    EXPECT_NE(read_file("c").find("SECRET"), std::string::npos);
    const command_result done = tdm("purge c main@2 --yes");
    EXPECT_EQ(done.out, told);
    EXPECT_EQ(done.err, planned.err);
    EXPECT_EQ(read_file("c").find("SECRET"), std::string::npos);
    EXPECT_EQ(tdm("verify c").out, "c: sound, 4 versions\n");
    EXPECT_EQ(tdm("checkout c main@3").out, "a\nstays\nb\n}\n");
    // The same comes out when the version has been deleted before.
    ASSERT_EQ(tdm("delete copy main@2 --yes").status, 0);
    EXPECT_NE(read_file("copy").find("SECRET"), std::string::npos);
    EXPECT_EQ(tdm("purge copy main@2 --yes").status, 0);
    EXPECT_EQ(read_file("copy"), read_file("c"));
    EXPECT_EQ(tdm("purge c main@1 --yes").status, 1);
    EXPECT_EQ(read_file("copy"), read_file("c"));
}

// A secret whose own version is deleted already goes with the last version that holds it.
TEST_F(pruning, purge_takes_what_only_the_version_still_holds) {
    ASSERT_EQ(tdm("delete c --branch deep --branch draft --yes").status, 0);
    write_file("t", "a\nHIDDEN\n");
    ASSERT_EQ(tdm("checkin c t --branch side --from main@1").out, "side@1\n");
    write_file("t", "a\nHIDDEN\nmore\n");
    ASSERT_EQ(tdm("checkin c t --branch side").out, "side@2\n");
    write_file("t", "a\nmore\n");
    ASSERT_EQ(tdm("checkin c t --branch side --no-base").out, "side@3\n");
    ASSERT_EQ(tdm("delete c side@1 --yes").status, 0);
    EXPECT_EQ(tdm("purge c side@2 --yes").status, 0);
    EXPECT_EQ(read_file("c").find("HIDDEN"), std::string::npos);
}

TEST(purge, takes_live_versions_first_and_refuses_what_names_two) {
    const scratch_folder folder;
    write_file("c",
               "^S db1 0\n^V abcd3 0 3 3\n^#^V abcd2 0 2 2\n^V abcx 0 1 1\n^V v0 0 0 0\n"
               "^B main 0 0 0\n^E e\n^I 0 1 1\none\n^I 0 2 1\ntwo\n^I 0 3 1\nthree\n");
    const std::pair<const char *, int> rows[] = {{"abcd", 2},  {"abcd2", 1}, {"main@2", 1},
                                                 {"abcd3", 0}, {"abcx", 1},  {"abc", 2},
                                                 {"main", 0}};
    for (const auto &[name, status] : rows) {
        EXPECT_EQ(tdm({"purge", "c", name, "--dry-run"}).status, status) << name;
    }
}

}  // namespace

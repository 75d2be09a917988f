// Containers with digests: made so, changed by the library and by the command, damaged.
#include <gtest/gtest.h>
#include <norviktdm/tdm.h>

#include <filesystem>

#include "run_command.h"
#include "sample_container.h"

namespace {

// Replaces the first `from` of the container c.
void spoil(std::string_view from, std::string_view to) {
    std::string bytes = read_file("c");
    const size_t at = bytes.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    write_file("c", bytes.replace(at, from.size(), to));
}

TEST(seal, digests_outlive_what_the_library_and_the_command_do) {
    const scratch_folder folder;
    write_file("c", sound_container);
    EXPECT_EQ(tdm("verify c").out, "c: sound, 6 versions, none with a digest\n");
    EXPECT_EQ(tdm("seal c --dry-run").err,
              "tdm: c: 6 versions would get a digest\ntdm: c: would be replaced\n");
    EXPECT_EQ(read_file("c"), sound_container);
    EXPECT_EQ(tdm("seal c").out, "sealed: 6 versions\n");
    EXPECT_EQ(tdm("seal c").err, "tdm: c: every version has a digest\n");
    const std::string sealed = read_file("c");
    EXPECT_EQ(tdm("verify c").out, "c: sound, 6 versions\n");

    write_file("text", "by the library\n");
    uint32_t same = 0;
    ASSERT_EQ(
        tdm_store_ver(9, "ver7", "main", 5, "new", nullptr, nullptr, 4, "c", "text", 0, &same), 0);
    const char *const gone[] = {"ver4"};
    ASSERT_EQ(tdm_delete_versions_and_branches("new", "c", 1, gone, 0, nullptr), 0);
    EXPECT_EQ(tdm("verify c").out, "c: sound, 6 versions, 1 without a digest\n");
    EXPECT_NE(read_file("c").find("\n^#^V ver4 0 4 7 sum="), std::string::npos);
    EXPECT_EQ(tdm("seal c").out, "sealed: 1 version\n");
    write_file("text", "of the draft\n");
    EXPECT_EQ(tdm("checkin c text --branch draft").status, 0);
    EXPECT_EQ(tdm("delete c main@1 --yes -q").status, 0);
    EXPECT_EQ(tdm("checkout c ver2").out, "a\n^q\nx\nc\nd\n");
    EXPECT_NE(read_file("c").find("\n^#^V ver1 0 1 2 sum="), std::string::npos);
    EXPECT_EQ(tdm("purge c draft@2 --yes -q").status, 0);
    EXPECT_EQ(read_file("c").find("^#^V ver1 0 1 2 sum="), std::string::npos);
    EXPECT_NE(read_file("c").find("\n^#^V ver1 0 1 2\n"), std::string::npos);
    EXPECT_NE(read_file("c").find("\n^V ver2 0 2 3 sum="), std::string::npos);
    EXPECT_EQ(tdm("verify c").status, 0);
}

TEST(seal, what_is_damaged_is_found_and_never_built_on) {
    const scratch_folder folder;
    write_file("c", sound_container);
    ASSERT_EQ(tdm("seal c -q").status, 0);
    const std::string sealed = read_file("c");
    spoil("four", "fuor");
    const command_result verified = tdm("verify c");
    EXPECT_EQ(verified.status, 1);
    EXPECT_EQ(verified.err,
              "tdm: c:2: main@4 does not agree with its digest; the damage is in one "
              "of the lines 2, 15, 27\n");
    EXPECT_EQ(verified.out, "c: unsound, 1 complaint, 1 of 6 versions in doubt\n");
    const std::string damaged = read_file("c");
    write_file("text", "a new text\n");
    const struct {
        const char *words, *told;
        int status;
    } rows[] = {
        {"delete c main@2 --yes", "is unsound", 2},
        {"purge c draft@1 --yes", "is unsound", 2},
        {"checkout c", "main@4 does not agree with its digest", 2},
        {"checkout c main@4 -o file", "main@4 does not agree with its digest", 2},
        {"checkin c text", "is damaged; nothing is built on it", 2},
        {"checkin c text --base main@4 --merge --from main@4 --branch b", "nothing is built", 2},
        {"import c text text", "is damaged; nothing is built on it", 2},
        {"branch c new main@4", "is damaged; nothing is built on it", 2},
        {"checkout c main@4 -fo file --damaged", "written all the same", 0},
        {"checkout c main@2 -o file2", "", 0},
        {"seal c", "nothing is sealed: it is damaged", 1},
    };
    for (const auto &row : rows) {
        const command_result result = tdm(row.words);
        EXPECT_EQ(result.status, row.status) << row.words;
        EXPECT_NE(result.err.find(row.told), std::string::npos) << result.err;
        EXPECT_EQ(read_file("c"), damaged) << row.words;
    }
    EXPECT_EQ(read_file("file"), "a\nfuor\n^q\nx\nd\nend");
    EXPECT_EQ(tdm("repair c -o saved").status, 1);
    EXPECT_EQ(tdm("verify saved").out, "saved: sound, 5 versions\n");
    EXPECT_EQ(tdm("delete c main@4 --yes -q").status, 0);
    EXPECT_EQ(tdm("verify c").status, 0);
}

}  // namespace

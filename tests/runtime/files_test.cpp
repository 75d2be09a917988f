#include <cerrno>
#include <cstring>
#include <filesystem>

#include "support.h"

namespace {

struct {
    int error;  // 0: none
    int calls;
} forced_to_disk;

}  // namespace

// In place of the system's: what a call forces to disk cannot be seen otherwise.
int fsync(int /*descriptor*/) {
    forced_to_disk.calls++;
    errno = forced_to_disk.error;
    return forced_to_disk.error == 0 ? 0 : -1;
}

namespace {

namespace fs = std::filesystem;

FILE *make_temporary(char *name, size_t name_size) {
    return futil_tmpfile_binary(nullptr, nullptr, nullptr, name, name_size);
}

TEST(TemporaryFile, is_private_lies_where_tmpdir_says_and_is_not_left_behind_by_a_failure) {
    const std::string before = fs::temp_directory_path();
    std::string pattern = (fs::temp_directory_path() / "runtime_files.XXXXXX").string();
    const std::string folder = mkdtemp(pattern.data());
    setenv("TMPDIR", folder.c_str(), 1);
    char name[1024];
    EXPECT_EQ(make_temporary(name, folder.size() + strlen("/norviktdm.XXXXXX")), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_TRUE(fs::is_empty(folder));

    FILE *stream = make_temporary(name, sizeof name);
    ASSERT_NE(stream, nullptr);
    std::fputs("text\n", stream);
    EXPECT_EQ(sys_fsync_stream(stream), 0);
    struct stat st;
    ASSERT_EQ(futil_stat(name, 1, &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600U);
    EXPECT_EQ(st.st_size, 5);
    EXPECT_EQ(fs::path(name).parent_path(), folder);
    std::fclose(stream);

    fs::remove_all(folder);
    EXPECT_EQ(make_temporary(name, sizeof name), nullptr);
    EXPECT_EQ(errno, ENOENT);
    setenv("TMPDIR", before.c_str(), 1);
}

TEST(Sync, bytes_that_were_lost_before_are_a_failure_every_time) {
    FILE *full = std::fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    std::fputs("lost", full);
    EXPECT_NE(sys_fsync_stream(full), 0);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_NE(sys_fsync_stream(full), 0);
    std::fclose(full);
}

TEST(Sync, what_the_system_says_of_the_disk_is_passed_on) {
    const support::scratch_file file("text");
    for (const auto &[error, result] : {std::pair(EIO, -1), {EINVAL, 0}, {ENOSPC, -1}}) {
        forced_to_disk = {error, 0};
        EXPECT_EQ(sys_fsync_stream(file.stream), result) << error;
        EXPECT_EQ(forced_to_disk.calls, 1) << error;
    }
    forced_to_disk = {};
}

TEST(WhiteSpace, is_left_out_of_account_wherever_it_stands) {
    struct {
        const char *a, *b;
        int sign;
    } const rows[] = {
        {"a = b\n", "a=b", 0},   {"", " \t\r\n\v\f", 0}, {"ab c", "a b d", -1},
        {"ab", "a b c", -1},     {"a ", "a  \xE9", -1},  {"\xE9 b", "e b", 1},
        {"x  y z", " xy  z", 0}, {"one", "one two", -1}, {" \tb", "a", 1},
    };
    const auto sign_of = [](int result) { return (result > 0) - (result < 0); };
    for (const auto &row : rows) {
        EXPECT_EQ(sign_of(str_cmp_ignore_whitespace(row.a, row.b)), row.sign) << row.a;
        EXPECT_EQ(sign_of(str_cmp_ignore_whitespace(row.b, row.a)), -row.sign) << row.a;
    }
}

}  // namespace

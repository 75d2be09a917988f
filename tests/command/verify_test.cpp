// What verify says, and what repair saves.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>

#include "container_reading.h"
#include "exit_status.h"
#include "run_command.h"
#include "sample_container.h"

namespace {

TEST(verify, tells_what_is_no_container_from_a_damaged_one) {
    const scratch_folder folder;
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    write_file("empty", "");
    write_file("text", "text\n");
    write_file("sound", sound_container);
    struct {
        const char *names;
        int status;
        const char *words;
    } const rows[] = {
        {"empty", 2, "empty: is empty"},
        {"pipe", 2, "pipe: is empty"},
        {".", 2, "Is a directory"},
        {"none", 2, "No such file"},
        {"/dev/zero", 2, "neither a regular file nor a pipe"},
        {"pipe pipe", 2, "pipe: is given twice, but can be read only once"},
        {"--digests pipe pipe", 2, "pipe: is given twice"},
        {"--digests . sound", 2, ".: cannot be read: Is a directory"},
        {"--digests /dev/zero sound", 2, "/dev/zero: is neither a regular file nor a pipe"},
        {"text", 1, "no version can be read"},
        {"none text sound", 2, "sound, 6 versions"},
        {"text sound", 1, "text:1: the first line"},
    };
    for (const auto &row : rows) {
        const command_result result = tdm((std::string("verify ") + row.names).c_str());
        EXPECT_EQ(result.status, row.status) << row.words;
        EXPECT_NE((result.out + result.err).find(row.words), std::string::npos) << result.err;
    }
}

TEST(verify, pipe_without_end_is_refused) {
    FILE *const endless = popen("yes", "r");
    auto reading = std::make_unique<norvik::container_reading>();
    const std::string name = "/dev/fd/" + std::to_string(fileno(endless));
    testing::internal::CaptureStderr();
    EXPECT_EQ(norvik::open_to_judge(name, reading.get(), 1 << 20), norvik::status_trouble);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "tdm: " + name + ": cannot be read: File too large\n");
    std::string text;
    const norvik::owned_descriptor nowhere(open("/dev/null", O_WRONLY));
    EXPECT_EQ(norvik::read_to_end(fileno(endless), 0, &text, 1 << 20).value(), EFBIG);
    EXPECT_EQ(norvik::copy_bytes(fileno(endless), nowhere.get(), 1 << 20).value(), EFBIG);
    reading.reset();
    pclose(endless);
}

TEST(verify, finds_what_is_lost_and_repair_keeps_what_hangs_on_it) {
    struct {
        std::string from, to;
        const char *found, *lost, *repaired;
    } const rows[] = {
        {"^S db1 1", "^S db1 0", "c:5: branch draft has number 1", "saved: 6 of 6", "^S db1 1\n"},
        // Draft hangs on main@2.
        {"ver1", "ver2", "c:7: the identifier ver2 stands in line 8 again", "lost: main@2 (line 7",
         "^B draft 1 0 2\n^#^V ver3 0 3 4\n^#^V lost-0-2 0 2 3\n^#^V lost-0-1 0 1 2\n"},
        {"^B draft 1 0 2", "^B draft 1 0 4",
         "c:5: branch draft is made off main@4, which stands above",
         "lost: draft@1 to draft@2, 2 versions (line 5", "^#^V ver3 0 3 4\n^V ver2"},
        {"", "", "", "saved: 6 of 6 versions\n", "^E elem\n"},
        {"2 0 2 3", "2 0 02 3", "c:7: a version record spelled as none is written",
         "lost: main@2 (line 7: a version record spelled as none is written)\nsaved: 5 of 6", ""},
        {"four", std::string("fo\0r", 4), "c:15: a NUL byte", "lost: main@4 (line 15: a NUL", ""},
        {"^N end\n", "^N e", "c:27: the file ends in", "lost: main@4 (line 27: the file ends in",
         ""},
        {"^V ver2 0 2 3\n", "", "c:5: branch draft is made off main@2", "lost: draft@2 (line 3",
         "^S db1 1\n^V ver4 0 4 7\n^#^V ver3 0 3 4\n^#^V lost-0-2 0 2 0\n^V ver1"},
    };
    const scratch_folder folder;
    write_file("c", sound_container);
    write_file("digests", tdm("verify c --json").out);
    for (const auto &row : rows) {
        const std::string damaged = spoiled_container(row.from, row.to);
        write_file("c", damaged);
        EXPECT_NE(tdm("verify c").err.find(row.found), std::string::npos) << row.found;
        const command_result result = tdm("repair c -fo new");
        EXPECT_TRUE(result.out.starts_with(row.lost)) << row.lost;
        EXPECT_EQ(result.status, row.lost[0] == 'l' ? 1 : 0) << row.lost;
        EXPECT_EQ(read_file("c"), damaged);
        EXPECT_EQ(tdm("verify new").status, 0);
        EXPECT_NE(read_file("new").find(row.repaired), std::string::npos) << read_file("new");
    }
    expect_told(shell("$TDM verify new --digests - <digests"), 1, "main@2 is not there any");
    write_file("c", std::string(sound_container) + "stray\n");
    const command_result stray = tdm("repair c -o none");
    expect_told(stray, 1, "draft@1 to draft@2, 2 versions (line 28: 1 line");
    EXPECT_EQ(stray.out, "");
    EXPECT_EQ(tdm("repair c -o none --drop-stray").status, 0);
    EXPECT_EQ(read_file("none"), sound_container);
}

}  // namespace

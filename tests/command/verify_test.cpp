// What verify finds, and what it cannot find.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>

#include "container_check.h"
#include "container_reading.h"
#include "exit_status.h"
#include "run_command.h"
#include "structure.h"
#include "weave_soundness.h"

namespace {

using norvik::container_view;
using norvik::version_id;

// Two branches, a deleted version, a quoted and an unterminated line.
constexpr const char *sound =
    "^S db1 1\n"         // 1
    "^V ver4 0 4 7\n"    // 2
    "^V ver6 1 2 6\n"    // 3
    "^V ver5 1 1 5\n"    // 4
    "^B draft 1 0 2\n"   // 5
    "^#^V ver3 0 3 4\n"  // 6
    "^V ver2 0 2 3\n"    // 7
    "^V ver1 0 1 2\n"    // 8
    "^V ver0 0 0 1\n"    // 9
    "^B main 0 0 0\n"    // 10
    "^E elem\n"          // 11
    "^I 0 1 4\n"         // 12
    "a\n"                // 13
    "^I 0 4 1\n"         // 14
    "four\n"             // 15
    "^D 0 2 1\n"         // 16
    "b\n"                // 17
    "^I 0 2 2\n"         // 18
    "^Q ^q\n"            // 19
    "^I 1 1 1\n"         // 20
    "draft\n"            // 21
    "x\n"                // 22
    "^D 0 3 1\n"         // 23
    "c\n"                // 24
    "d\n"                // 25
    "^I 0 3 1\n"         // 26
    "^N end\n";          // 27

struct damage_row {
    const char *name;
    std::string from;  // what is replaced, at its first place
    std::string to;
    uint64_t line;
    const char *reason;  // a part of it
};

const damage_row damages[] = {
    {"no container", "^S db1 1", "text", 1, "status record"},
    {"format", "db1", "db2", 1, "format that is not known"},
    {"status twice", "^V ver2", "^S db1 1\n^V ver2", 7, "neither a version nor"},
    {"text in the header", "^B main", "text\n^B main", 10, "neither a version nor"},
    {"no element record", "^E elem\n", "", 11, "element record is missing"},
    {"cut header", std::string(sound).substr(40), "", 4, "in the middle of this line"},
    {"unreadable version", "^V ver2 0 2 3", "^V ver2 0 2 z", 7, "cannot be read"},
    {"leading zero", "^V ver2 0 2 3", "^V ver2 0 02 3", 7, "spelled as none is written"},
    {"0x", "^I 0 1 4", "^I 0x0 1 4", 12, "spelled as none is written"},
    {"upper case", "^V ver1 0 1 2", "^V ver1 0 1 A", 8, "spelled as none is written"},
    {"sign", "^D 0 2 1", "^D 0 +2 1", 16, "spelled as none is written"},
    {"two blanks", "^I 0 2 2", "^I 0  2 2", 18, "spelled as none is written"},
    {"long identifier", "elem", std::string(100, 'e'), 11, "more than 99 bytes"},
    {"identifier twice", "ver1", "ver2", 8, "stands in line 7 already"},
    {"version twice", "^V ver2 0 2 3", "^V ver2 0 2 3\n^V again 0 2 3", 8, "a second record"},
    {"version order", "^V ver4 0 4", "^V ver4 0 2", 6, "below a lower one"},
    {"version below its branch", "^V ver5 1 1 5\n^B draft 1 0 2\n",
     "^B draft 1 0 2\n^V ver5 1 1 5\n", 5, "below the record of its branch"},
    {"branch twice", "^B main", "^B other 1 0 1\n^B main", 10, "a second record of branch number"},
    {"branch number", "^S db1 1", "^S db1 0", 5, "above the highest"},
    {"branch point", "^B draft 1 0 2", "^B draft 1 0 9", 5, "which does not exist"},
    {"branch off itself", "^B draft 1 0 2", "^B draft 1 1 1", 5, "not older"},
    {"commented branch", "^B draft", "^#^B draft", 5, "is alive"},
    {"no branch record", "^B draft 1 0 2\n", "", 3, "of a branch without a record"},
    {"no first branch", "^B main 0 0 0\n", "", 10, "record of the first branch is missing"},
    {"no first version", "^V ver0 0 0 1\n", "", 10, "record of the first version is missing"},
    {"empty branch", "^B main", "^B none 1 0 1\n^B main", 10, "a second record"},
    {"unlisted version", "^V ver4 0 4 7\n", "", 13, "header does not list"},
    {"first version with lines", "^I 0 4 1", "^I 0 0 1", 14, "has no lines"},
    {"run too long", "^I 0 3 1", "^I 0 3 2", 26, "1 line before the end of the run"},
    {"run too short", "^I 0 1 4", "^I 0 1 3", 25, "outside every inserted run"},
    {"run of none", "^I 0 3 1", "^I 1 2 0\n^I 0 3 1", 26, "0 lines"},
    {"deletion of none", "^D 0 3 1", "^D 0 3 0", 23, "0 lines"},
    {"deletion too long", "^D 0 3 1", "^D 0 3 7", 23, "only 2 of them follow"},
    {"deletion past the end", "^D 0 3 1\nc\nd\n^I 0 3 1\n^N end\n", "^D 0 3 3\nc\nd\n", 23,
     "only 2 of them follow"},
    {"stray line", "^I 0 3 1", "stray\n^I 0 3 1", 26, "outside every inserted run"},
    {"run in a foreign run", "^I 1 1 1", "^I 0 1 1", 20, "does not descend from"},
    {"deletion in a foreign run", "^D 0 3 1", "^I 1 2 1\n^D 0 3 1\nz", 24, "does not descend from"},
    {"newer line in a deletion", "^D 0 3 1\nc", "^D 0 3 1\n^I 0 4 1\nz\nc", 25, "not newer"},
    {"deletion in a deletion", "^D 0 3 1", "^D 0 3 1\n^D 0 4 1", 24, "that it inherits"},
    {"unknown kind", "^I 1 1 1", "^X 1 1 1", 20, "does not belong into the weave"},
    {"header record in the weave", "x\n", "^V ver9 0 9 9\nx\n", 22, "does not belong"},
    {"marked ^T", "x\n", "^T x\n", 22, "marked ^T"},
    {"needless quote", "^Q ^q", "^Q q", 19, "does not begin with ^"},
    {"quote without blank", "^Q ^q", "^Q^q", 19, "without the blank"},
    {"empty unterminated line", "^N end", "^N ", 27, "without text"},
    {"unterminated in the middle", "x\n", "^N x\n", 22, "not the last one of"},
    {"NUL", "four", std::string("fo\0r", 4), 15, "NUL"},
    {"long line", "four", std::string(8001, 'l'), 15, "more than 8000 bytes"},
    {"long quoted line", "^Q ^q", "^Q ^" + std::string(7998, 'q'), 19, "more than 8000 bytes"},
    {"no newline at the end", "^N end\n", "^N end", 27, "in the middle of this line"},
};

std::string replaced(const damage_row &row) {
    std::string bytes = sound;
    const size_t at = bytes.find(row.from);
    EXPECT_NE(at, std::string::npos);
    return bytes.replace(at, row.from.size(), row.to);
}

std::string complaints_of(const norvik::container_check &check) {
    std::string all;
    for (const norvik::weave_fault &fault : check.faults) {
        all += std::to_string(fault.what.line) + ": " + fault.what.reason + "\n";
    }
    return all;
}

TEST(verify, names_the_line_of_every_kind_of_damage) {
    const scratch_folder folder;
    write_file("c", sound);
    write_file("text", "a\nnew\n");
    EXPECT_EQ(tdm("verify c").out, "c: sound, 6 versions\n");
    for (const damage_row &row : damages) {
        SCOPED_TRACE(row.name);
        write_file("c", replaced(row));
        container_view view;
        ASSERT_EQ(norvik::open_container(std::string("c"), &view), 0);
        const norvik::container_check check = norvik::check_container(view, false, {});
        const bool told = std::any_of(
            check.faults.begin(), check.faults.end(), [&](const norvik::weave_fault &fault) {
                return fault.what.line == row.line &&
                       fault.what.reason.find(row.reason) != std::string::npos;
            });
        EXPECT_TRUE(told) << complaints_of(check);
        EXPECT_TRUE(norvik::scan_structure(view).has_value());
        EXPECT_EQ(tdm("checkout c main").status, 2);
        EXPECT_EQ(tdm("checkin c text --dry-run").status, 2);
        EXPECT_EQ(tdm("delete c main@4 --dry-run").status, 2);
    }
}

TEST(verify, tells_what_is_no_container_from_a_damaged_one) {
    const scratch_folder folder;
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    write_file("empty", "");
    write_file("text", "text\n");
    write_file("sound", sound);
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
        {"--digests . sound", 2, ".: cannot be read: Is a directory"},
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
    write_file("c", sound);
    write_file("digests", tdm("verify c --json").out);
    for (const auto &row : rows) {
        const std::string damaged = replaced({"", row.from, row.to, 0, ""});
        write_file("c", damaged);
        EXPECT_NE(tdm("verify c").err.find(row.found), std::string::npos) << row.found;
        const command_result result = tdm("repair c -fo new");
        EXPECT_TRUE(result.out.starts_with(row.lost)) << row.lost;
        EXPECT_EQ(result.status, row.lost[0] == 'l' ? 1 : 0) << row.lost;
        EXPECT_EQ(read_file("c"), damaged);
        EXPECT_EQ(tdm("verify new").status, 0);
        EXPECT_NE(read_file("new").find(row.repaired), std::string::npos) << read_file("new");
    }
    EXPECT_NE(shell("$TDM verify new --digests - <digests").err.find("main@2 is not there any"),
              std::string::npos);
    write_file("c", std::string(sound) + "stray\n");
    const command_result stray = tdm("repair c -o none");
    EXPECT_EQ(stray.status, 1);
    EXPECT_EQ(stray.out, "");
    EXPECT_NE(stray.err.find("draft@1 to draft@2, 2 versions (line 28: 1 line"), std::string::npos);
    EXPECT_EQ(tdm("repair c -o none --drop-stray").status, 0);
    EXPECT_EQ(read_file("none"), sound);
}

}  // namespace

// What is found wrong with a container, and what a proof sees.
#include "container_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "sample_container.h"
#include "structure.h"
#include "survivor_proof.h"

namespace {

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
    {"cut header", std::string(sound_container).substr(40), "", 4, "in the middle of this line"},
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

std::string complaints_of(const norvik::container_check &check) {
    std::string all;
    for (const norvik::weave_fault &fault : check.faults) {
        all += std::to_string(fault.what.line) + ": " + fault.what.reason + "\n";
    }
    return all;
}

TEST(container_check, names_the_line_of_every_kind_of_damage) {
    EXPECT_FALSE(norvik::scan_structure(opened(sound_container)));
    for (const damage_row &row : damages) {
        SCOPED_TRACE(row.name);
        const norvik::container_view view = opened(spoiled_container(row.from, row.to));
        const norvik::container_check check =
            norvik::check_container(view, norvik::fingerprints::none, {});
        const bool told = std::any_of(
            check.faults.begin(), check.faults.end(), [&](const norvik::weave_fault &fault) {
                return fault.what.line == row.line &&
                       fault.what.reason.find(row.reason) != std::string::npos;
            });
        EXPECT_TRUE(told) << complaints_of(check);
        EXPECT_TRUE(norvik::scan_structure(view).has_value());
    }
}

TEST(survivor_proof, sees_a_text_or_an_owner_that_is_not_the_same) {
    const std::string header =
        "^S db1 0\n^V v3 0 3 3\n^V v2 0 2 2\n^V v1 0 1 1\n^V v0 0 0 0\n"
        "^B main 0 0 0\n^E e\n";
    const std::string weave = "^I 0 1 2\na\nb\n^I 0 2 1\nc\n";
    const std::pair<const char *, std::string> rows[] = {
        {"a changed byte", header + "^I 0 1 2\na\nB\n^I 0 2 1\nc\n"},
        {"a lost line", header + "^I 0 1 1\na\n^I 0 2 1\nc\n"},
        {"another order", header + "^I 0 1 2\nb\na\n^I 0 2 1\nc\n"},
        {"another owner", header + "^I 0 1 2\na\nb\n^I 0 3 1\nc\n"},
        {"a hidden line", header + "^I 0 1 2\n^D 0 3 1\na\nb\n^I 0 2 1\nc\n"},
        {"a lost version", std::regex_replace(header, std::regex("\\^V v3.*\n"), "") + weave},
        {"another time", std::regex_replace(header, std::regex("0 3 3"), "0 3 4") + weave},
        {"another element", std::regex_replace(header, std::regex("E e"), "E f") + weave},
    };
    const norvik::container_view before = opened(header + weave);
    const auto all = [](const norvik::version_record &) { return true; };
    for (const auto &[name, bytes] : rows) {
        const norvik::container_view after = opened(bytes);
        EXPECT_TRUE(norvik::check_container(after, norvik::fingerprints::none, {}).faults.empty())
            << name;
        EXPECT_FALSE(norvik::compare_survivors(before, after, all)) << name;
    }
    EXPECT_TRUE(norvik::compare_survivors(before, before, all));
    // Only the owner tells: w3 reads the same, whoever brought the last line.
    const std::string line =
        "^S db1 1\n^V w3 1 3 3\n^#^V w2 1 2 3\n^B draft 1 0 2\n^#^V v2 0 2 2\n^V v1 0 1 1\n"
        "^V v0 0 0 0\n^B main 0 0 0\n^E e\n^I 0 1 2\na\nb\n^I ";
    const auto alive = [](const norvik::version_record &version) { return !version.deleted; };
    const norvik::container_view owned = opened(line + "1 2 1\nc\n");
    for (const std::string owner : {"1 2", "0 2", "1 3"}) {
        EXPECT_EQ(static_cast<bool>(
                      norvik::compare_survivors(owned, opened(line + owner + " 1\nc\n"), alive)),
                  owner == "1 2");
    }
}

}  // namespace

// Digests, against a computation of their own, and what tells of damage through them.
#include "version_sum.h"

#include <gtest/gtest.h>

#include "container_check.h"
#include "files.h"
#include "random_history.h"
#include "sample_container.h"

namespace {

using norvik::container_view;
using norvik::fingerprints;

uint64_t value(std::string_view bytes, uint64_t base) {
    __extension__ using wide = unsigned __int128;
    wide sum = 0;
    for (const char byte : bytes) {
        sum = (sum * base + static_cast<unsigned char>(byte)) % ((uint64_t{1} << 61) - 1);
    }
    return static_cast<uint64_t>(sum);
}

// The third container that docs/format.md shows.
std::string documented_container() {
    const std::string document = read_file(TDM_SOURCE_DIR "/docs/format.md");
    const std::string fence = "\n```container\n";
    const size_t begin = document.rfind(fence) + fence.size();
    return document.substr(begin, document.find("```", begin) - begin);
}

std::vector<norvik::weave_fault> faults_of(const std::string &bytes) {
    const container_view view = opened(bytes);
    return norvik::check_container(view, norvik::fingerprints_to_check(view), {}).faults;
}

TEST(version_sum, is_as_documented) {
    EXPECT_EQ(norvik::add_text(0, "a"), 0x61U);
    EXPECT_EQ(norvik::add_text(0x61, "b"), 0x0fd06dd22f7e98a1U);
    EXPECT_EQ(norvik::add_text(0, "apple\nbanana\n^cherry\n"), 0x18f59018f3743377U);
    std::string text;
    for (int i = 0; i < 300; i++) {
        EXPECT_EQ(norvik::add_text(0, text), value(text, 0x149ddc2f08683ba1));
        EXPECT_EQ(
            norvik::add_text(5, text),
            norvik::multiply_add(5, norvik::text_factor(text.size()), norvik::add_text(0, text)));
        text += static_cast<char>(255 - i % 7);
    }
    const container_view view = opened(documented_container());
    EXPECT_TRUE(faults_of(documented_container()).empty());
    EXPECT_EQ(norvik::count_without_sum(view), 0U);
    norvik::record_sums sums(view);
    EXPECT_EQ(sums.of(*norvik::find_version(view, {0, 1}), 0),
              value("fruit\nmain 0 0 0\n^V m1 0 1 65000010", 0x1f189dbade79a620));
    for (const norvik::version_record &version : view.versions) {
        const norvik::branch_record &branch = *norvik::find_branch(view, version.id.branch);
        const std::string text_read = host_tests::text_of_version(view, version.id);
        const auto line =
            norvik::noted_line(view.element_oid, branch, version, norvik::add_text(0, text_read),
                               norvik::decode_notes(version.notes));
        ASSERT_TRUE(line);
        EXPECT_NE(view.bytes.view().find("\n" + *line), std::string::npos) << *line;
    }
    const norvik::version_notes longest{{{"msg", std::string(8000, ' ')}}};
    const auto refused = norvik::noted_line("e", view.branches[0], view.versions[0], 0, longest);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.failure().reason,
              "the notes have 24005 bytes as they are stored; there is room for 7959");
}

TEST(version_sum, tells_which_lines_are_damaged) {
    const struct {
        const char *from, *to, *told;
    } damages[] = {
        {"bread", "broad",
         "2: draft@1 does not agree with its digest; the damage is in one of the lines 2, 15"},
        {"blueberry", "bluebarry",
         "5: main@2 does not agree with its digest; the damage is in one of the lines 5, 17, 20"},
        {"apple", "appla",
         "11: main@1 and 3 more do not agree with their digests; the damage is in one of the lines "
         "11, 18"},
        {"banana", "banama",
         "13: main@1 and 2 more do not agree with their digests; the damage is in this line"},
        {"65000040", "65000041",
         "2: draft@1 does not agree with its digest; the damage is in one of the lines 2, 15"},
        {"Yellow", "Jellow",
         "5: main@2 does not agree with its digest; the damage is in one of the lines 5, 17, 20"},
        {"by=Ann\n", "by=Anm\n", "4: the record of branch draft does not agree with its digest"},
        {"^B draft 1 0 1", "^B drift 1 0 1",
         "4: drift@0 and 1 more do not agree with their digests; the damage is in this "
         "line|4: the record of branch drift does not agree with its digest"},
    };
    for (const auto &row : damages) {
        std::string bytes = documented_container();
        bytes.replace(bytes.find(row.from), std::string_view(row.from).size(), row.to);
        std::string told;
        for (const norvik::weave_fault &fault : faults_of(bytes)) {
            EXPECT_TRUE(fault.is_sum);
            told += (told.empty() ? "" : "|") + std::to_string(fault.what.line) + ": " +
                    fault.what.reason;
        }
        EXPECT_EQ(told, row.told);
    }
}

}  // namespace

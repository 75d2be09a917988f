// Notes as they are written and read, and what keeps them when a header is written again.
#include "version_notes.h"

#include <gtest/gtest.h>
#include <norviktdm/tdm.h>

#include "files.h"
#include "record_line.h"
#include "record_text.h"
#include "sample_container.h"
#include "structure.h"

namespace {

using norvik::version_notes;

const std::string sum = "sum=0123456789abcdef";

TEST(version_notes, have_one_spelling) {
    const struct {
        std::string value, written;
    } values[] = {
        {"", ""},
        {"Ann Lee <a@b>", "Ann%20Lee%20<a@b>"},
        {std::string("\0\n%\x7f", 4), "%00%0a%25%7f"},
        {"caf\xc3\xa9 \xe2\x82\xac\xf0\x9f\x98\x80", "caf\xc3\xa9%20\xe2\x82\xac\xf0\x9f\x98\x80"},
        {"\xc3 \x80\xc0\xaf\xed\xa0\x80\xf4\x90\x80\x80", "%c3%20%80%c0%af%ed%a0%80%f4%90%80%80"},
        {"\xe2\x82", "%e2%82"},
    };
    for (const auto &[value, written] : values) {
        const version_notes notes{{{"x.y-1", "first"}, {"msg", value}, {"tag", "b"}, {"tag", "a"}}};
        const std::string words = sum + norvik::encode_notes(notes);
        EXPECT_EQ(words, sum + " msg=" + written + " tag=b tag=a x.y-1=first");
        uint64_t taken = 0;
        EXPECT_TRUE(norvik::take_notes(words, &taken)) << words;
        EXPECT_EQ(taken, 0x0123456789abcdefU);
        const version_notes decoded = norvik::decode_notes(words);
        const std::string *const read = decoded.find("msg");
        ASSERT_NE(read, nullptr);
        EXPECT_EQ(*read, value);
    }
    for (const std::string refused : {"",
                                      "by=x",
                                      "sum=",
                                      "sum=0123456789abcde",
                                      "sum=0123456789ABCDEF",
                                      "sum=1fffffffffffffff",
                                      "sum=0123456789abcdef ",
                                      "sum=0123456789abcdef  by=x",
                                      "sum=0123456789abcdef by",
                                      "sum=0123456789abcdef By=x",
                                      "sum=0123456789abcdef =x",
                                      "sum=0123456789abcdef 1=x",
                                      "sum=0123456789abcdef by=%4",
                                      "sum=0123456789abcdef by=%41",
                                      "sum=0123456789abcdef by=%0A",
                                      "sum=0123456789abcdef by=\x80",
                                      "sum=0123456789abcdef by=%c3%a9",
                                      "sum=0123456789abcdef by=a by=b",
                                      "sum=0123456789abcdef z=1 y=2 z=3",
                                      "sum=0123456789abcdef sum=0123456789abcdef"}) {
        uint64_t taken = 0;
        EXPECT_FALSE(norvik::take_notes(refused, &taken)) << refused;
    }
}

TEST(version_notes, are_damage_in_any_other_form) {
    const struct {
        const char *from, *to;
        bool sound, torn;
    } rows[] = {
        {"ver4 0 4 7", "ver4 0 4 7 sum=0123456789abcdef by=A%20B", true, false},
        {"draft 1 0 2", "draft 1 0 2 sum=0123456789abcdef", true, false},
        {"ver3 0 3 4", "ver3 0 3 4 sum=0123456789abcdef msg=x", true, false},
        {"ver4 0 4 7", "ver4 0 4 7 by=A%20B", false, true},
        {"ver4 0 4 7", "ver4 0 4 7 sum=0123456789abcdef by=%41", false, false},
        {"ver4 0 4 7", "ver4 0 4 7 sum=0123456789abcdef^V verX 0 6 7", false, true},
        {"^E elem", "^E elem sum=0123456789abcdef", false, true},
        {"^I 0 1 4", "^I 0 1 4 sum=0123456789abcdef", false, false},
    };
    for (const auto &row : rows) {
        const auto view = opened(spoiled_container(row.from, row.to));
        EXPECT_EQ(!norvik::scan_structure(view), row.sound) << row.to;
        EXPECT_EQ(view.torn_header, row.torn) << row.to;
    }
}

// The library's deletion comments a record with notes out; one byte more and nobody can read it.
TEST(version_notes, longest_record_can_be_commented_out_and_read) {
    const scratch_folder folder;
    for (const size_t size : {norvik::longest_noted_record, norvik::longest_noted_record + 1}) {
        const bool fits = size == norvik::longest_noted_record;
        const std::string record = "^V ver2 0 2 3 " + sum + " msg=";
        const std::string noted = record + std::string(size - record.size(), 'm');
        write_file("c", spoiled_container("^V ver2 0 2 3", noted));
        EXPECT_EQ(!norvik::scan_structure(opened(read_file("c"))), fits);
        const char *const gone[] = {"ver2"};
        ASSERT_EQ(tdm_delete_versions_and_branches("c", "d", 1, gone, 0, nullptr), 0);
        EXPECT_NE(read_file("d").find("\n^#" + noted + "\n"), std::string::npos);
        const auto view = opened(read_file("d"));
        EXPECT_EQ(!norvik::scan_structure(view), fits);
        EXPECT_EQ(tdm_construct_ver("d", "text", "ver4", 0) == 0, fits);
        const norvik::version_record *const record_read = norvik::find_version(view, {0, 2});
        EXPECT_EQ(record_read != nullptr && record_read->notes.size() > 7900, fits);
    }
}

}  // namespace

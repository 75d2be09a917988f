#include "faulty_services.h"
#include "session_support.h"

namespace {

using test::letters;

std::string repeat(size_t n, char c = 'x') {
    return std::string(n, c);
}

class head_tail : public test::session_test {};

TEST_F(head_tail, ends_on_line_boundaries_in_every_file) {
    const std::string filler = repeat(500, 'f') + "\n";
    const auto long_line = [&filler](size_t length, const char *own) {
        return own + filler + repeat(length) + "\nend\n";
    };
    const struct {
        const char *name;
        test::texts files;
        uint64_t head_lines, head_bytes, tail_lines, tail_bytes;
    } rows[] = {
        {"one file goes on", {"a\nb\n", "a\nb\nc\n"}, 2, 4, 0, 0},
        {"a newline more", {"a\nb", "a\nb\n"}, 1, 2, 0, 0},
        {"an empty file", {"", "a\n"}, 0, 0, 0, 0},
        {"512 bytes left", {repeat(510) + "\na\n", repeat(600) + "\na\n"}, 0, 0, 1, 2},
        {"the margin itself", {repeat(509) + "\na\n", repeat(600) + "\na\n"}, 0, 0, 0, 0},
        {"under the buffer", {long_line(4093, "1\n"), long_line(4093, "2\n2\n")}, 0, 0, 2, 4098},
        {"filling it", {long_line(4094, "1\n"), long_line(4094, "2\n2\n")}, 0, 0, 2, 4099},
        {"too long for it", {long_line(4095, "1\n"), long_line(4095, "2\n2\n")}, 0, 0, 2, 4100},
        {"three pieces, one of a byte",
         {long_line(8000, "1\n"), long_line(8000, "2\n2\n"), long_line(8000, "")},
         0,
         0,
         2,
         8005},
        {"different in the piece read last",
         {filler + "1" + repeat(5000) + "\nend\n", filler + "2" + repeat(5000) + "\nend\n"},
         1,
         501,
         1,
         4},
        {"a long last line", {"1\n" + filler + repeat(5000), filler + repeat(5000)}, 0, 0, 1, 5000},
    };
    for (const auto &row : rows) {
        test::session all(write_all(row.files));
        ASSERT_EQ(all.compare(), 0) << row.name;
        EXPECT_EQ(all.identical, 0) << row.name;
        EXPECT_EQ(all.s->head.line_count, row.head_lines) << row.name;
        EXPECT_EQ(all.s->tail.line_count, row.tail_lines) << row.name;
        for (size_t k = 0; k < row.files.size(); ++k) {
            EXPECT_EQ(all.s->head.bytes[k], row.head_bytes) << row.name << ", file " << k;
            EXPECT_EQ(all.s->tail.bytes[k], row.tail_bytes) << row.name << ", file " << k;
        }
    }
}

TEST_F(head_tail, ends_all_files_together_only_when_they_are_identical) {
    for (const std::string &text : {std::string(), letters("ab"), std::string("a\nb")}) {
        test::session all(write_all({text, text, text}));
        ASSERT_EQ(all.compare(), 0);
        EXPECT_EQ(all.identical, 1);
        EXPECT_EQ(all.s->head.bytes[2], text.size());
        EXPECT_EQ(all.s->base_map[1], nullptr);
        uint32_t end = 0;
        diff_block block{};
        EXPECT_EQ(tdm_get_next_diff(all.s, &end, &block), 0);
        EXPECT_EQ(end, 1U);
    }
}

TEST_F(head_tail, disregards_blanks_when_told) {
    const std::string filler = repeat(600, 'f') + "\n";
    const auto with = [&filler](const char *own, const char *line) {
        return std::string(own) + filler + line;
    };
    test::session all(write_all({with("1\n", "a=b\n"), with("2\n", "a = b \n")}));
    tdm_set_ignore_blanks(all.s);
    ASSERT_EQ(all.compare(), 0);
    EXPECT_EQ(all.s->tail.line_count, 2U);
    EXPECT_EQ(all.s->tail.bytes[0], 605U);
    EXPECT_EQ(all.s->tail.bytes[1], 608U);
}

TEST_F(head_tail, counts_no_line_twice_of_a_file_cut_meanwhile) {
    const std::string lines = joined(std::vector<std::string>(1000, "f\n"));
    const auto paths = write_all({"1\n" + lines, "2\n" + lines});
    test::session all(paths);
    std::filesystem::resize_file(paths[1], 1962);
    ASSERT_EQ(all.compare(), 0);
    EXPECT_EQ(all.s->file_line_count[1] + all.s->tail.line_count, 981U);
}

TEST_F(head_tail, leaves_what_is_not_text_to_the_line_reader) {
    const std::string filler = repeat(700, 'f') + "\n";
    const struct {
        const char *name;
        std::string line, reported;
    } rows[] = {
        {"NUL inside a line", std::string("ab\0cd\n", 6), "contains a '\\000'"},
        {"NUL at a line's start", std::string("\0ab\n", 4), "contains a '\\000'"},
        {"NUL at the end of file", std::string("ab\0", 3), "contains a '\\000'"},
        {"NUL in a long line", repeat(4500) + std::string("\0", 1) + repeat(100) + "\n",
         "contains a '\\000'"},
        {"longer than a line may be", repeat(8001) + "\n", "a line exceeding 8000 bytes"},
        {"longer, without a newline", repeat(8001), "a line exceeding 8000 bytes"},
    };
    for (const auto &row : rows) {
        test::session all(write_all({"1\n" + filler + row.line, "2\n" + filler + row.line}));
        const std::string told = test::messages_of([&] { EXPECT_EQ(all.compare(), 1); });
        EXPECT_NE(told.find(row.reported), std::string::npos) << row.name << ": " << told;
        uint32_t end = 0;
        diff_block block{};
        EXPECT_EQ(tdm_get_next_diff(all.s, &end, &block), 1) << row.name;
    }
}

}  // namespace

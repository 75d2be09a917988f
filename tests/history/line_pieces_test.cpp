// Where long lines are cut, and which rows of pieces are right.
#include "line_pieces.h"

#include <gtest/gtest.h>

#include <numeric>

#include "sample_container.h"
#include "stored_line.h"
#include "structure.h"

namespace {

std::vector<size_t> piece_sizes(const std::string &text) {
    const norvik::stored_text stored = norvik::split_stored(text);
    if (!stored.lines) {
        return {text.size()};
    }
    std::vector<size_t> sizes(stored.lines->starts);
    std::adjacent_difference(sizes.begin(), sizes.end(), sizes.begin());
    sizes.erase(sizes.begin());
    return sizes;
}

// As docs/format.md gives them.
TEST(line_pieces, are_cut_where_the_format_says) {
    std::string numbers = "1";
    for (int i = 2; i <= 3000; i++) {
        numbers += "," + std::to_string(i);
    }
    const std::vector<size_t> sizes = {262, 1594, 320, 320, 320, 606, 320, 278, 695, 533,
                                       400, 400,  305, 400, 400, 400, 400, 642, 653, 400,
                                       400, 305,  400, 400, 400, 400, 642, 1243};
    std::vector<size_t> with_end = sizes;
    with_end.push_back(54);
    EXPECT_EQ(piece_sizes(numbers), with_end);
    with_end.back()++;
    EXPECT_EQ(piece_sizes(numbers + "\n"), with_end);
    const struct {
        std::string text;
        std::vector<size_t> sizes;
    } rows[] = {
        {std::string(8000, 'x') + "\n", {8001}},
        {std::string(8001, 'x') + "\n", {7990, 12}},
        {std::string(15980, 'x'), {7990, 7990}},
        {std::string(15980, 'x') + "\n", {7990, 7991}},
        {"^" + std::string(7999, 'x') + "\n", {8001}},
        {"^" + std::string(8000, 'x') + "\n", {7990, 12}},
        {"^" + std::string(7999, 'x'), {8000}},
        {"a\n" + std::string(8001, 'x') + "\nb", {2, 7990, 12, 1}},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(piece_sizes(row.text), row.sizes) << row.text.size();
    }
}

TEST(line_pieces, a_row_is_sound_when_no_reader_takes_its_line) {
    const std::string open = "^N " + std::string(7000, 'o') + "\n";
    const auto x = [](size_t size) { return std::string(size, 'x') + "\n"; };
    const std::string quoted = "^N ^" + std::string(6999, 'o') + "\n";
    const struct {
        int lines;
        std::string bytes;
        bool sound;
    } rows[] = {
        {2, open + x(1001), true},      {2, open + x(1000), false},
        {2, quoted + x(1001), true},    {2, quoted + x(1000), false},
        {2, open + "^N x\n", false},    {2, open + "^N " + x(1001), true},
        {2, open + x(0), false},        {2, open + open, true},
        {3, open + open + "a\n", true}, {3, open + "x\n" + open, false},
        {2, x(10) + open, true},        {4, open + open + x(1) + open, true},
    };
    for (const auto &row : rows) {
        const std::string head = "^S db1 0\n^V v1 0 1 2\n^V v0 0 0 1\n^B main 0 0 0\n^E e\n^I 0 1 ";
        const auto view = opened(head + std::to_string(row.lines) + "\n" + row.bytes);
        EXPECT_EQ(!norvik::scan_structure(view), row.sound) << &row - rows;
    }
}

}  // namespace

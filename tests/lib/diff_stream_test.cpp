#include <array>

#include "session_support.h"

namespace {

class diff_stream : public test::session_test {
protected:
    static bool next(tdm_session *s, diff_block *b) {
        uint32_t end = 0;
        EXPECT_EQ(tdm_get_next_diff(s, &end, b), 0);
        return end == 0;
    }
};

/// Lines first..last, each its number.
std::string numbers(int first, int last) {
    std::string text;
    for (int i = first; i <= last; ++i) {
        text += std::to_string(i) + "\n";
    }
    return text;
}

TEST_F(diff_stream, remembers_a_moved_insertion_when_it_is_given_up) {
    // File 1 inserts at the top, file 2 moves a line there.
    test::session all(write_all({numbers(1, 9), "new\n" + numbers(1, 9), "9\n" + numbers(1, 8)}));
    ASSERT_EQ(all.compare(), 0);
    uint64_t head = 0;
    uint64_t tail = 0;
    diff_block b{};
    ASSERT_EQ(tdm_init_diff_stream(all.s, &head, &tail), 0);
    ASSERT_TRUE(next(all.s, &b));
    EXPECT_EQ(b.kind, 2U);
    ASSERT_TRUE(next(all.s, &b));
    EXPECT_EQ(b.kind, 4U);
    ASSERT_EQ(tdm_init_diff_stream(all.s, &head, &tail), 0);
    ASSERT_TRUE(next(all.s, &b));
    EXPECT_EQ(b.kind, 4U);
}

/// Numbers by a rule that is written down here: the golden file's inputs are made by it.
struct fixed_random {
    uint64_t x;
    size_t below(size_t n) {
        x = x * 6364136223846793005U + 1442695040888963407U;
        return (x >> 33) % n;
    }
};

/// The set of a seed: lines of few or many kinds, lines changed, moved and doubled over short and
/// long distances, in every fifth set also blanks that are to be ignored.
test::texts files_of_set(unsigned seed) {
    fixed_random r{seed * 0x9E3779B97F4A7C15U + 1};
    const size_t kinds = std::to_array<size_t>({3, 8, 30, 1000})[seed % 4];
    const std::string fill(r.below(14), '.');
    const auto some_lines = [&](size_t count) {
        std::vector<std::string> lines(count);
        for (std::string &line : lines) {
            line = fill + std::to_string(r.below(kinds)) + "\n";
        }
        return lines;
    };
    const std::vector<std::string> base = some_lines(r.below(130));
    test::texts files = {joined(base)};
    for (size_t others = 1 + r.below(3); others > 0; --others) {
        std::vector<std::string> lines = base;
        for (size_t edits = r.below(6); edits > 0; --edits) {
            const size_t at = r.below(lines.size() + 1);
            const size_t most = std::to_array<size_t>({4, 12, 60})[r.below(3)];
            const size_t count = std::min(r.below(most), lines.size() - at);
            const size_t what = r.below(5);
            const auto first = lines.begin() + static_cast<long>(at);
            std::vector<std::string> put(first, first + static_cast<long>(count));
            size_t to = at;
            if (what != 0) {
                lines.erase(first, first + static_cast<long>(count));
            }
            if (what == 4) {
                continue;
            }
            if (what == 1 || what == 2) {
                put = some_lines(r.below(what == 1 ? 10 : 60));
            } else {
                to = r.below(lines.size() + 1);
            }
            lines.insert(lines.begin() + static_cast<long>(to), put.begin(), put.end());
        }
        for (std::string &line : lines) {
            const size_t blank = seed % 5 == 0 ? r.below(8) : 9;
            if (blank < 3) {
                const size_t places[] = {0, line.size() - 1, 1};
                line.insert(places[blank], blank == 2 ? 2 : 1, ' ');
            }
        }
        const bool open_end = !lines.empty() && r.below(6) == 0;
        files.push_back(joined(lines));
        files.back().resize(files.back().size() - (open_end ? 1 : 0));
    }
    return files;
}

/// The whole stream in a line: common lines, and a word a block: "ucidID" for the kinds, file, base
/// lines, other lines, moved lines.
std::string blocks(tdm_session *s) {
    const auto range = [](int32_t first, int32_t last) {
        return std::to_string(first) + (first == last ? "" : "-" + std::to_string(last));
    };
    uint64_t head = 0;
    uint64_t tail = 0;
    EXPECT_EQ(tdm_init_diff_stream(s, &head, &tail), 0);
    std::string line = std::to_string(head) + "-" + std::to_string(tail);
    uint32_t end = 0;
    for (diff_block b{}; tdm_get_next_diff(s, &end, &b) == 0 && end == 0;) {
        line += std::string(" ") + "ucidID"[b.kind] + std::to_string(b.file_index) + ":" +
                range(b.base_first, b.base_last) + "," + range(b.other_first, b.other_last) +
                (b.kind > 3 ? "," + range(b.moved_first, b.moved_last) : "");
    }
    return line;
}

// The distances and counts by which lines are paired and moved text is told are fixed. A slow model
// agreed with every line of the file, and with thousands more.
TEST_F(diff_stream, gives_the_blocks_written_down) {
    const std::string golden = TDM_SOURCE_DIR "/tests/golden/blocks.txt";
    std::string all_found;
    for (const std::string &wanted : split_lines(read(golden))) {
        const auto seed = static_cast<unsigned>(std::stoul(wanted));
        const test::texts files = files_of_set(seed);
        test::session all(write_all(files));
        if (seed % 5 == 0) {
            tdm_set_ignore_blanks(all.s);
        }
        ASSERT_EQ(all.compare(), 0);
        uint32_t same = 9;
        EXPECT_EQ(tdm_is_same_as_base(all.s, 1, &same), 0);
        EXPECT_TRUE(seed % 5 == 0 || (same == 1) == (files[1] == files[0])) << seed;
        const std::string found =
            std::to_string(seed) + " " + (all.identical != 0 ? "identical" : blocks(all.s)) + "\n";
        all_found += found;
        EXPECT_EQ(found, wanted);
    }
    EXPECT_GT(all_found.size(), 10000U);
    if (std::getenv("TDM_UPDATE_GOLDEN") != nullptr) {
        write_file(golden, all_found);
    }
}

// One side goes by far and near, though the runs that are counted speak for the other.
TEST_F(diff_stream, tells_far_text_from_near_text) {
    const struct {
        int base_distance, file_distance;
        uint32_t first_kind;
    } rows[] = {{48, 24, 4}, {47, 24, 5}, {48, 25, 5}, {24, 48, 5}, {24, 47, 4}, {25, 48, 4}};
    for (const auto &[base, file, first_kind] : rows) {
        const bool base_far = base > file;
        const std::string own = numbers(101, 99 + (base_far ? base : file));
        const std::string common = numbers(201, 199 + (base_far ? file : base));
        test::session all(write_all(
            base_far ? test::texts{"a\n" + own + "x\n-\n" + common, "x\n" + common + "a\n"}
                     : test::texts{"a\n" + common + "x\n", "x\n" + own + "a\n-\n" + common}));
        ASSERT_EQ(all.compare(), 0);
        uint64_t head = 0;
        uint64_t tail = 0;
        ASSERT_EQ(tdm_init_diff_stream(all.s, &head, &tail), 0);
        diff_block b{};
        ASSERT_TRUE(next(all.s, &b));
        EXPECT_EQ(b.kind, first_kind) << base << " " << file;
    }
}

TEST_F(diff_stream, has_no_bytes_for_a_file_that_is_not_there) {
    test::session all(write_all({"a\nb\n", "a\nc\n"}));
    ASSERT_EQ(all.compare(), 0);
    uint64_t head = 7;
    uint64_t tail = 7;
    EXPECT_EQ(tdm_get_unchanged_bytes(all.s, 2, &head, &tail), 1);
    EXPECT_EQ(head + tail, 14U);
    EXPECT_EQ(tdm_get_unchanged_bytes(all.s, 1, &head, &tail), 0);
    EXPECT_EQ(head, 2U);
    EXPECT_EQ(tail, 0U);
}

}  // namespace

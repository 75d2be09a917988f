#include "session_support.h"
#include "tdm_session/line_hash.h"

namespace {

TEST(line_hash, gives_the_documented_values) {
    EXPECT_EQ(tdm::exact_line_hash("a\n"), 0x30EBU);
    EXPECT_EQ(tdm::exact_line_hash("\n"), 0xAU);
    EXPECT_EQ(tdm::exact_line_hash(""), 0U);
    EXPECT_EQ(tdm::exact_line_hash("a b"), 0x18B1E3U);
    EXPECT_EQ(tdm::blank_line_hash("a\n"), 0x61U);
    EXPECT_EQ(tdm::blank_line_hash("\n"), 0U);
    EXPECT_EQ(tdm::blank_line_hash(" \t \n"), 0U);
    EXPECT_EQ(tdm::blank_line_hash("  a \t b  \n"), 0x18B1E3U);
    EXPECT_EQ(tdm::exact_line_hash("c\xA0\n"), tdm::exact_line_hash("b!\n"));
}

TEST(line_hash, takes_words_of_any_bytes_as_single_bytes) {
    for (const unsigned seed : seeds(2000)) {
        std::mt19937 random(seed);
        std::string line(random() % 40, '\0');
        const unsigned bits = random() % 3 == 0 ? 0xFF : 0x7F;
        uint64_t h = 0;
        for (char &c : line) {
            c = static_cast<char>(random() & bits);
            h = h + ((h << 7) ^ static_cast<unsigned char>(c));
        }
        ASSERT_EQ(tdm::exact_line_hash(line), h);
    }
}

class match : public test::session_test {
protected:
    static std::string text_of(const int32_t *map, uint64_t count) {
        std::string text;
        for (uint64_t i = 0; i < count; ++i) {
            text += (i == 0 ? "" : " ") + std::to_string(map[i]);
        }
        return text;
    }

    /// Both maps of the middles of two texts. A third file keeps them whole, as it shares no line.
    std::pair<std::string, std::string> maps(const std::string &base, const std::string &other) {
        test::session all(write_all({base, other, "?\n"}));
        EXPECT_EQ(all.compare(), 0);
        const tdm_session *const s = all.s;
        return {text_of(s->base_map[1], s->base_line_count),
                text_of(s->file_map[1], s->file_line_count[1])};
    }
};

TEST_F(match, pairs_the_documented_lines) {
    const struct {
        const char *name;
        std::string base, other, base_map, file_map;
    } rows[] = {
        {"pairs cross", "xab", "abx", "2 0 1", "1 2 0"},
        {"one and two are not unique, but grow", "qa", "aqa", "1 2", "-2 0 1"},
        {"grown backwards from a pair", "xau", "yaau", "-1 2 3", "-1 -2 1 2"},
        {"absent lines have no pair", "ab", "cac", "1 -1", "-1 0 -1"},
        {"the run check sees equal past both ends", "aba", "aa", "0 -1 1", "0 2"},
        {"a paired candidate ends the search", "aa", "aba", "0 -2", "0 -1 -2"},
        {"the line behind a failed search is skipped", "ab", "bxaxxba", "-2 -2",
         "-2 -1 -2 -1 -1 -2 -2"},
        {"an empty middle", "", "ab", "", "-1 -1"},
    };
    for (const auto &row : rows) {
        const auto found = maps(test::letters(row.base), test::letters(row.other));
        EXPECT_EQ(found.first, row.base_map) << row.name;
        EXPECT_EQ(found.second, row.file_map) << row.name;
    }
}

TEST_F(match, refuses_indices_out_of_range) {
    test::session all(write_all({"a\n", "b\n"}));
    ASSERT_EQ(all.compare(), 0);
    int32_t *map_i = nullptr;
    int32_t *map_j = nullptr;
    uint64_t count = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(tdm_engine_match(all.s, 2, -1, &map_i, &count, &map_j, &count), 1);
    EXPECT_EQ(tdm_engine_match(all.s, 0, -1, &map_i, &count, &map_j, &count), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "File index out-of-range for session (2).\nFile index out-of-range for session "
              "(-1).\n");
    EXPECT_EQ(map_i, nullptr);
}

}  // namespace

#include "tdm_container/codec.h"

#include <cinttypes>
#include <random>
#include <vector>

#include "seeds.h"
#include "support.h"

namespace {

class codec : public test::scratch {
protected:
    template <typename Encode>
    std::string encoded(Encode &&encode) {
        line_stream out{};
        out.stream = fopen(path("out").c_str(), "w");
        out.file_name = "OUT";
        EXPECT_EQ(encode(&out), 0);
        fclose(out.stream);
        return read(path("out"));
    }
};

TEST_F(codec, stores_text_so_that_it_is_never_a_record) {
    const struct {
        const char *text, *stored;
    } rows[] = {
        {"abc\n", "abc\n"},
        {"^abc\n", "^Q ^abc\n"},
        {"abc", "^N abc\n"},
        {"^abc", "^N ^abc\n"},
        {"", ""},
        {"\n", "\n"},
        {"^T x\n", "^Q ^T x\n"},
        {"^", "^N ^\n"},
        {"^\n", "^Q ^\n"},
    };
    for (const auto &row : rows) {
        const std::string stored =
            encoded([&](line_stream *out) { return tdm_cntutl_encode_text(out, row.text); });
        EXPECT_EQ(stored, row.stored);
        std::string_view back;
        if (!stored.empty()) {
            ASSERT_TRUE(tdm::stored_text(stored, false, &back));
            EXPECT_EQ(back, row.text);
        }
    }
    std::string_view back;
    ASSERT_TRUE(tdm::stored_text("^T x\n", false, &back));
    EXPECT_EQ(back, "^T x\n");
}

TEST_F(codec, reports_a_failed_write_once) {
    line_stream out{};
    out.stream = fopen("/dev/full", "w");
    setvbuf(out.stream, nullptr, _IONBF, 0);
    out.file_name = "OUT";
    EXPECT_EQ(
        test::messages_of([&] { EXPECT_EQ(tdm_cntutl_encode_cre_bra(&out, "b", 1, 0, 2), 1); }),
        "Trouble accessing file \"OUT\": No space left on device\n");
    fclose(out.stream);
}

TEST_F(codec, decodes_what_the_c_library_would) {
    std::vector<std::string> lines;
    for (const char *numbers :
         {"0xAbC +7 -1", "-0x2 3 4 junk", "0xg 1 2", "  1\t2\v3\n", "-10000000000000000 1 1",
          "ffffffffffffffff 10000000000000000 1", "00x12 1 1", "0x 0x 0x", "1 2 ",
          "0X1F 0 00000000000000000000001"}) {
        lines.push_back(std::string("^V v ") + numbers);
    }
    // Runs of plain digits are read in a way of their own, as long as they cannot overflow.
    for (const size_t digits : {14U, 15U, 16U, 17U}) {
        const std::string large = std::string("fedcba98765432101").substr(0, digits);
        for (const char *end : {"", "\n", " \n", "g\n"}) {
            for (const std::string &fields :
                 {large + " 1 2", "1 " + large + " 2", "1 2 " + large, "0" + large + " 1 2"}) {
                lines.push_back("^V v " + fields + end);
            }
        }
    }
    const std::string_view alphabet = "0x1aF-+ \tg\n";
    for (const unsigned seed : seeds(20000)) {
        std::mt19937 random(seed);
        lines.emplace_back("^V ");
        for (auto n = random() % 24; n > 0; --n) {
            lines.back() += alphabet[random() % alphabet.size()];
        }
    }
    for (const std::string &line : lines) {
        char our_oid[112] = "";
        char their_oid[112] = "";
        uint64_t ours[3] = {};
        uint64_t theirs[3] = {};
        const bool expected = sscanf(line.c_str() + 3, "%111s %lx %lx %lx\n", their_oid, &theirs[0],
                                     &theirs[1], &theirs[2]) == 4;
        ASSERT_EQ(tdm_cntutl_decode_cre_ver(line.c_str(), our_oid, &ours[0], &ours[1], &ours[2]),
                  expected ? 0 : 1)
            << line;
        if (expected) {
            ASSERT_STREQ(our_oid, their_oid) << line;
            ASSERT_TRUE(std::equal(ours, ours + 3, theirs)) << line;
        }
    }
}

TEST_F(codec, never_reads_past_a_short_record) {
    // Exactly sized heap copies: a read past the end is caught by the address sanitizer.
    for (const char *text : {"", "^", "^V", "^V ", "^V x", "^S\n"}) {
        const std::unique_ptr<char[]> line(new char[strlen(text) + 1]);
        memcpy(line.get(), text, strlen(text) + 1);
        char oid[112];
        uint64_t n = 0;
        EXPECT_EQ(tdm_cntutl_decode_cre_ver(line.get(), oid, &n, &n, &n), 1) << text;
        EXPECT_EQ(tdm_cntutl_decode_status(line.get(), &n, &n), 1) << text;
    }
}

TEST_F(codec, bounds_oids) {
    char oid[112];
    const std::string fits(111, 'o');
    EXPECT_EQ(tdm_cntutl_decode_cre_ele(("^E " + fits + "\n").c_str(), oid), 0);
    EXPECT_EQ(oid, fits);
    EXPECT_EQ(tdm_cntutl_decode_cre_ele(("^E o" + fits + "\n").c_str(), oid), 1);
    const std::string longest(99, 'o');
    EXPECT_EQ(tdm::check_oid(longest.c_str()), 0);
    const std::string too_long = longest + "o";
    EXPECT_EQ(encoded([](line_stream *out) {
                  test::messages_of([&] {
                      EXPECT_EQ(tdm_cntutl_encode_cre_ele(out, nullptr), 1);
                      EXPECT_EQ(tdm_cntutl_encode_cre_ver(out, nullptr, 0, 0, 0), 1);
                  });
                  return 0;
              }),
              "");
    for (const char *bad : {"", "a b", "a\tb", "a\x7f", "\x01", too_long.c_str()}) {
        EXPECT_EQ(test::messages_of([&] { EXPECT_EQ(tdm::check_oid(bad), 1); }),
                  "Can't parse malformed object-id " + std::string(bad) + "\n");
    }
}

}  // namespace

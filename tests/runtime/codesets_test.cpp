#include <clocale>

#include "support.h"

namespace {

constexpr uint32_t ascii = 0, euc_jp = 1, shift_jis = 2, utf_8 = 3, unknown = 4;

TEST(Codesets, are_detected_by_the_form_of_their_sequences) {
    struct {
        std::string_view text;
        uint32_t code;
    } const rows[] = {
        {"", ascii},
        {"plain text\n", ascii},
        {"\xE6\x97\xA5\xE6\x9C\xAC\n", utf_8},  // two ideographs
        {"\xF0\x9F\x98\x80", utf_8},
        {"caf\xC3\xA9", utf_8},            // also two half-width kana in Shift-JIS
        {"\xC6\xFC\xCB\xDC\n", euc_jp},    // the same ideographs
        {"\x8E\xB1\x8F\xB0\xA1", euc_jp},  // kana and a supplementary character
        {"\x93\xFA\x96\x7B\n", shift_jis},
        {"\xB1\xB2\xB3", shift_jis},    // an odd number of half-width kana
        {"\x83\x5C", shift_jis},        // a second byte that is a backslash
        {"\xC0\x80", unknown},          // an overlong NUL
        {"\xED\xA0\x80", unknown},      // a surrogate
        {"\xF4\x90\x80\x80", unknown},  // beyond the last code point
        {"\xE6", unknown},              // cut short
        {"caf\xFF", unknown},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(cs_detect_codeset(row.text.data(), row.text.size()), row.code) << row.text;
    }
}

TEST(Codesets, conversion_keeps_ascii_tells_a_lack_of_room_and_survives_failures) {
    struct {
        uint32_t from, to;
        std::string_view text;
        size_t room;
        int result;
        std::string_view converted;
    } const rows[] = {
        {euc_jp, shift_jis, "\\~\xC6\xFC\n", 20, 0, "\\~\x93\xFA\n"},
        {shift_jis, euc_jp, "\\~\x93\xFA\n", 20, 0, "\\~\xC6\xFC\n"},
        {euc_jp, utf_8, "\\~\xC6\xFC\n", 20, 0, "\\~\xE6\x97\xA5\n"},
        {utf_8, euc_jp, "\\~\xE6\x97\xA5\n", 20, 0, "\\~\xC6\xFC\n"},
        {shift_jis, utf_8, "\\~\x93\xFA\n", 20, 0, "\\~\xE6\x97\xA5\n"},
        {utf_8, shift_jis, "\\~\xE6\x97\xA5\n", 20, 0, "\\~\x93\xFA\n"},
        {euc_jp, utf_8, "\xC6\xFC\xCB\xDC", 0, 3, ""},
        {euc_jp, utf_8, "\xC6\xFC\xCB\xDC", 5, 3, ""},
        {euc_jp, utf_8, "\xC6\xFC\xCB\xDC", 6, 0, "\xE6\x97\xA5\xE6\x9C\xAC"},
        {euc_jp, utf_8, "cut short \xC6", 20, 1, ""},
        {utf_8, euc_jp, "\xF0\x9F\x98\x80", 20, 1, ""},
        {unknown, utf_8, "a", 20, 1, ""},
        {utf_8, 1000, "a", 20, 1, ""},
        {utf_8, euc_jp, "a", 20, 0, "a"},
    };
    void *converter = cs_init_language();
    for (const auto &row : rows) {
        std::string out(row.room, '?');
        uint64_t length = 99;
        EXPECT_EQ(cs_convert_encodings(converter, row.from, row.to, row.text.data(),
                                       row.text.size(), out.data(), row.room, &length),
                  row.result)
            << row.text;
        EXPECT_EQ(out.substr(0, length), row.converted) << row.text;
    }
    cs_exit(converter);
}

TEST(Codesets, the_locale_decides_its_code) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(cs_get_locale_codeset(), utf_8);
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(cs_get_locale_codeset(), ascii);
}

}  // namespace

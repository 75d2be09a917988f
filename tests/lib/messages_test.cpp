#include "messages/messages.h"

#include <regex>

#include "support.h"

namespace {

TEST(messages, the_catalogue_has_its_numbers_and_its_odd_texts) {
    const msg_table &table = _tdm_text_file_delta_msg_table;
    EXPECT_STREQ(table.facility_name, "text_file_delta_mgrs");
    EXPECT_STREQ(table.facility_prefix, "tdm");
    ASSERT_EQ(table.count, 54);
    EXPECT_EQ(table.highest_number, 63);
    const struct {
        int index, number;
        const char *text;
    } rows[] = {
        {22, 31,
         "*** \001\001"
         "1BAutomatic:\001\001"
         "0B "},
        {28, 37,
         "Applying \001\001"
         "1BDELETION\001\001"
         "0B from file %d [deleting base %s]\n"},
        {47, 56, "Memory allocation failed: %s \n"},
        {49, 58,
         "The current locale's codeset and the specified file's codeset are the the same (%s). "
         "Disabling any codeset conversions.\n"},
        {53, 63, "\"%s\":  Offset calculated for nul character is greater than file size.\n"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(table.numbers[row.index], row.number);
        EXPECT_STREQ(table.texts[row.index], row.text);
    }
}

TEST(messages, the_library_says_who_it_is) {
    char line[128];
    libnorviktdm_sprintf_verid(line);
    EXPECT_TRUE(std::regex_match(
        line,
        std::regex("libnorviktdm {21} \\d+\\.\\d+\\.\\d+\\.\\d+ "
                   "\\([A-Z][a-z]{2} [A-Z][a-z]{2} [1-9]\\d? \\d\\d:\\d\\d:\\d\\d \\d{4}\\)\n")))
        << line;
    testing::internal::CaptureStdout();
    libnorviktdm_print_verid();
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), line);
}

}  // namespace

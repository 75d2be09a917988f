#include <regex>

#include "support.h"

namespace {

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

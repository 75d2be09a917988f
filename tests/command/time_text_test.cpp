#include "time_text.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

TEST(time_text, reads_seconds_and_iso_8601_with_a_zone) {
    struct row {
        const char *text;
        uint64_t seconds;
    };
    const row rows[] = {
        {"0", 0},
        {"@1700000000", 1700000000},
        {"1970-01-01T00:00:00Z", 0},
        {"2024-02-29T12:30:15Z", 1709209815},
        {"2024-02-29 12:30+02:00", 1709202600},
        {"2024-02-29T12:30:00.75-0530", 1709229600},
        {"2024-02-29T12:30:00,5 +01", 1709206200},
        {"1970-01-01T01:00:00+01:00", 0},
        {"20240229T123015Z", 1709209815},
        {"20240229T1230+0200", 1709202600},
        {"2024-02-29t12:30:15,25-05", 1709227815},
        {"2016-12-31T23:59:60Z", 1483228800},
        {"2017-01-01T00:59:60+01:00", 1483228800},
        {"@20240501", 20240501},
        {"12345678", 12345678},
        {"20241301", 20241301},
        {"1700000000", 1700000000},
        {"9999-12-31T23:59:59z", 253402300799},
    };
    for (const row &r : rows) {
        uint64_t seconds = 77;
        EXPECT_TRUE(norvik::parse_time(r.text, seconds)) << r.text;
        EXPECT_EQ(seconds, r.seconds) << r.text;
    }
}

TEST(time_text, refuses_what_is_no_time_or_has_no_zone) {
    std::istringstream times(
        "|@|-1|12x|@-5|2024-02-29|2024-02-29T12:30|2024-02-29T12:30:00|"
        "2023-02-29T00:00Z|2100-02-29T00:00Z|2100-03-01T00:00+24:00|20240501|202405011230|"
        "20240501123000|20240501T12:30Z|"
        "2024-05-01T1230Z|2024-05-01T12:30.5Z|2024-05-01T12:30:60Z|20240501T123Z|"
        "2016-12-31T23:59:60+01:00|2024-13-01T00:00Z|2024-01-01T24:00Z|"
        "2024-01-01T00:60Z|2024-01-01T00:00Zx|2024-01-01T00:00+2|1969-12-31T23:59:59Z|"
        "1970-01-01T00:00+01:00|18446744073709551616|");
    for (std::string text; std::getline(times, text, '|');) {
        uint64_t seconds = 0;
        EXPECT_FALSE(norvik::parse_time(text, seconds)) << text;
    }
}

TEST(time_text, prints_what_it_reads) {
    for (uint64_t seconds = 0; seconds < 253402300800; seconds += 86400 * 13 + 4567) {
        uint64_t again = 0;
        ASSERT_TRUE(norvik::parse_time(norvik::time_text(seconds), again));
        ASSERT_EQ(again, seconds);
    }
    EXPECT_EQ(norvik::time_text(951782400), "2000-02-29T00:00:00Z");
    EXPECT_EQ(norvik::time_text(253402300800), "@253402300800");
    EXPECT_EQ(norvik::time_text(UINT64_MAX), "@18446744073709551615");
}

}  // namespace

// Points in time as people and machines write them. A time is seconds since 1970 (UTC); neither
// the locale nor TZ changes anything here.
#ifndef NORVIK_TIME_TEXT_H
#define NORVIK_TIME_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace norvik {

// Reads @SECONDS, SECONDS (unless its digits may be a date of our time: 20240501), or ISO 8601 with
// a zone: 2024-05-01T12:30:00Z, 2024-05-01 12:30+02:00, 20240501T123000Z, seconds and their
// fraction (dropped) optional. False for anything else, a time without a zone, one before 1970 and
// a leap second that is not the last of a day included.
bool parse_time(std::string_view text, std::uint64_t &seconds);

// ISO 8601 in UTC, 2024-05-01T12:30:00Z; @SECONDS for a time after the year 9999.
std::string time_text(std::uint64_t seconds);

}  // namespace norvik

#endif

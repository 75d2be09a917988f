// The calendar is that of <chrono>, which knows neither locale nor zone. A time is taken apart from
// the front, without going back, and any byte left over refuses the whole.
#include "time_text.h"

#include <charconv>
#include <chrono>

namespace norvik {

namespace chrono = std::chrono;

namespace {

constexpr std::uint64_t end_of_year_9999 = 253402300799;

// Takes text apart from the front; every step says whether it found what it sought.
struct text_scanner {
    std::string_view rest;

    bool take(char expected) {
        if (rest.empty() || rest[0] != expected) {
            return false;
        }
        rest.remove_prefix(1);
        return true;
    }

    // Exactly `digits` decimal digits.
    bool take_number(std::size_t digits, int &value) {
        if (rest.size() < digits) {
            return false;
        }
        value = 0;
        for (std::size_t i = 0; i < digits; i++) {
            if (rest[i] < '0' || rest[i] > '9') {
                return false;
            }
            value = value * 10 + (rest[i] - '0');
        }
        rest.remove_prefix(digits);
        return true;
    }

    bool digit_follows() const { return !rest.empty() && rest[0] >= '0' && rest[0] <= '9'; }

    bool skip_digits() {
        const std::size_t start = rest.size();
        while (digit_follows()) {
            rest.remove_prefix(1);
        }
        return rest.size() < start;
    }
};

// A date and a clock have separators in all places or in none: the extended or the basic form.
bool take_date(text_scanner &text, bool &basic, chrono::sys_days &date) {
    int year = 0, month = 0, day = 0;
    if (!text.take_number(4, year)) {
        return false;
    }
    basic = !text.take('-');
    if (!text.take_number(2, month) || !(basic || text.take('-')) || !text.take_number(2, day)) {
        return false;
    }
    const chrono::year_month_day found{chrono::year(year),
                                       chrono::month(static_cast<unsigned>(month)),
                                       chrono::day(static_cast<unsigned>(day))};
    date = found;
    return found.ok();
}

// Hours and minutes, then perhaps seconds, and of these perhaps a fraction, which is dropped.
bool take_clock(text_scanner &text, bool basic, chrono::seconds &clock, bool &leap) {
    int hour = 0, minute = 0, second = 0;
    if (!text.take_number(2, hour) || !(basic || text.take(':')) || !text.take_number(2, minute)) {
        return false;
    }
    if (basic ? text.digit_follows() : text.take(':')) {
        if (!text.take_number(2, second) ||
            ((text.take('.') || text.take(',')) && !text.skip_digits())) {
            return false;
        }
    }
    clock = chrono::hours(hour) + chrono::minutes(minute) + chrono::seconds(second);
    leap = second == 60;
    return hour < 24 && minute < 60 && second <= 60;
}

// Z, +02, +0200 or +02:00, and nothing after it.
bool take_zone(text_scanner &text, chrono::seconds &offset) {
    offset = {};
    if (text.take('Z') || text.take('z')) {
        return text.rest.empty();
    }
    const bool west = text.take('-');
    if (!west && !text.take('+')) {
        return false;
    }
    int hours = 0, minutes = 0;
    if (!text.take_number(2, hours)) {
        return false;
    }
    if (!text.rest.empty()) {
        text.take(':');
        if (!text.take_number(2, minutes)) {
            return false;
        }
    }
    offset = (chrono::hours(hours) + chrono::minutes(minutes)) * (west ? -1 : 1);
    return text.rest.empty() && hours < 24 && minutes < 60;
}

bool parse_seconds(std::string_view text, std::uint64_t &seconds) {
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, seconds);
    return !text.empty() && result.ec == std::errc{} && result.ptr == end;
}

// Writes a number over the zeros that end before `end`.
void put_digits(std::string &text, std::size_t end, long value) {
    for (; value > 0; value /= 10) {
        text[--end] = static_cast<char>('0' + value % 10);
    }
}

// Digits that are a date, or a date and a clock, as well as a number of seconds; with @ before them
// they are taken.
bool may_be_date(std::string_view digits) {
    if (digits.size() != 8 && digits.size() != 12 && digits.size() != 14) {
        return false;
    }
    text_scanner scanner{digits};
    bool basic = false;
    chrono::sys_days date;
    return (digits.starts_with("19") || digits.starts_with("20")) &&
           take_date(scanner, basic, date);
}

}  // namespace

bool parse_time(std::string_view text, std::uint64_t &seconds) {
    if (text.starts_with('@')) {
        return parse_seconds(text.substr(1), seconds);
    }
    if (parse_seconds(text, seconds)) {
        return !may_be_date(text);
    }
    text_scanner scanner{text};
    bool basic = false, leap = false;
    chrono::sys_days date;
    chrono::seconds clock{}, offset{};
    if (!take_date(scanner, basic, date) ||
        !(scanner.take('T') || scanner.take('t') || scanner.take(' ')) ||
        !take_clock(scanner, basic, clock, leap)) {
        return false;
    }
    scanner.take(' ');
    if (!take_zone(scanner, offset)) {
        return false;
    }
    const chrono::sys_seconds result = date + clock - offset;
    seconds = static_cast<std::uint64_t>(result.time_since_epoch().count());
    // A leap second is the last of a day in UTC, and counts as the first of the next.
    return result >= chrono::sys_seconds{} &&
           (!leap || result == chrono::floor<chrono::days>(result));
}

std::string time_text(std::uint64_t seconds) {
    if (seconds > end_of_year_9999) {
        return "@" + std::to_string(seconds);
    }
    const chrono::sys_seconds time{chrono::seconds(seconds)};
    const auto day = chrono::floor<chrono::days>(time);
    const chrono::year_month_day date(day);
    const chrono::hh_mm_ss clock(time - day);
    std::string text = "0000-00-00T00:00:00Z";
    put_digits(text, 4, int{date.year()});
    put_digits(text, 7, unsigned{date.month()});
    put_digits(text, 10, unsigned{date.day()});
    put_digits(text, 13, clock.hours().count());
    put_digits(text, 16, clock.minutes().count());
    put_digits(text, 19, clock.seconds().count());
    return text;
}

}  // namespace norvik

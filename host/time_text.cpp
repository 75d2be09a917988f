#include "time_text.h"

#include <charconv>
#include <cstdlib>
#include <ctime>

#include "exit_status.h"
#include "output.h"

namespace host {

namespace {

constexpr int64_t seconds_a_day = 86400;
constexpr uint64_t end_of_year_9999 = 253402300799;

// Days from 1970-01-01 to a date of the Gregorian calendar, and back; years run from March, so
// that the leap day is the last of its year.
int64_t days_from_date(int64_t year, int64_t month, int64_t day) {
    year -= month <= 2;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t year_of_era = year - era * 400;
    const int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year -
           719468;
}

void date_from_days(int64_t days, int64_t &year, int64_t &month, int64_t &day) {
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const int64_t day_of_era = days - era * 146097;
    const int64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const int64_t day_of_year =
        day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const int64_t shifted_month = (5 * day_of_year + 2) / 153;
    day = day_of_year - (153 * shifted_month + 2) / 5 + 1;
    month = shifted_month + (shifted_month < 10 ? 3 : -9);
    year = year_of_era + era * 400 + (month <= 2);
}

int days_of_month(int64_t year, int64_t month) {
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return days[month - 1] + (month == 2 && leap);
}

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
    bool take_number(size_t digits, int64_t &value) {
        if (rest.size() < digits) {
            return false;
        }
        value = 0;
        for (size_t i = 0; i < digits; i++) {
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
        const size_t start = rest.size();
        while (digit_follows()) {
            rest.remove_prefix(1);
        }
        return rest.size() < start;
    }
};

// A date and a clock have separators in all places or in none: the extended or the basic form.
bool take_date(text_scanner &text, bool &basic, int64_t &days) {
    int64_t year = 0, month = 0, day = 0;
    if (!text.take_number(4, year)) {
        return false;
    }
    basic = !text.take('-');
    if (!text.take_number(2, month) || !(basic || text.take('-')) || !text.take_number(2, day)) {
        return false;
    }
    if (month < 1 || month > 12 || day < 1 || day > days_of_month(year, month)) {
        return false;
    }
    days = days_from_date(year, month, day);
    return true;
}

// Hours and minutes, then perhaps seconds, and of these perhaps a fraction, which is dropped.
bool take_clock(text_scanner &text, bool basic, int64_t &seconds, bool &leap) {
    int64_t hour = 0, minute = 0, second = 0;
    if (!text.take_number(2, hour) || !(basic || text.take(':')) || !text.take_number(2, minute)) {
        return false;
    }
    if (basic ? text.digit_follows() : text.take(':')) {
        if (!text.take_number(2, second) ||
            ((text.take('.') || text.take(',')) && !text.skip_digits())) {
            return false;
        }
    }
    seconds = (hour * 60 + minute) * 60 + second;
    leap = second == 60;
    return hour < 24 && minute < 60 && second <= 60;
}

// Z, +02, +0200 or +02:00, and nothing after it.
bool take_zone(text_scanner &text, int64_t &offset) {
    offset = 0;
    if (text.take('Z') || text.take('z')) {
        return text.rest.empty();
    }
    const bool west = text.take('-');
    if (!west && !text.take('+')) {
        return false;
    }
    int64_t hours = 0, minutes = 0;
    if (!text.take_number(2, hours)) {
        return false;
    }
    if (!text.rest.empty()) {
        text.take(':');
        if (!text.take_number(2, minutes)) {
            return false;
        }
    }
    offset = (hours * 60 + minutes) * 60 * (west ? -1 : 1);
    return text.rest.empty() && hours < 24 && minutes < 60;
}

bool parse_seconds(std::string_view text, uint64_t &seconds) {
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, seconds);
    return !text.empty() && result.ec == std::errc{} && result.ptr == end;
}

// Writes a number over the zeros that end before `end`.
void put_digits(std::string &text, size_t end, int64_t value) {
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
    int64_t days = 0;
    return (digits.starts_with("19") || digits.starts_with("20")) &&
           take_date(scanner, basic, days);
}

}  // namespace

bool parse_time(std::string_view text, uint64_t &seconds) {
    if (text.starts_with('@')) {
        return parse_seconds(text.substr(1), seconds);
    }
    if (parse_seconds(text, seconds)) {
        return !may_be_date(text);
    }
    text_scanner scanner{text};
    bool basic = false, leap = false;
    int64_t days = 0, clock = 0, offset = 0;
    if (!take_date(scanner, basic, days) ||
        !(scanner.take('T') || scanner.take('t') || scanner.take(' ')) ||
        !take_clock(scanner, basic, clock, leap)) {
        return false;
    }
    scanner.take(' ');
    if (!take_zone(scanner, offset)) {
        return false;
    }
    const int64_t result = days * seconds_a_day + clock - offset;
    seconds = static_cast<uint64_t>(result);
    // A leap second is the last of a day in UTC, and counts as the first of the next.
    return result >= 0 && (!leap || result % seconds_a_day == 0);
}

std::string time_text(uint64_t seconds) {
    if (seconds > end_of_year_9999) {
        return "@" + std::to_string(seconds);
    }
    const auto time = static_cast<int64_t>(seconds);
    int64_t year = 0, month = 0, day = 0;
    date_from_days(time / seconds_a_day, year, month, day);
    const int64_t clock = time % seconds_a_day;
    std::string text = "0000-00-00T00:00:00Z";
    put_digits(text, 4, year);
    put_digits(text, 7, month);
    put_digits(text, 10, day);
    put_digits(text, 13, clock / 3600);
    put_digits(text, 16, clock / 60 % 60);
    put_digits(text, 19, clock % 60);
    return text;
}

int current_time(uint64_t &seconds) {
    const char *epoch = getenv("SOURCE_DATE_EPOCH");
    if (epoch == nullptr || *epoch == '\0') {
        seconds = static_cast<uint64_t>(time(nullptr));
        return status_done;
    }
    if (parse_seconds(epoch, seconds)) {
        return status_done;
    }
    say("SOURCE_DATE_EPOCH is not a number of seconds");
    return status_trouble;
}

}  // namespace host

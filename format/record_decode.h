// Records as they are read.
//
// What is accepted is part of the format: fields are separated by any white space of the locale,
// and numbers are exactly those that the C library's %lx takes (signs, 0x, overflow to the largest
// number), bounded by the line's end. They are written out by hand because they stand on the path
// of every run of a weave.
#pragma once

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "container_limits.h"
#include "record_kind.h"

namespace format {

// The value of a hexadecimal digit by its byte, -1 for any other byte.
inline constexpr auto hex_values = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::int8_t i = 0; i < 16; ++i) {
        values[static_cast<unsigned char>("0123456789abcdef"[i])] = i;
        values[static_cast<unsigned char>("0123456789ABCDEF"[i])] = i;
    }
    return values;
}();

// The digit's value, -1 for any other byte.
inline int hex_digit(char c) {
    return hex_values[static_cast<unsigned char>(c)];
}

// White space of the current locale; what is white space everywhere is told without a call.
inline bool is_space(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte == ' ' || (byte >= '\t' && byte <= '\r') ||
           (byte >= 0x80 && std::isspace(byte) != 0);
}

// The bytes of a line that ends with a NUL; they may be looked at one by one, past none.
struct terminated_bytes {
    const char *at;
    char front() const { return *at; }
};

// The bytes of a line with a known end, behind which a NUL seems to stand.
struct bounded_bytes {
    const char *at;
    const char *end;
    char front() const { return at == end ? '\0' : *at; }
};

// Takes the fields of a record one by one, from behind its prefix. Nothing is stored once a field
// was malformed.
template <class Bytes>
class field_reader {
public:
    explicit field_reader(Bytes fields) : rest_(fields) {}

    // The oid points into the line.
    field_reader &oid(std::string_view *value) {
        skip_space();
        const char *const first = rest_.at;
        std::size_t length = 0;
        for (; rest_.front() != '\0' && !is_space(rest_.front()); ++rest_.at) {
            if (++length > longest_read_oid) {
                break;
            }
        }
        failed_ = failed_ || length == 0 || length > longest_read_oid;
        if (!failed_) {
            *value = {first, length};
        }
        return *this;
    }

    // As %lx takes it: a sign and 0x may stand before it, overflow gives the largest number.
    field_reader &number(std::uint64_t *value) {
        skip_space();
        const bool negative = rest_.front() == '-';
        if (negative || rest_.front() == '+') {
            ++rest_.at;
        }
        bool any = false;
        if (rest_.front() == '0') {
            any = true;
            ++rest_.at;
            if (rest_.front() == 'x' || rest_.front() == 'X') {
                ++rest_.at;
            }
        }
        std::uint64_t sum = 0;
        bool overflow = false;
        for (int digit; (digit = hex_digit(rest_.front())) >= 0; ++rest_.at) {
            any = true;
            overflow = overflow || (sum >> 60) != 0;
            sum = (sum << 4) | static_cast<std::uint64_t>(digit);
        }
        failed_ = failed_ || !any;
        if (!failed_) {
            *value = overflow ? UINT64_MAX : negative ? 0 - sum : sum;
        }
        return *this;
    }

    // Whether all fields so far were there and well formed.
    bool good() const { return !failed_; }
    // What stands behind the last field.
    const char *rest() const { return rest_.at; }

private:
    void skip_space() {
        while (is_space(rest_.front())) {
            ++rest_.at;
        }
    }

    Bytes rest_;
    bool failed_ = false;
};

// A number as it is written: lower-case digits without zeros before them.
template <class Bytes>
inline bool take_written_number(Bytes *bytes, std::uint64_t *value) {
    constexpr int most_digits = 2 * sizeof(std::uint64_t);
    const char *const first = bytes->at;
    std::uint64_t sum = 0;
    for (; bytes->at - first < most_digits; ++bytes->at) {
        const char byte = bytes->front();
        const int digit = hex_digit(byte);
        if (digit < 0 || (byte >= 'A' && byte <= 'F')) {
            break;
        }
        sum = (sum << 4) | static_cast<std::uint64_t>(digit);
    }
    const std::ptrdiff_t digits = bytes->at - first;
    *value = sum;
    return digits == 1 || (digits > 1 && *first != '0');
}

// The fields of a run in the form that is written, from behind its prefix to its newline or the
// end; false, with nothing stored, for any other form, which a field_reader must look at.
template <class Bytes>
inline bool take_written_run(Bytes fields, std::uint64_t (&numbers)[3]) {
    std::uint64_t taken[3];
    for (int i = 0; i < 3; ++i) {
        if (i > 0 && fields.front() != ' ') {
            return false;
        }
        fields.at += i > 0 ? 1 : 0;
        if (!take_written_number(&fields, &taken[i])) {
            return false;
        }
    }
    if (fields.front() != '\n' && fields.front() != '\0') {
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        numbers[i] = taken[i];
    }
    return true;
}

}  // namespace format

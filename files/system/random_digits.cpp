#include "random_digits.h"

#include <cerrno>

#include "system_calls.h"

namespace norvik {

namespace {

constexpr std::string_view digits = "0123456789abcdef";

}  // namespace

std::string hexadecimal(std::uint64_t value) {
    std::string text(16, '0');
    for (std::size_t i = text.size(); i-- > 0; value >>= 4) {
        text[i] = digits[value & 15];
    }
    return text;
}

result<std::string> random_digits() {
    std::uint64_t bits[2];
    ssize_t got = 0;
    do {
        got = sys::getrandom(bits, sizeof bits);
    } while (got < 0 && errno == EINTR);
    if (got != sizeof bits) {
        return system_failure("", "no random numbers", last_error());
    }
    return hexadecimal(bits[0]) + hexadecimal(bits[1]);
}

bool is_random_digits(std::string_view text) {
    return text.size() == 32 && text.find_first_not_of(digits) == text.npos;
}

}  // namespace norvik

// Words are read in one pass. A value with escapes of bytes from 0x80 on is decoded and spelled
// again to see that it is written in the only way; all others are judged byte by byte.
#include "version_notes.h"

#include <algorithm>
#include <array>

#include "random_digits.h"
#include "record_decode.h"

namespace norvik {
namespace {

constexpr std::string_view sum_key = "sum=";
constexpr std::size_t sum_digits = 16;
// The order in which known words are written; the others follow.
constexpr std::array<std::string_view, 6> order = {"by", "msg", "tag", "merged", "src", "mode"};

constexpr bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

// The bytes of the character from 0x80 on that stands at the start of `text`; 0 when there is none
// in valid UTF-8: none longer than need be, no surrogate, nothing above 0x10ffff.
std::size_t utf8_length(std::string_view text) {
    const auto byte = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned first = byte(0);
    const std::size_t length = first < 0xc2   ? 0
                               : first < 0xe0 ? 2
                               : first < 0xf0 ? 3
                               : first < 0xf5 ? 4
                                              : 0;
    if (length == 0 || length > text.size() ||
        !std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length),
                     is_continuation)) {
        return 0;
    }
    const bool bad = (first == 0xe0 && byte(1) < 0xa0) || (first == 0xed && byte(1) > 0x9f) ||
                     (first == 0xf0 && byte(1) < 0x90) || (first == 0xf4 && byte(1) > 0x8f);
    return bad ? 0 : length;
}

constexpr bool is_bare(char byte) {
    return byte > 0x20 && byte < 0x7f && byte != '%';
}

std::string encode_value(std::string_view value) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    while (!value.empty()) {
        const std::size_t length = is_bare(value.front()) ? 1 : utf8_length(value);
        if (length != 0) {
            text += value.substr(0, length);
        } else {
            const auto byte = static_cast<unsigned char>(value.front());
            text += {'%', digits[byte >> 4], digits[byte & 15]};
        }
        value.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

// A lower-case digit's value, -1 for any other byte.
int digit_value(char byte) {
    return byte >= 'A' && byte <= 'F' ? -1 : format::hex_digit(byte);
}

// The byte of the escape at the start of `text`, -1 for none.
int escaped_byte(std::string_view text) {
    const int high = text.size() < 3 || text[0] != '%' ? -1 : digit_value(text[1]);
    const int low = high < 0 ? -1 : digit_value(text[2]);
    return low < 0 ? -1 : high * 16 + low;
}

std::string decode_value(std::string_view text) {
    std::string value;
    while (!text.empty()) {
        const int byte = escaped_byte(text);
        value += byte < 0 ? text.front() : static_cast<char>(byte);
        text.remove_prefix(byte < 0 ? 1 : 3);
    }
    return value;
}

// Whether this is how encode_value writes some value.
bool is_written_value(std::string_view text) {
    for (std::string_view rest = text; !rest.empty();) {
        if (is_bare(rest.front())) {
            rest.remove_prefix(1);
        } else if (const std::size_t length = utf8_length(rest); length != 0) {
            rest.remove_prefix(length);
        } else {
            const int byte = escaped_byte(rest);
            if (byte < 0 || is_bare(static_cast<char>(byte))) {
                return false;
            }
            if (byte >= 0x80) {
                return encode_value(decode_value(text)) == text;
            }
            rest.remove_prefix(3);
        }
    }
    return true;
}

bool may_repeat(std::string_view key) {
    return key == "tag" || key == "merged";
}

// Takes `=value` off behind a key. A word ends at a blank.
std::string_view take_word(std::string_view *rest) {
    const std::size_t end = std::min(rest->find(' '), rest->size());
    const std::string_view word = rest->substr(0, end);
    rest->remove_prefix(end);
    return word;
}

bool take_sum(std::string_view *words, std::uint64_t *sum) {
    const std::string_view word = take_word(words);
    if (!word.starts_with(sum_key) || word.size() != sum_key.size() + sum_digits) {
        return false;
    }
    std::uint64_t value = 0;
    for (const char byte : word.substr(sum_key.size())) {
        const int digit = digit_value(byte);
        if (digit < 0) {
            return false;
        }
        value = value << 4 | static_cast<std::uint64_t>(digit);
    }
    *sum = value;
    return value < sum_modulus;
}

}  // namespace

const std::string *version_notes::find(std::string_view key) const & {
    const auto found = std::ranges::find(words, key, &version_note::key);
    return found == words.end() ? nullptr : &found->value;
}

bool is_note_key(std::string_view key) {
    const auto is_letter = [](char byte) { return byte >= 'a' && byte <= 'z'; };
    return !key.empty() && is_letter(key.front()) && key != "sum" &&
           std::ranges::all_of(key, [&](char byte) {
               return is_letter(byte) || (byte >= '0' && byte <= '9') || byte == '.' || byte == '-';
           });
}

bool take_notes(std::string_view words, std::uint64_t *sum) {
    if (!take_sum(&words, sum)) {
        return false;
    }
    std::vector<std::string_view> single;
    while (!words.empty()) {
        words.remove_prefix(1);
        const std::string_view word = take_word(&words);
        const std::size_t end = word.find('=');
        const std::string_view key = word.substr(0, end);
        if (end == word.npos || !is_note_key(key) || !is_written_value(word.substr(end + 1))) {
            return false;
        }
        if (!may_repeat(key)) {
            single.push_back(key);
        }
    }
    std::ranges::sort(single);
    return std::ranges::adjacent_find(single) == single.end();
}

version_notes decode_notes(std::string_view words) {
    version_notes notes;
    for (std::string_view rest = behind_sum(words); !rest.empty();) {
        rest.remove_prefix(1);
        const std::string_view word = take_word(&rest);
        const std::size_t end = word.find('=');
        notes.words.push_back(
            {std::string(word.substr(0, end)), decode_value(word.substr(end + 1))});
    }
    return notes;
}

std::string encode_notes(const version_notes &notes) {
    std::string text;
    const auto add = [&text](const version_note &note) {
        text += " " + note.key + "=" + encode_value(note.value);
    };
    for (const std::string_view key : order) {
        for (const version_note &note : notes.words) {
            if (note.key == key) {
                add(note);
            }
        }
    }
    for (const version_note &note : notes.words) {
        if (std::ranges::find(order, note.key) == order.end()) {
            add(note);
        }
    }
    return text;
}

std::string sum_word(std::uint64_t sum) {
    return std::string(sum_key) + hexadecimal(sum);
}

std::string_view behind_sum(std::string_view words) {
    return words.substr(std::min(words.find(' '), words.size()));
}

}  // namespace norvik

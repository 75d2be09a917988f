#include "record_line.h"

#include <norviktdm/tdm.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace host {
namespace {

// The value of a lower-case hexadecimal digit by its byte, 16 for every other byte.
constexpr std::array<uint8_t, 256> hex_digits = [] {
    std::array<uint8_t, 256> table{};
    table.fill(16);
    for (uint8_t i = 0; i < 10; i++) {
        table[static_cast<std::size_t>('0') + i] = i;
    }
    for (uint8_t i = 0; i < 6; i++) {
        table[static_cast<std::size_t>('a') + i] = static_cast<uint8_t>(10 + i);
    }
    return table;
}();

// Takes a number as the encoders write it off the front of `rest`. Most have a digit or two, and a
// pass over a container reads three a record.
inline bool take_number(std::string_view *rest, uint64_t *value) {
    const char *const first = rest->data();
    const std::size_t most = std::min<std::size_t>(rest->size(), 16);
    uint64_t number = 0;
    std::size_t digits = 0;
    for (; digits < most; digits++) {
        const uint64_t digit = hex_digits[static_cast<unsigned char>(first[digits])];
        if (digit > 15) {
            break;
        }
        number = number << 4 | digit;
    }
    if (digits == 0 || (digits > 1 && *first == '0')) {
        return false;
    }
    *rest = std::string_view(first + digits, rest->size() - digits);
    *value = number;
    return true;
}

inline bool take_byte(std::string_view *rest, char wanted) {
    if (rest->empty() || rest->front() != wanted) {
        return false;
    }
    rest->remove_prefix(1);
    return true;
}

bool take_oid(std::string_view *rest, std::string_view *oid) {
    const auto ends = [](char byte) {
        return static_cast<unsigned char>(byte) <= ' ' || byte == 0x7f;
    };
    const auto used =
        static_cast<std::size_t>(std::find_if(rest->begin(), rest->end(), ends) - rest->begin());
    if (used == 0 || used > longest_decoded_oid) {
        return false;
    }
    *oid = rest->substr(0, used);
    rest->remove_prefix(used);
    return true;
}

template <std::size_t N>
inline bool take_numbers(std::string_view *rest, uint64_t (&numbers)[N]) {
    std::string_view at = *rest;
    for (std::size_t i = 0; i < N; i++) {
        if ((i > 0 && !take_byte(&at, ' ')) || !take_number(&at, &numbers[i])) {
            return false;
        }
    }
    *rest = at;
    return true;
}

bool ends_line(std::string_view rest) {
    return rest.empty() || (rest.size() == 1 && rest[0] == '\n');
}

// The fields of a record in canonical form, or false.
bool fields_of(std::string_view line, std::string_view *rest) {
    if (line.size() <= record_prefix || line[2] != ' ') {
        return false;
    }
    *rest = line.substr(record_prefix);
    return true;
}

// A NUL-terminated copy of a line for the library's decoders; empty when no decoder can accept it.
struct line_copy {
    std::array<char, longest_line + record_prefix + 2> bytes;
    bool usable;

    explicit line_copy(std::string_view line)
        : usable(line.size() > record_prefix && line.size() < bytes.size()) {
        if (usable) {
            std::memcpy(bytes.data(), line.data(), line.size());
            bytes[line.size()] = '\0';
        }
    }
};

// The first token after the prefix, which the decoders take for the oid.
std::string_view first_token(std::string_view line) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    const std::size_t first = line.find_first_not_of(blanks, record_prefix);
    if (first == std::string_view::npos) {
        return {};
    }
    return line.substr(first, line.find_first_of(blanks, first) - first);
}

// How a line is spelled that decodes, but is not in canonical form. `fields` is how many it has.
spelling odd_spelling(std::string_view line, std::size_t fields) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    std::size_t end = record_prefix;
    for (std::size_t i = 0; i < fields; i++) {
        end = line.find_first_of(blanks, line.find_first_not_of(blanks, end));
    }
    const bool last_is_number =
        fields == 1 || line.substr(0, end).find_last_not_of("0123456789abcdefABCDEFxX+-") ==
                           line.substr(0, end).find_last_of(blanks);
    return last_is_number && line.find_first_not_of(blanks, end) == std::string_view::npos
               ? spelling::odd
               : spelling::followed;
}

}  // namespace

char record_kind(std::string_view line) {
    if (line.empty() || line[0] != '^') {
        return 0;
    }
    // A NUL must not look like the kind of plain text.
    return line.size() < 2 || line[1] == '\0' ? '\n' : line[1];
}

std::string_view text_of(std::string_view line) {
    const char kind = record_kind(line);
    if (kind != 'Q' && kind != 'N') {
        return line;
    }
    std::string_view text =
        line.size() > record_prefix ? line.substr(record_prefix) : line.substr(0, 0);
    if (kind == 'N' && !text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    return text;
}

spelling decode_run(std::string_view line, run_fields *out) {
    std::string_view rest;
    uint64_t numbers[3];
    if (fields_of(line, &rest) && take_numbers(&rest, numbers) && ends_line(rest)) {
        *out = {numbers[0], numbers[1], numbers[2]};
        return spelling::canonical;
    }
    const line_copy copy(line);
    if (!copy.usable || tdm_cntutl_decode_insert(copy.bytes.data(), &out->branch, &out->version,
                                                 &out->count) != 0) {
        return spelling::malformed;
    }
    return odd_spelling(line, 3);
}

spelling decode_object(std::string_view line, object_fields *out) {
    std::string_view rest;
    if (fields_of(line, &rest) && take_oid(&rest, &out->oid) && take_byte(&rest, ' ') &&
        take_numbers(&rest, out->number) && ends_line(rest)) {
        return spelling::canonical;
    }
    const line_copy copy(line);
    char oid[longest_decoded_oid + 1];
    if (!copy.usable || tdm_cntutl_decode_cre_ver(copy.bytes.data(), oid, &out->number[0],
                                                  &out->number[1], &out->number[2]) != 0) {
        return spelling::malformed;
    }
    out->oid = first_token(line);
    return odd_spelling(line, 4);
}

spelling decode_element(std::string_view line, std::string_view *oid) {
    std::string_view rest;
    if (fields_of(line, &rest) && take_oid(&rest, oid) && ends_line(rest)) {
        return spelling::canonical;
    }
    const line_copy copy(line);
    char decoded[longest_decoded_oid + 1];
    if (!copy.usable || tdm_cntutl_decode_cre_ele(copy.bytes.data(), decoded) != 0) {
        return spelling::malformed;
    }
    *oid = first_token(line);
    return odd_spelling(line, 1);
}

spelling decode_status(std::string_view line, uint64_t *format, uint64_t *highest) {
    std::string_view rest;
    uint64_t numbers[2];
    if (fields_of(line, &rest) && take_numbers(&rest, numbers) && ends_line(rest)) {
        *format = numbers[0];
        *highest = numbers[1];
        return spelling::canonical;
    }
    const line_copy copy(line);
    if (!copy.usable || tdm_cntutl_decode_status(copy.bytes.data(), format, highest) != 0) {
        return spelling::malformed;
    }
    return odd_spelling(line, 2);
}

}  // namespace host

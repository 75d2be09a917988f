#include "codeset_forms.h"

#include <algorithm>
#include <cstddef>

namespace runtime {
namespace {

struct byte_range {
    unsigned char first, last;

    constexpr bool holds(unsigned char byte) const { return byte >= first && byte <= last; }
};

/// One form of a character: what its first byte, its second, and all bytes after that may be.
struct sequence_form {
    byte_range lead;
    size_t length;
    byte_range second, rest;
};

constexpr byte_range seven_bit{0x00, 0x7F}, none{0xFF, 0x00};

// The narrowed second bytes keep out overlong forms, surrogates and what lies beyond U+10FFFF.
constexpr sequence_form utf_8_forms[] = {
    {seven_bit, 1, none, none},
    {{0xC2, 0xDF}, 2, {0x80, 0xBF}, none},
    {{0xE0, 0xE0}, 3, {0xA0, 0xBF}, {0x80, 0xBF}},
    {{0xE1, 0xEC}, 3, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xED, 0xED}, 3, {0x80, 0x9F}, {0x80, 0xBF}},
    {{0xEE, 0xEF}, 3, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xF0, 0xF0}, 4, {0x90, 0xBF}, {0x80, 0xBF}},
    {{0xF1, 0xF3}, 4, {0x80, 0xBF}, {0x80, 0xBF}},
    {{0xF4, 0xF4}, 4, {0x80, 0x8F}, {0x80, 0xBF}},
};

constexpr sequence_form euc_jp_forms[] = {
    {seven_bit, 1, none, none},
    {{0x8E, 0x8E}, 2, {0xA1, 0xDF}, none},          // half-width kana
    {{0x8F, 0x8F}, 3, {0xA1, 0xFE}, {0xA1, 0xFE}},  // the supplementary set
    {{0xA1, 0xFE}, 2, {0xA1, 0xFE}, none},
};

constexpr sequence_form shift_jis_forms[] = {
    {seven_bit, 1, none, none},
    {{0xA1, 0xDF}, 1, none, none},  // half-width kana
    {{0x81, 0x9F}, 2, {0x40, 0x7E}, none},
    {{0x81, 0x9F}, 2, {0x80, 0xFC}, none},
    {{0xE0, 0xFC}, 2, {0x40, 0x7E}, none},
    {{0xE0, 0xFC}, 2, {0x80, 0xFC}, none},
};

bool begins_with(std::string_view text, const sequence_form &form) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    if (!form.lead.holds(byte(0)) || text.size() < form.length) {
        return false;
    }
    for (size_t i = 1; i < form.length; ++i) {
        if (!(i == 1 ? form.second : form.rest).holds(byte(i))) {
            return false;
        }
    }
    return true;
}

template <size_t Count>
bool is_made_of(std::string_view text, const sequence_form (&forms)[Count]) {
    while (!text.empty()) {
        const auto *form =
            std::find_if(std::begin(forms), std::end(forms),
                         [text](const sequence_form &f) { return begins_with(text, f); });
        if (form == std::end(forms)) {
            return false;
        }
        text.remove_prefix(form->length);
    }
    return true;
}

}  // namespace

bool is_ascii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool is_utf_8(std::string_view text) {
    return is_made_of(text, utf_8_forms);
}

bool is_euc_jp(std::string_view text) {
    return is_made_of(text, euc_jp_forms);
}

bool is_shift_jis(std::string_view text) {
    return is_made_of(text, shift_jis_forms);
}

}  // namespace runtime

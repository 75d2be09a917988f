// Hashes of one line, its newline included.
#pragma once

#include <bit>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "tdm_session/line_reader.h"

namespace tdm {

static_assert(std::endian::native == std::endian::little);

inline uint64_t load_word(const char *p) {
    uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

/// One step of the line hash.
constexpr uint64_t hash_byte(uint64_t h, unsigned char c) {
    return h + ((h << 7) ^ c);
}

/// hash_byte over the line. For bytes below 0x80 a step is h * 129 + c, so that eight of them are
/// one polynomial whose terms do not wait for each other; any other byte is taken alone, because
/// its top bit meets the lowest of h.
inline uint64_t exact_line_hash(std::string_view line) {
    constexpr uint64_t factor = 129;
    constexpr uint64_t factor2 = factor * factor;
    constexpr uint64_t factor4 = factor2 * factor2;
    constexpr uint64_t top_bits = 0x8080808080808080;
    constexpr uint64_t even_bytes = 0x00FF00FF00FF00FF;
    constexpr uint64_t even_pairs = 0x0000FFFF0000FFFF;
    constexpr uint64_t low_half = 0xFFFFFFFF;
    uint64_t h = 0;
    const char *p = line.data();
    const char *const end = p + line.size();
    while (end - p >= 8) {
        const uint64_t bytes = load_word(p);
        if ((bytes & top_bits) == 0) {
            const uint64_t pairs = (bytes & even_bytes) * factor + ((bytes >> 8) & even_bytes);
            const uint64_t fours = (pairs & even_pairs) * factor2 + ((pairs >> 16) & even_pairs);
            h = h * (factor4 * factor4) + (fours & low_half) * factor4 + (fours >> 32);
        } else {
            for (int i = 0; i < 8; ++i) {
                h = hash_byte(h, static_cast<unsigned char>(p[i]));
            }
        }
        p += 8;
    }
    for (; p < end; ++p) {
        h = hash_byte(h, static_cast<unsigned char>(*p));
    }
    return h;
}

/// The hash of the line without the white space at its ends and with one blank for each run of it
/// inside. What is white space is the current locale's to say.
inline uint64_t blank_line_hash(std::string_view line) {
    uint64_t h = 0;
    bool in_blank = true;
    bool pending = false;
    for (const char byte : line) {
        const auto c = static_cast<unsigned char>(byte);
        if (std::isspace(c) != 0) {
            pending = pending || !in_blank;
            in_blank = true;
            continue;
        }
        h = hash_byte(pending ? hash_byte(h, ' ') : h, c);
        in_blank = pending = false;
    }
    return h;
}

struct hash_key {
    uint64_t low, high;
};

/// A keyed hash (SipHash with one round a word and three at the end): nobody who does not know the
/// key can make two lines that agree in it.
inline uint64_t keyed_line_hash(const hash_key &key, std::string_view line) {
    uint64_t a = key.low ^ 0x736f6d6570736575;
    uint64_t b = key.high ^ 0x646f72616e646f6d;
    uint64_t c = key.low ^ 0x6c7967656e657261;
    uint64_t d = key.high ^ 0x7465646279746573;
    const auto mix = [&] {
        a += b;
        b = std::rotl(b, 13) ^ a;
        a = std::rotl(a, 32);
        c += d;
        d = std::rotl(d, 16) ^ c;
        a += d;
        d = std::rotl(d, 21) ^ a;
        c += b;
        b = std::rotl(b, 17) ^ c;
        c = std::rotl(c, 32);
    };
    const auto absorb = [&](uint64_t word) {
        d ^= word;
        mix();
        a ^= word;
    };
    const char *p = line.data();
    size_t left = line.size();
    for (; left >= 8; p += 8, left -= 8) {
        absorb(load_word(p));
    }
    uint64_t last = 0;
    std::memcpy(&last, p, left);
    absorb(last | static_cast<uint64_t>(line.size()) << 56);
    c ^= 0xFF;
    mix();
    mix();
    mix();
    return a ^ b ^ c ^ d;
}

/// keyed_line_hash of the line as blank_line_hash sees it.
inline uint64_t keyed_blank_line_hash(const hash_key &key, std::string_view line) {
    char text[longest_line + no_newline_prefix + 1];
    size_t length = 0;
    bool pending = false;
    for (const char byte : line.substr(0, sizeof text)) {
        if (std::isspace(static_cast<unsigned char>(byte)) != 0) {
            pending = length != 0;
            continue;
        }
        if (pending) {
            text[length++] = ' ';
            pending = false;
        }
        text[length++] = byte;
    }
    return keyed_line_hash(key, {text, length});
}

}  // namespace tdm

// The hash of a line, and the digits of a text's fingerprint. It tells texts apart that differ by
// accident; it is no protection against somebody who looks for two texts with the same one.
#ifndef NORVIK_LINE_HASH_H
#define NORVIK_LINE_HASH_H

#include <cstdint>
#include <cstring>
#include <string_view>

namespace norvik {

inline constexpr std::uint64_t fingerprint_prime = (std::uint64_t{1} << 61) - 1;
// The base of the fingerprint's digits: a text's value is taken times this for every line.
inline constexpr std::uint64_t fingerprint_base = 0x0b4e0ef37bc32127;

// 64 bits of a * b from both halves of the product.
inline std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
    __extension__ using wide = unsigned __int128;
    const wide product = static_cast<wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// Below fingerprint_prime. O(bytes / 8).
inline std::uint64_t hash_line(std::string_view line) {
    constexpr std::uint64_t word_key = 0x9e3779b97f4a7c15;
    constexpr std::uint64_t end_key = 0xd6e8feb86659fd93;
    std::uint64_t hash = line.size() ^ end_key;
    const char *at = line.data();
    std::size_t left = line.size();
    std::uint64_t word = 0;
    for (; left >= sizeof word; left -= sizeof word, at += sizeof word) {
        std::memcpy(&word, at, sizeof word);
        hash = mix(hash ^ word, word_key) + word;
    }
    word = 0;
    std::memcpy(&word, at, left);
    hash = mix(hash ^ word, end_key);
    hash = (hash & fingerprint_prime) + (hash >> 61);
    return hash >= fingerprint_prime ? hash - fingerprint_prime : hash;
}

}  // namespace norvik

#endif

// Hashing of keys. Keys come from files and are not random (line hashes agree modulo 128 whenever
// their bytes add up to the same), and whoever writes a file may choose them. So every key is
// mixed with a seed of its table that no file can know: the high and the low half of a 128-bit
// product folded into one another, twice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace runtime {

inline constexpr uint64_t first_factor = 0x9E3779B97F4A7C15U;
inline constexpr uint64_t second_factor = 0xD6E8FEB86659FD93U;

inline uint64_t fold_product(uint64_t a, uint64_t b) {
    __extension__ using wide = unsigned __int128;
    const wide product = static_cast<wide>(a) * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

inline uint64_t mix_word(uint64_t seed, uint64_t word) {
    return fold_product(fold_product(word ^ seed, first_factor) ^ seed, second_factor);
}

inline uint64_t mix_bytes(uint64_t seed, const void *bytes, size_t count) {
    const auto *at = static_cast<const unsigned char *>(bytes);
    uint64_t mixed = seed + count;
    uint64_t word = 0;
    for (; count > sizeof word; at += sizeof word, count -= sizeof word) {
        std::memcpy(&word, at, sizeof word);
        mixed = fold_product(word ^ mixed, first_factor) + seed;
    }
    word = 0;
    std::memcpy(&word, at, count);
    return mix_word(mixed, word);
}

/// A seed that differs between processes and tables.
uint64_t table_seed(const void *table);

}  // namespace runtime

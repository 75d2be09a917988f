#include <algorithm>
#include <cstring>
#include <ctime>
#include <random>
#include <vector>

#include "support.h"

namespace {

struct shape {
    uint32_t buckets, data_size, key_size, growth;
};

std::string key_of(uint32_t number, uint32_t key_size) {
    std::string key(key_size, '\0');
    std::memcpy(key.data(), &number, std::min<size_t>(sizeof number, key_size));
    return key;
}

TEST(HashTable, entries_stay_where_they_are_while_the_table_grows) {
    constexpr shape shapes[] = {
        {511, 32, 16, 5}, {1023, 12, 8, 4}, {0, 0, 5, 0}, {1, 100, 2, 1000}, {1U << 17, 132, 8, 2}};
    for (const auto [buckets, data_size, key_size, growth] : shapes) {
        SCOPED_TRACE(key_size);
        constexpr uint32_t count = 60000;
        hash_table *t = ht_flen_create(buckets, data_size, 1, key_size);
        ht_set_dynamic(t, growth);
        std::vector<void *> keys(count), data(count);
        for (uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(ht_flen_enter(t, key_of(i, key_size).data(), &keys[i], &data[i]), 0) << i;
            std::memset(data[i], static_cast<int>(i % 251), data_size);
        }
        void *key = nullptr, *found = nullptr;
        for (uint32_t i = 0; i < count; ++i) {
            const std::string wanted = key_of(i, key_size);
            ASSERT_EQ(ht_flen_enter(t, wanted.data(), nullptr, nullptr), 1) << i;
            ASSERT_EQ(ht_flen_lookup(t, wanted.data(), &key, &found), 1) << i;
            ASSERT_TRUE(key == keys[i] && found == data[i]) << i;
            ASSERT_EQ(std::memcmp(key, wanted.data(), key_size), 0);
            const std::string filled(data_size, static_cast<char>(i % 251));
            ASSERT_EQ(std::memcmp(found, filled.data(), data_size), 0);
            ASSERT_EQ(reinterpret_cast<uintptr_t>(found) % (data_size % 8 == 0 ? 8 : 4), 0U);
        }
        EXPECT_EQ(ht_flen_lookup(t, key_of(count, key_size).data(), &key, &found), 0);
        EXPECT_EQ(found, nullptr);
        ht_delete(&t);
    }
}

double seconds_to_enter(const std::vector<uint64_t> &keys) {
    hash_table *t = ht_int_create(127, 8);
    const std::clock_t begin = std::clock();
    for (const uint64_t key : keys) {
        EXPECT_EQ(ht_int_enter(t, key, nullptr, nullptr), 0) << key;
    }
    const std::clock_t end = std::clock();
    ht_delete(&t);
    return static_cast<double>(end - begin) / CLOCKS_PER_SEC;
}

TEST(HashTable, keys_that_agree_in_many_bits_take_no_longer_than_random_ones) {
    std::mt19937_64 random(7);
    std::vector<uint64_t> keys(100000);
    std::generate(keys.begin(), keys.end(), std::ref(random));
    // Chains of equal places would cost thousands of times as much.
    const double bound = 20 * seconds_to_enter(keys) + 0.1;
    for (const uint64_t step : {1ULL << 7, 1ULL << 16, 1ULL << 32, 1ULL << 47, (1ULL << 32) + 1}) {
        for (uint64_t i = 0; i < keys.size(); ++i) {
            keys[i] = i * step;
        }
        EXPECT_LT(seconds_to_enter(keys), bound) << "multiples of " << step;
    }
}

TEST(HashTable, texts_are_copied_and_compared_whole) {
    hash_table *t = ht_str_create(63, 0, 0);
    const std::string texts[] = {
        "", "a", "ab", "abcdefgh", "abcdefghi", std::string(20000, 'x'), std::string(20001, 'x')};
    for (std::string text : texts) {
        ASSERT_EQ(ht_str_lookup(t, text.c_str(), nullptr, nullptr), 0) << text.size();
        ASSERT_EQ(ht_str_enter(t, text.c_str(), nullptr, nullptr), 0) << text.size();
        std::fill(text.begin(), text.end(), '?');
    }
    for (const std::string &text : texts) {
        void *key = nullptr;
        EXPECT_EQ(ht_str_lookup(t, text.c_str(), &key, nullptr), 1) << text.size();
        EXPECT_EQ(static_cast<const char *>(key), text);
    }
    ht_delete(&t);
}

/// Enters 3000 texts and says how many were refused; -1 when there is no table.
int fill_text_table() {
    hash_table *t = ht_str_create(1, 16, 0);
    int refused = t == nullptr ? -1 : 0;
    for (int i = 0; t != nullptr && i < 3000; ++i) {
        const std::string text = std::string(static_cast<size_t>(i % 70), '.') + std::to_string(i);
        void *data = &refused;
        if (ht_str_enter(t, text.c_str(), nullptr, &data) != 0) {
            EXPECT_EQ(data, nullptr);
            EXPECT_EQ(ht_str_lookup(t, text.c_str(), nullptr, nullptr), 0);
            EXPECT_EQ(ht_str_enter(t, text.c_str(), nullptr, nullptr), 0) << "tried again";
            ++refused;
        }
    }
    ht_delete(&t);
    return refused;
}

TEST(HashTable, memory_refused_once_is_told_once_and_leaves_the_table_whole) {
    const long live = support::memory.live_blocks;
    int failed_creations = 0, failed_enters = 0;
    for (bool met_failure = true; met_failure;) {
        support::memory.requests_until_failure = failed_creations + failed_enters;
        const int refused = fill_text_table();
        met_failure = support::memory.requests_until_failure < 0;
        ASSERT_EQ(refused != 0, met_failure);
        ASSERT_LE(refused, 1);
        failed_creations += refused < 0 ? 1 : 0;
        failed_enters += refused > 0 ? 1 : 0;
        ASSERT_EQ(support::memory.live_blocks, live);
    }
    support::memory.requests_until_failure = -1;
    EXPECT_EQ(failed_creations, 3);
    EXPECT_GT(failed_enters, 10);
}

}  // namespace

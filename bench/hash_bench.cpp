// Entering keys into the three kinds of hash table; items are keys. The 8-byte keys resemble line
// hashes: their low bits take few values.
#include <benchmark/benchmark.h>
#include <norviktdm/runtime.h>

#include <string>
#include <vector>

namespace {

uint64_t like_a_line_hash(int64_t i) {
    const auto number = static_cast<uint64_t>(i);
    return (number * 2862933555777941757U) << 7 | (number & 15);
}

void count_keys(benchmark::State &state) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void enter_fixed_length(benchmark::State &state) {
    for (auto _ : state) {
        hash_table *table = ht_flen_create(1023, 12, 1, 8);
        ht_set_dynamic(table, 4);
        for (int64_t i = 0; i < state.range(0); ++i) {
            const uint64_t key = like_a_line_hash(i);
            void *stored = nullptr;
            void *data = nullptr;
            benchmark::DoNotOptimize(ht_flen_enter(table, &key, &stored, &data));
        }
        ht_delete(&table);
    }
    count_keys(state);
}

void enter_integers(benchmark::State &state) {
    for (auto _ : state) {
        hash_table *table = ht_int_create(127, 100);
        for (int64_t i = 0; i < state.range(0); ++i) {
            void *data = nullptr;
            benchmark::DoNotOptimize(ht_int_enter(table, static_cast<uint64_t>(i), nullptr, &data));
        }
        ht_delete(&table);
    }
    count_keys(state);
}

void enter_texts(benchmark::State &state) {
    std::vector<std::string> keys;
    for (int64_t i = 0; i < state.range(0); ++i) {
        keys.push_back("text " + std::to_string(i * 31));
    }
    for (auto _ : state) {
        hash_table *table = ht_str_create(63, 0, 0);
        for (const std::string &key : keys) {
            benchmark::DoNotOptimize(ht_str_enter(table, key.c_str(), nullptr, nullptr));
        }
        ht_delete(&table);
    }
    count_keys(state);
}

BENCHMARK(enter_fixed_length)->Arg(10000)->Arg(100000)->Arg(1000000);
BENCHMARK(enter_integers)->Arg(10000)->Arg(100000);
BENCHMARK(enter_texts)->Arg(10000)->Arg(100000);

}  // namespace

// Hash tables. Entries lie in chunks in the order of their creation and never move; an index of
// {hash, entry number} finds them. One implementation serves the three kinds of key:
//   - fixed length: the key's bytes lie in the entry,
//   - integer: a fixed-length key of 8 bytes,
//   - text: the entry holds a pointer to the text, which is copied into an area of the table.
// An entry is the key, padding and the data; one with 8 bytes of key and 16 of data takes 24 bytes,
// and 11 to 21 in the index. Each chunk is twice as large as the one before it, so that a table of
// any size takes few blocks from the heap.
#include <norviktdm/runtime.h>
#include <sys/auxv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "hash_index.h"
#include "hash_mix.h"

using runtime::find_slot;
using runtime::hash_index;
using runtime::index_slot;

struct hash_table {
    hash_index index;
    std::array<char *, 32> chunks;  // owned; chunk c has room for 1 << (first_chunk_bits + c)
    uint32_t chunk_count;
    uint32_t first_chunk_bits;
    uint32_t growth_shift;  // log2 of the factor by which a small index grows
    size_t key_size, data_offset, entry_size;
    uint64_t seed;
    mem_area *texts;  // the copies of text keys; null in the other kinds
};

namespace {

constexpr size_t first_chunk_bytes = size_t{8} << 10;
constexpr size_t text_block_bytes = 8000;
// Beyond this size the index only doubles, so that its free slots stay few.
constexpr uint32_t small_index_bits = 20;
constexpr uint32_t most_growth_shift = 4;

struct entry_result {
    int found;
    void *key, *data;
};

/// The strictest alignment, up to 8, that a record of `size` bytes can need.
size_t alignment_of(size_t size) {
    return size % 8 == 0 ? 8 : size_t{1} << std::countr_zero(size);
}

size_t round_up(size_t size, size_t alignment) {
    return (size + alignment - 1) / alignment * alignment;
}

void lay_out_entries(hash_table *t, size_t key_size, size_t data_size) {
    const size_t data_alignment = alignment_of(data_size);
    t->key_size = key_size;
    t->data_offset = round_up(key_size, data_alignment);
    t->entry_size = std::max<size_t>(
        round_up(t->data_offset + data_size, std::max(alignment_of(key_size), data_alignment)), 1);
    while (t->entry_size << (t->first_chunk_bits + 1) <= first_chunk_bytes) {
        ++t->first_chunk_bits;
    }
}

hash_table *create_table(uint32_t buckets, size_t data_size, size_t key_size) {
    auto *t = static_cast<hash_table *>(mem_calloc(1, sizeof(hash_table)));
    if (t == nullptr) {
        return nullptr;
    }
    lay_out_entries(t, key_size, data_size);
    t->growth_shift = 1;
    t->seed = runtime::table_seed(t);
    if (!make_index(&t->index, buckets)) {
        ht_delete(&t);
    }
    return t;
}

/// Where an entry lies: chunk c begins with entry ((1 << c) - 1) << first_chunk_bits.
struct entry_place {
    uint32_t chunk;
    size_t within;
};

entry_place place_of(const hash_table *t, uint32_t number) {
    const auto chunk =
        static_cast<uint32_t>(std::bit_width((number >> t->first_chunk_bits) + 1)) - 1;
    return {.chunk = chunk, .within = number - (((size_t{1} << chunk) - 1) << t->first_chunk_bits)};
}

char *entry_at(const hash_table *t, uint32_t number) {
    const entry_place place = place_of(t, number);
    return t->chunks[place.chunk] + place.within * t->entry_size;
}

bool add_chunk(hash_table *t) {
    const size_t entries = size_t{1} << (t->first_chunk_bits + t->chunk_count);
    auto *chunk = static_cast<char *>(mem_malloc(entries * t->entry_size));
    if (chunk == nullptr) {
        return false;
    }
    t->chunks[t->chunk_count++] = chunk;
    return true;
}

/// Makes room for one more entry in the chunks and in the index. Says whether the index was
/// rebuilt, because the slot where the entry belongs is then another one.
enum class room { ready, rebuilt, none };

room make_room(hash_table *t) {
    if (place_of(t, t->index.used).chunk == t->chunk_count && !add_chunk(t)) {
        return room::none;
    }
    if (t->index.used < t->index.limit) {
        return room::ready;
    }
    const uint32_t shift = t->index.bits < small_index_bits ? t->growth_shift : 1;
    return grow_index(&t->index, shift) ? room::rebuilt : room::none;
}

/// The three kinds of key: each hashes itself, compares itself with the key of an entry and stores
/// itself in a new one.
struct word_key {
    uint64_t word;

    uint64_t hash(const hash_table *t) const { return runtime::mix_word(t->seed, word); }
    bool equals(const hash_table *, const char *entry) const {
        uint64_t stored;
        std::memcpy(&stored, entry, sizeof stored);
        return stored == word;
    }
    bool store(hash_table *, char *entry) const {
        std::memcpy(entry, &word, sizeof word);
        return true;
    }
    static void *stored_key(char *entry) { return entry; }
};

struct bytes_key {
    const void *bytes;

    uint64_t hash(const hash_table *t) const {
        return runtime::mix_bytes(t->seed, bytes, t->key_size);
    }
    bool equals(const hash_table *t, const char *entry) const {
        return std::memcmp(entry, bytes, t->key_size) == 0;
    }
    bool store(hash_table *t, char *entry) const {
        std::memcpy(entry, bytes, t->key_size);
        return true;
    }
    static void *stored_key(char *entry) { return entry; }
};

struct text_key {
    const char *text;

    uint64_t hash(const hash_table *t) const {
        return runtime::mix_bytes(t->seed, text, std::strlen(text));
    }
    bool equals(const hash_table *, const char *entry) const {
        return std::strcmp(stored_text(entry), text) == 0;
    }
    bool store(hash_table *t, char *entry) const {
        char *copy = mem_area_strdup(t->texts, text);
        std::memcpy(entry, &copy, sizeof copy);
        return copy != nullptr;
    }
    static char *stored_text(const char *entry) {
        char *text;
        std::memcpy(&text, entry, sizeof text);
        return text;
    }
    static void *stored_key(char *entry) { return stored_text(entry); }
};

template <typename Key>
index_slot *slot_of(const hash_table *t, Key key, uint32_t tag) {
    return find_slot(&t->index, tag,
                     [t, key](uint32_t number) { return key.equals(t, entry_at(t, number)); });
}

template <typename Key>
uint32_t tag_of(const hash_table *t, Key key) {
    return static_cast<uint32_t>(key.hash(t) >> 32);
}

int give_entry(int found, void *key, void *data, void **stored_key, void **stored_data) {
    if (stored_key != nullptr) {
        *stored_key = key;
    }
    if (stored_data != nullptr) {
        *stored_data = data;
    }
    return found;
}

template <typename Key>
int give_entry(const hash_table *t, int found, uint32_t number, void **stored_key, void **data) {
    char *entry = entry_at(t, number);
    return give_entry(found, Key::stored_key(entry), entry + t->data_offset, stored_key, data);
}

constexpr int not_entered = -1;

template <typename Key>
int enter(hash_table *t, Key key, void **stored_key, void **data) {
    const uint32_t tag = tag_of(t, key);
    index_slot *slot = slot_of(t, key, tag);
    if (slot->entry_plus_one != 0) {
        return give_entry<Key>(t, 1, slot->entry_plus_one - 1, stored_key, data);
    }
    const room found = make_room(t);
    const uint32_t number = t->index.used;
    if (found == room::none || !key.store(t, entry_at(t, number))) {
        return give_entry(not_entered, nullptr, nullptr, stored_key, data);
    }
    if (found == room::rebuilt) {
        slot = slot_of(t, key, tag);
    }
    *slot = {.tag = tag, .entry_plus_one = number + 1};
    ++t->index.used;
    return give_entry<Key>(t, 0, number, stored_key, data);
}

template <typename Key>
int look_up(const hash_table *t, Key key, void **stored_key, void **data) {
    const index_slot *slot = slot_of(t, key, tag_of(t, key));
    return slot->entry_plus_one == 0
               ? give_entry(0, nullptr, nullptr, stored_key, data)
               : give_entry<Key>(t, 1, slot->entry_plus_one - 1, stored_key, data);
}

uint64_t word_at(const void *key) {
    uint64_t word;
    std::memcpy(&word, key, sizeof word);
    return word;
}

}  // namespace

uint64_t runtime::table_seed(const void *table) {
    uint64_t seed = reinterpret_cast<uintptr_t>(table);
    const auto *random = reinterpret_cast<const void *>(getauxval(AT_RANDOM));
    if (random != nullptr) {
        seed = mix_word(word_at(random), seed);
    }
    return seed;
}

hash_table *ht_flen_create(uint32_t buckets, uint32_t data_size, int, uint32_t key_size) {
    return create_table(buckets, data_size, key_size);
}

int ht_flen_enter(hash_table *t, const void *key, void **stored_key, void **data) {
    return t->key_size == sizeof(uint64_t) ? enter(t, word_key{word_at(key)}, stored_key, data)
                                           : enter(t, bytes_key{key}, stored_key, data);
}

int ht_flen_lookup(hash_table *t, const void *key, void **stored_key, void **data) {
    return t->key_size == sizeof(uint64_t) ? look_up(t, word_key{word_at(key)}, stored_key, data)
                                           : look_up(t, bytes_key{key}, stored_key, data);
}

hash_table *ht_int_create(uint32_t buckets, uint32_t data_size) {
    return create_table(buckets, data_size, sizeof(uint64_t));
}

int ht_int_enter(hash_table *t, uint64_t key, void **stored_key, void **data) {
    return enter(t, word_key{key}, stored_key, data);
}

int ht_int_lookup(hash_table *t, uint64_t key, void **stored_key, void **data) {
    return look_up(t, word_key{key}, stored_key, data);
}

hash_table *ht_str_create(uint32_t buckets, uint32_t data_size, int) {
    hash_table *t = create_table(buckets, data_size, sizeof(char *));
    if (t != nullptr && (t->texts = mem_area_create(text_block_bytes)) == nullptr) {
        ht_delete(&t);
    }
    return t;
}

int ht_str_enter(hash_table *t, const char *key, void **stored_key, void **data) {
    return enter(t, text_key{key}, stored_key, data);
}

int ht_str_lookup(hash_table *t, const char *key, void **stored_key, void **data) {
    return look_up(t, text_key{key}, stored_key, data);
}

void ht_set_dynamic(hash_table *t, uint32_t growth_factor) {
    if (t == nullptr) {
        return;
    }
    const auto shift = static_cast<uint32_t>(std::bit_width(growth_factor));
    t->growth_shift = std::clamp(shift, 2U, most_growth_shift + 1) - 1;
}

void ht_delete(hash_table **t) {
    if (t == nullptr || *t == nullptr) {
        return;
    }
    for (uint32_t i = 0; i < (*t)->chunk_count; ++i) {
        mem_free((*t)->chunks[i]);
    }
    free_index(&(*t)->index);
    mem_area_delete(&(*t)->texts);
    mem_free(*t);
    *t = nullptr;
}

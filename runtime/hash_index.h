// The index of a hash table: an open-addressed array of {32 bits of the hash, entry number}. It
// knows nothing of keys: whoever searches says which entry matches. A slot's place follows from
// the high bits of its tag, so the index is rebuilt without a look at the entries.
#pragma once

#include <norviktdm/runtime.h>

#include <cstdint>

namespace runtime {

struct index_slot {
    uint32_t tag;
    uint32_t entry_plus_one;  // 0 = the slot is free
};

struct hash_index {
    index_slot *slots;  // owned; 1 << bits of them, at least one always free
    uint32_t bits;
    uint32_t used;
    uint32_t limit;  // used may not exceed it: three quarters of the slots
};

inline constexpr uint32_t least_index_bits = 4;
inline constexpr uint32_t most_index_bits = 31;

/// Makes an index that takes at least `entries` entries before it must grow; false when there is
/// no memory for it.
[[nodiscard]] bool make_index(hash_index *index, uint32_t entries);

/// Multiplies the slots by 1 << `shift`; false when there is no memory, the index then unchanged.
[[nodiscard]] bool grow_index(hash_index *index, uint32_t shift);

void free_index(hash_index *index);

/// The slot whose entry has this tag and satisfies `matches(entry number)`, or the free slot where
/// such an entry belongs.
template <typename Matches>
index_slot *find_slot(const hash_index *index, uint32_t tag, Matches matches) {
    const uint32_t mask = (1U << index->bits) - 1;
    for (uint32_t place = tag >> (32 - index->bits);; place = (place + 1) & mask) {
        index_slot *slot = &index->slots[place];
        if (slot->entry_plus_one == 0 || (slot->tag == tag && matches(slot->entry_plus_one - 1))) {
            return slot;
        }
    }
}

}  // namespace runtime

#include "hash_index.h"

#include <algorithm>

namespace runtime {
namespace {

uint32_t limit_of(uint32_t bits) {
    return (1U << bits) / 4 * 3;
}

index_slot *take_slots(uint32_t bits) {
    return static_cast<index_slot *>(mem_calloc(1, (size_t{1} << bits) * sizeof(index_slot)));
}

}  // namespace

bool make_index(hash_index *index, uint32_t entries) {
    uint32_t bits = least_index_bits;
    while (bits < most_index_bits && limit_of(bits) < entries) {
        ++bits;
    }
    *index = {.slots = take_slots(bits), .bits = bits, .used = 0, .limit = limit_of(bits)};
    return index->slots != nullptr;
}

bool grow_index(hash_index *index, uint32_t shift) {
    const uint32_t bits = std::min(index->bits + shift, most_index_bits);
    index_slot *slots = bits > index->bits ? take_slots(bits) : nullptr;
    if (slots == nullptr) {
        return false;
    }
    const hash_index grown{
        .slots = slots, .bits = bits, .used = index->used, .limit = limit_of(bits)};
    const index_slot *end = index->slots + (size_t{1} << index->bits);
    for (const index_slot *slot = index->slots; slot != end; ++slot) {
        if (slot->entry_plus_one != 0) {
            *find_slot(&grown, slot->tag, [](uint32_t) { return false; }) = *slot;
        }
    }
    mem_free(index->slots);
    *index = grown;
    return true;
}

void free_index(hash_index *index) {
    mem_free(index->slots);
    index->slots = nullptr;
}

}  // namespace runtime

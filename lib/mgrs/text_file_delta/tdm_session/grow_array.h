// The doubling array of the library: a block of three header words followed by the elements; the
// handle is the address of element 0.
#pragma once

#include <norviktdm/runtime.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tdm {

struct grow_array_header {
    uint64_t capacity;      // in elements
    uint64_t element_size;  // in bytes
    uint64_t owned;         // 1: the block is freed with the array
};

/// Slack that every block has beyond header and elements, so that sizes are those of the format.
inline constexpr size_t grow_array_overhead = 32;
static_assert(sizeof(grow_array_header) <= grow_array_overhead);

template <typename T>
grow_array_header *array_header(T *elements) {
    return reinterpret_cast<grow_array_header *>(elements) - 1;
}

/// A new zeroed array, or null when memory is short (nothing is reported).
template <typename T>
T *array_create(uint64_t capacity) {
    if (capacity > (SIZE_MAX - grow_array_overhead) / sizeof(T)) {
        return nullptr;
    }
    auto *header =
        static_cast<grow_array_header *>(mem_calloc(1, capacity * sizeof(T) + grow_array_overhead));
    if (header == nullptr) {
        return nullptr;
    }
    *header = {.capacity = capacity, .element_size = sizeof(T), .owned = 1};
    return reinterpret_cast<T *>(header + 1);
}

template <typename T>
void array_release(T **elements) {
    if (*elements != nullptr && array_header(*elements)->owned == 1) {
        mem_free(array_header(*elements));
    }
    *elements = nullptr;
}

/// Makes room for index `i`. When memory is short the array is released, its handle becomes null
/// and the result is 1; nothing is reported.
template <typename T>
[[nodiscard]] int array_reserve(T **elements, uint64_t i) {
    const uint64_t capacity = array_header(*elements)->capacity;
    if (i < capacity) {
        return 0;
    }
    T *grown = array_create<T>(i + 1 > 2 * capacity ? i + 1 : 2 * capacity);
    if (grown != nullptr) {
        std::memcpy(static_cast<void *>(grown), *elements, capacity * sizeof(T));
    }
    array_release(elements);
    *elements = grown;
    return grown == nullptr ? 1 : 0;
}

}  // namespace tdm

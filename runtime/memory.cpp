// Memory: the heap under its own names, so that a host can count, limit or fail every request.
// A request for no bytes yields a block of one byte: a null result always means failure.
#include <norviktdm/runtime.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

void *mem_malloc(size_t size) {
    return std::malloc(std::max<size_t>(size, 1));
}

void *mem_calloc(size_t count, size_t size) {
    const bool empty = count == 0 || size == 0;
    return std::calloc(empty ? 1 : count, empty ? 1 : size);
}

void *mem_realloc(void *block, size_t size) {
    return std::realloc(block, std::max<size_t>(size, 1));
}

void mem_free(void *block) {
    std::free(block);
}

char *mem_strdup(const char *text) {
    if (text == nullptr) {
        return nullptr;
    }
    const size_t bytes = std::strlen(text) + 1;
    auto *copy = static_cast<char *>(mem_malloc(bytes));
    return copy == nullptr ? nullptr : static_cast<char *>(std::memcpy(copy, text, bytes));
}

#include <cstdlib>

#include "support.h"

support::memory_account support::memory{.live_blocks = 0, .requests_until_failure = -1};

namespace {

void *counted(void *(*take)(size_t), size_t size) {
    long &left = support::memory.requests_until_failure;
    void *block = left >= 0 && left-- == 0 ? nullptr : take(size);
    support::memory.live_blocks += block != nullptr ? 1 : 0;
    return block;
}

}  // namespace

void *mem_malloc(size_t size) {
    return counted(std::malloc, size);
}

void *mem_calloc(size_t count, size_t size) {
    return counted([](size_t bytes) { return std::calloc(1, bytes); }, count * size);
}

void mem_free(void *block) {
    support::memory.live_blocks -= block != nullptr ? 1 : 0;
    std::free(block);
}

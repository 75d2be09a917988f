#include "failing_allocator.h"

#include <norviktdm/runtime.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "out_of_memory.h"

allocator_state allocator;

namespace {

bool fails() {
    allocator_state &a = allocator;
    a.count += a.counts ? 1 : 0;
    return a.counts && a.fails_at != 0 && a.count >= a.fails_at &&
           (a.fails_on || a.count == a.fails_at);
}

void *noted(void *block) {
    if (block == nullptr) {
        norvik::note_out_of_memory();
    }
    return block;
}

}  // namespace

void *operator new(size_t size) {
    for (;;) {
        if (void *block = fails() ? nullptr : std::malloc(std::max<size_t>(size, 1))) {
            return block;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc();
        }
        handler();
    }
}

void *operator new(size_t size, const std::nothrow_t &) noexcept {
    return fails() ? nullptr : std::malloc(std::max<size_t>(size, 1));
}

void operator delete(void *block) noexcept {
    std::free(block);
}

void operator delete(void *block, size_t) noexcept {
    std::free(block);
}

void *mem_malloc(size_t size) {
    return noted(fails() ? nullptr : std::malloc(std::max<size_t>(size, 1)));
}

void *mem_calloc(size_t count, size_t size) {
    return noted(fails() ? nullptr : std::calloc(std::max<size_t>(count * size, 1), 1));
}

void *mem_realloc(void *block, size_t size) {
    return noted(fails() ? nullptr : std::realloc(block, std::max<size_t>(size, 1)));
}

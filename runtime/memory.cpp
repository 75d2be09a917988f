// Memory: the heap under its own names, so that a host can count, limit or fail every request.
// A request for no bytes yields a block of one byte: a null result always means failure.
// Large blocks ask the kernel for huge pages: a table of some ten megabytes spends more time on the
// faults and address translations of its small pages than on its contents.
#include <norviktdm/runtime.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr uintptr_t huge_page = uintptr_t{2} << 20;

/// Asks for huge pages where the block holds any whole. Only advice: its failure changes nothing.
void *advise_huge_pages(void *block, size_t size) {
    if (block != nullptr && size >= huge_page) {
        const auto begin = reinterpret_cast<uintptr_t>(block);
        const uintptr_t first = (begin + huge_page - 1) / huge_page * huge_page;
        const uintptr_t end = (begin + size) / huge_page * huge_page;
        if (first < end) {
            const int reason = errno;
            madvise(reinterpret_cast<void *>(first), end - first, MADV_HUGEPAGE);
            errno = reason;
        }
    }
    return block;
}

}  // namespace

void *mem_malloc(size_t size) {
    return advise_huge_pages(std::malloc(std::max<size_t>(size, 1)), size);
}

void *mem_calloc(size_t count, size_t size) {
    const bool empty = count == 0 || size == 0;
    return advise_huge_pages(std::calloc(empty ? 1 : count, empty ? 1 : size), count * size);
}

void *mem_realloc(void *block, size_t size) {
    return advise_huge_pages(std::realloc(block, std::max<size_t>(size, 1)), size);
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

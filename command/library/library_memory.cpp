// The library's memory is the runtime's, but a request that fails is noted: the library tells some
// of them in words of its own, and some not at all.
#include <dlfcn.h>
#include <norviktdm/runtime.h>

#include <cstddef>

#include "out_of_memory.h"

namespace {

// The runtime's procedure behind ours of the same name.
template <typename Procedure>
Procedure *behind(const char *name) {
    return reinterpret_cast<Procedure *>(dlsym(RTLD_NEXT, name));
}

void *noted(void *block) {
    if (block == nullptr) {
        norvik::note_out_of_memory();
    }
    return block;
}

}  // namespace

void *mem_malloc(std::size_t size) {
    static auto *const next = behind<void *(std::size_t)>("mem_malloc");
    return noted(next(size));
}

void *mem_calloc(std::size_t count, std::size_t size) {
    static auto *const next = behind<void *(std::size_t, std::size_t)>("mem_calloc");
    return noted(next(count, size));
}

void *mem_realloc(void *block, std::size_t size) {
    static auto *const next = behind<void *(void *, std::size_t)>("mem_realloc");
    return noted(next(block, size));
}

// Memory areas: texts copied one behind the other into blocks, all freed at once. A text too long
// for a block of the area's size gets a block of its own behind the current one, so that the
// current block's free bytes are not lost.
#include <norviktdm/runtime.h>

#include <cstring>

namespace {

struct area_block {
    area_block *next;
};

char *bytes_of(area_block *block) {
    return reinterpret_cast<char *>(block + 1);
}

}  // namespace

struct mem_area {
    area_block *blocks;  // the block being filled first
    char *free_bytes;    // in the first block; meaningless while free_count is 0
    size_t free_count;
    size_t block_size;  // bytes for texts in an ordinary block
};

namespace {

area_block *take_block(size_t size) {
    return static_cast<area_block *>(mem_malloc(sizeof(area_block) + size));
}

char *store_in_own_block(mem_area *area, const char *text, size_t bytes) {
    area_block *block = take_block(bytes);
    if (block == nullptr) {
        return nullptr;
    }
    if (area->blocks == nullptr) {
        block->next = nullptr;
        area->blocks = block;
    } else {
        block->next = area->blocks->next;
        area->blocks->next = block;
    }
    return static_cast<char *>(std::memcpy(bytes_of(block), text, bytes));
}

bool start_block(mem_area *area) {
    area_block *block = take_block(area->block_size);
    if (block == nullptr) {
        return false;
    }
    block->next = area->blocks;
    area->blocks = block;
    area->free_bytes = bytes_of(block);
    area->free_count = area->block_size;
    return true;
}

}  // namespace

mem_area *mem_area_create(size_t block_size) {
    auto *area = static_cast<mem_area *>(mem_malloc(sizeof(mem_area)));
    if (area != nullptr) {
        *area = {
            .blocks = nullptr, .free_bytes = nullptr, .free_count = 0, .block_size = block_size};
    }
    return area;
}

char *mem_area_strdup(mem_area *area, const char *text) {
    const size_t bytes = std::strlen(text) + 1;
    if (bytes > area->free_count) {
        if (bytes > area->block_size / 4) {
            return store_in_own_block(area, text, bytes);
        }
        if (!start_block(area)) {
            return nullptr;
        }
    }
    char *copy = area->free_bytes;
    area->free_bytes += bytes;
    area->free_count -= bytes;
    return static_cast<char *>(std::memcpy(copy, text, bytes));
}

void mem_area_delete(mem_area **area) {
    if (area == nullptr || *area == nullptr) {
        return;
    }
    for (area_block *block = (*area)->blocks; block != nullptr;) {
        area_block *next = block->next;
        mem_free(block);
        block = next;
    }
    mem_free(*area);
    *area = nullptr;
}

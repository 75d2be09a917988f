// Reading a file's lines from the last to the first. Blocks are read at their place in the file
// beside the stream, whose own position and buffer stay untouched.
#include <norviktdm/runtime.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

struct bw_reader {
    int descriptor;      // the stream's
    off_t left;          // bytes of the file not handed over yet, all of them before this offset
    off_t block_offset;  // where the block begins in the file; its bytes reach at least to `left`
    char *block;         // owned
    size_t capacity;     // bytes of the block
};

namespace {

constexpr size_t block_size = size_t{64} << 10;

/// Reads the block that ends at `left`; false with errno set.
bool fill_block(bw_reader *reader) {
    const size_t want = std::min(static_cast<size_t>(reader->left), reader->capacity);
    reader->block_offset = reader->left - static_cast<off_t>(want);
    for (size_t have = 0; have < want;) {
        const ssize_t got = pread(reader->descriptor, reader->block + have, want - have,
                                  reader->block_offset + static_cast<off_t>(have));
        if (got > 0) {
            have += static_cast<size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            // The file has become shorter, or cannot be read: nothing in the block counts.
            errno = got == 0 ? EIO : errno;
            reader->block_offset = reader->left;
            return false;
        }
    }
    return true;
}

bool widen_block(bw_reader *reader, size_t capacity) {
    void *grown = mem_realloc(reader->block, capacity);
    if (grown == nullptr) {
        return false;
    }
    reader->block = static_cast<char *>(grown);
    reader->capacity = capacity;
    return true;
}

/// The length of the piece that ends at `left`: its line from the start, or as much as `most`
/// allows. Looks only at what the block holds; 0 when the line begins before the block.
size_t piece_in_block(const bw_reader *reader, size_t most) {
    const auto held = static_cast<size_t>(reader->left - reader->block_offset);
    const size_t searched = std::min(held, most);
    if (searched == 0) {
        return 0;
    }
    const char *end = reader->block + held;
    // The last byte may be the line's own newline; the one before the line is looked for.
    const void *newline = memrchr(end - searched, '\n', searched - 1);
    if (newline != nullptr) {
        return static_cast<size_t>(end - static_cast<const char *>(newline) - 1);
    }
    return searched == most || reader->block_offset == 0 ? searched : 0;
}

char *give_result(char *result, int stored, int nothing_left, int *stored_out, int *at_start) {
    if (stored_out != nullptr) {
        *stored_out = stored;
    }
    if (at_start != nullptr) {
        *at_start = nothing_left;
    }
    return result;
}

}  // namespace

bw_reader *futil_bw_start(FILE *stream, int) {
    struct stat st;
    if (fstat(fileno(stream), &st) != 0) {
        return nullptr;
    }
    if (!S_ISREG(st.st_mode)) {
        errno = ESPIPE;
        return nullptr;
    }
    auto *reader = static_cast<bw_reader *>(mem_malloc(sizeof(bw_reader)));
    if (reader == nullptr) {
        return nullptr;
    }
    *reader = {.descriptor = fileno(stream),
               .left = st.st_size,
               .block_offset = st.st_size,
               .block = nullptr,
               .capacity = 0};
    if (!widen_block(reader, block_size)) {
        mem_free(reader);
        return nullptr;
    }
    return reader;
}

char *futil_bw_fgets(char *buffer, int size, bw_reader *reader, int *stored, int *at_start) {
    if (size < 2) {
        errno = EINVAL;
        return give_result(nullptr, 0, 0, stored, at_start);
    }
    if (reader->left == 0) {
        return give_result(nullptr, 0, 1, stored, at_start);
    }
    const auto most = static_cast<size_t>(size) - 1;
    size_t length = piece_in_block(reader, most);
    if (length == 0) {
        if ((most > reader->capacity && !widen_block(reader, most)) || !fill_block(reader)) {
            return give_result(nullptr, 0, 0, stored, at_start);
        }
        length = piece_in_block(reader, most);
    }
    reader->left -= static_cast<off_t>(length);
    std::memcpy(buffer, reader->block + (reader->left - reader->block_offset), length);
    buffer[length] = '\0';
    return give_result(buffer, static_cast<int>(length), 0, stored, at_start);
}

void futil_bw_stop(bw_reader *reader) {
    if (reader != nullptr) {
        mem_free(reader->block);
        mem_free(reader);
    }
}

#include "faulty_services.h"

#include <dlfcn.h>
#include <norviktdm/runtime.h>

#include <cerrno>
#include <utility>

namespace {

struct {
    bool armed = false, from_then_on = false, met = false;
    test::service which{};
    int64_t calls_left = 0;
} fault;

int64_t blocks = 0;
test::conversion convert;

/// Counts a call of the service; true when it is to fail.
bool fails(test::service which, int error) {
    if (!fault.armed || fault.which != which) {
        return false;
    }
    const int64_t left = fault.calls_left--;
    if (left != 0 && (left > 0 || !fault.from_then_on)) {
        return false;
    }
    fault.met = true;
    errno = error;
    return true;
}

template <typename Function>
Function *next(Function * /*own*/, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void *count_block(void *block) {
    blocks += block != nullptr ? 1 : 0;
    return block;
}

}  // namespace

namespace test {

failing::failing(service which, int64_t n, bool from_then_on) {
    fault = {true, from_then_on, false, which, n};
}
failing::~failing() {
    fault.armed = false;
}
bool failing::met() {
    return fault.met;
}
int64_t live_blocks() {
    return blocks;
}
void set_conversion(conversion replacement) {
    convert = std::move(replacement);
}

}  // namespace test

void *mem_malloc(size_t size) {
    static const auto real = next(&mem_malloc, "mem_malloc");
    return fails(test::service::memory, ENOMEM) ? nullptr : count_block(real(size));
}
void *mem_calloc(size_t count, size_t size) {
    static const auto real = next(&mem_calloc, "mem_calloc");
    return fails(test::service::memory, ENOMEM) ? nullptr : count_block(real(count, size));
}
void *mem_realloc(void *block, size_t size) {
    static const auto real = next(&mem_realloc, "mem_realloc");
    if (fails(test::service::memory, ENOMEM)) {
        return nullptr;
    }
    return block == nullptr ? count_block(real(block, size)) : real(block, size);
}
void mem_free(void *block) {
    static const auto real = next(&mem_free, "mem_free");
    blocks -= block != nullptr ? 1 : 0;
    real(block);
}
int ht_flen_enter(hash_table *t, const void *key, void **stored_key, void **data) {
    static const auto real = next(&ht_flen_enter, "ht_flen_enter");
    if (fails(test::service::hash_enter, ENOMEM)) {
        *stored_key = *data = nullptr;
        return -1;
    }
    return real(t, key, stored_key, data);
}
int futil_stat(const char *path, int one, struct stat *st) {
    static const auto real = next(&futil_stat, "futil_stat");
    return fails(test::service::stat, EIO) ? -1 : real(path, one, st);
}
FILE *futil_tmpfile_binary(void *a, void *b, void *c, char *name, size_t name_size) {
    static const auto real = next(&futil_tmpfile_binary, "futil_tmpfile_binary");
    return fails(test::service::temporary_file, ENOSPC) ? nullptr : real(a, b, c, name, name_size);
}
int sys_fsync_stream(FILE *stream) {
    static const auto real = next(&sys_fsync_stream, "sys_fsync_stream");
    return fails(test::service::sync, EIO) ? -1 : real(stream);
}
int sys_nfs_flush(const char *path) {
    static const auto real = next(&sys_nfs_flush, "sys_nfs_flush");
    return fails(test::service::nfs_flush, EIO) ? -1 : real(path);
}
int cs_convert_encodings(void *converter, uint32_t from, uint32_t to, const char *text, size_t len,
                         char *out, size_t out_capacity, uint64_t *out_len) {
    static const auto real = next(&cs_convert_encodings, "cs_convert_encodings");
    return convert ? convert(out, out_capacity, out_len)
                   : real(converter, from, to, text, len, out, out_capacity, out_len);
}

// A regular file is mapped: its bytes cost no memory of ours, and are those of the file, so that
// reading one that is cut meanwhile raises SIGBUS. A stream is read into a buffer that doubles; its
// bytes are moved a constant number of times on average.
#include "file_bytes.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "failure.h"
#include "system_calls.h"

namespace norvik {

std::error_code read_to_end(int descriptor, std::size_t expected, std::string *text,
                            std::uint64_t most) {
    const std::uint64_t bound = std::max<std::uint64_t>(expected, most);
    // One byte more than expected: the end is seen without growing.
    text->resize(std::max<std::size_t>(expected + 1, 4096));
    std::size_t size = 0;
    for (;;) {
        if (size == text->size()) {
            text->resize(std::min<std::uint64_t>(text->size() * 2, bound + 1));
        }
        const ssize_t got = sys::read(descriptor, text->data() + size, text->size() - size);
        if (got < 0 && errno != EINTR) {
            return last_error();
        }
        if (got == 0) {
            text->resize(size);
            return {};
        }
        size += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
        if (size > bound) {
            return system_error(EFBIG);
        }
    }
}

file_bytes::file_bytes(file_bytes &&other) noexcept {
    *this = std::move(other);
}

file_bytes &file_bytes::operator=(file_bytes &&other) noexcept {
    if (this != &other) {
        release();
        mapping_ = std::exchange(other.mapping_, nullptr);
        mapped_ = std::exchange(other.mapped_, 0);
        copy_ = std::move(other.copy_);
    }
    return *this;
}

file_bytes::~file_bytes() {
    release();
}

void file_bytes::release() {
    if (mapping_ != nullptr) {
        munmap(mapping_, mapped_);
        mapping_ = nullptr;
    }
}

std::error_code file_bytes::load(int descriptor) {
    release();
    copy_.clear();
    struct stat facts {};
    if (sys::fstat(descriptor, &facts) != 0) {
        return last_error();
    }
    if (S_ISDIR(facts.st_mode)) {
        return system_error(EISDIR);
    }
    if (!S_ISREG(facts.st_mode) || facts.st_size == 0) {
        return read_to_end(descriptor, 0, &copy_);
    }
    mapped_ = static_cast<std::size_t>(facts.st_size);
    void *mapping = sys::map(descriptor, mapped_);
    if (mapping == MAP_FAILED) {
        return last_error();
    }
    mapping_ = mapping;
    return {};
}

std::string_view file_bytes::view() const {
    return mapping_ == nullptr ? std::string_view(copy_)
                               : std::string_view(static_cast<const char *>(mapping_), mapped_);
}

}  // namespace norvik

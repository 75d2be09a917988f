// With /proc a path costs nothing, the bytes are read and written where they are. Without it they
// are copied once, by 64 KiB at a time.
#include "descriptor_path.h"

#include <linux/magic.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cerrno>

#include "failure.h"
#include "system_calls.h"

namespace norvik {

namespace {

constexpr const char *own_folder = "/proc/self/fd/";

}  // namespace

bool descriptors_have_paths() {
    static const bool have = [] {
        struct statfs facts {};
        return statfs(own_folder, &facts) == 0 && facts.f_type == PROC_SUPER_MAGIC;
    }();
    return have;
}

std::string own_path(int descriptor) {
    return own_folder + std::to_string(descriptor);
}

std::error_code write_bytes(int to, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = sys::write(to, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return last_error();
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return {};
}

std::error_code copy_bytes(int from, int to, std::uint64_t most) {
    char buffer[1 << 16];
    for (;;) {
        const ssize_t size = sys::read(from, buffer, sizeof buffer);
        if (size == 0) {
            return {};
        }
        if (size < 0 && errno != EINTR) {
            return last_error();
        }
        const auto got = static_cast<std::size_t>(std::max<ssize_t>(size, 0));
        if (got > most) {
            return system_error(EFBIG);
        }
        most -= got;
        if (const std::error_code error = write_bytes(to, {buffer, got}); error) {
            return error;
        }
    }
}

std::error_code descriptor_path::read_from(int descriptor) {
    target_ = -1;
    if (descriptors_have_paths()) {
        path_ = own_path(descriptor);
        return {};
    }
    std::error_code error = copy_.create();
    path_ = copy_.path();
    // Where the descriptor stands is its owner's affair; what has no start is read from there.
    const off_t place = sys::lseek(descriptor, 0, SEEK_CUR);
    if (!error && place >= 0 && sys::lseek(descriptor, 0, SEEK_SET) != 0) {
        error = last_error();
    }
    error = error ? error : copy_bytes(descriptor, copy_.descriptor());
    if (!error && place >= 0 && sys::lseek(descriptor, place, SEEK_SET) != place) {
        error = last_error();
    }
    return error;
}

std::error_code descriptor_path::write_to(int descriptor) {
    if (sys::ftruncate(descriptor, 0) != 0 || sys::lseek(descriptor, 0, SEEK_SET) != 0) {
        return last_error();
    }
    target_ = -1;
    if (descriptors_have_paths()) {
        path_ = own_path(descriptor);
        return {};
    }
    const std::error_code error = copy_.create();
    path_ = copy_.path();
    target_ = descriptor;
    return error;
}

std::error_code descriptor_path::finish_writing() {
    if (target_ < 0) {
        return {};
    }
    const std::error_code error = sys::lseek(copy_.descriptor(), 0, SEEK_SET) != 0
                                      ? last_error()
                                      : copy_bytes(copy_.descriptor(), target_);
    copy_ = {};
    target_ = -1;
    return error;
}

}  // namespace norvik

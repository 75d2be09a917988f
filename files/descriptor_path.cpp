#include "descriptor_path.h"

#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

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

int write_bytes(int to, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(to, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
    return 0;
}

int copy_bytes(int from, int to) {
    char buffer[1 << 16];
    for (;;) {
        const ssize_t size = read(from, buffer, sizeof buffer);
        if (size == 0) {
            return 0;
        }
        if (size < 0 && errno != EINTR) {
            return errno;
        }
        const auto got = static_cast<size_t>(std::max<ssize_t>(size, 0));
        if (const int error = write_bytes(to, {buffer, got}); error != 0) {
            return error;
        }
    }
}

int descriptor_path::read_from(int descriptor) {
    target_ = -1;
    if (descriptors_have_paths()) {
        path_ = own_path(descriptor);
        return 0;
    }
    int error = copy_.create();
    path_ = copy_.path();
    // Where the descriptor stands is its owner's affair; what has no start is read from there.
    const off_t place = lseek(descriptor, 0, SEEK_CUR);
    if (error == 0 && place >= 0 && lseek(descriptor, 0, SEEK_SET) != 0) {
        error = errno;
    }
    error = error != 0 ? error : copy_bytes(descriptor, copy_.descriptor());
    if (error == 0 && place >= 0 && lseek(descriptor, place, SEEK_SET) != place) {
        error = errno;
    }
    return error;
}

int descriptor_path::write_to(int descriptor) {
    if (ftruncate(descriptor, 0) != 0 || lseek(descriptor, 0, SEEK_SET) != 0) {
        return errno;
    }
    target_ = -1;
    if (descriptors_have_paths()) {
        path_ = own_path(descriptor);
        return 0;
    }
    const int error = copy_.create();
    path_ = copy_.path();
    target_ = descriptor;
    return error;
}

int descriptor_path::finish_writing() {
    if (target_ < 0) {
        return 0;
    }
    const int error = lseek(copy_.descriptor(), 0, SEEK_SET) != 0
                          ? errno
                          : copy_bytes(copy_.descriptor(), target_);
    copy_ = {};
    target_ = -1;
    return error;
}

}  // namespace norvik

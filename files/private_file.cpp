#include "private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace norvik {

namespace {

constexpr size_t most_digits = 10;

// Read by signal handlers, so nothing that allocates or locks. The files are called by numbers, so
// that they can be removed without being listed.
char folder_path[PATH_MAX];
std::atomic<int> folder{-1};
std::atomic<unsigned> files_made{0};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free);

struct folder_owner {
    ~folder_owner() { remove_private_files(); }
};

// The digits of `number`, which end at the end of `room`.
const char *digits_of(unsigned number, char (&room)[most_digits + 1]) {
    char *at = room + most_digits;
    *at = '\0';
    do {
        *--at = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    return at;
}

// Whether nobody but us and the superuser can rename what we make in the folder.
bool is_safe(const char *path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode) &&
           (status.st_uid == geteuid() || status.st_uid == 0) &&
           ((status.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (status.st_mode & S_ISVTX) != 0);
}

int make_folder() {
    static const folder_owner owner;
    const char *given = std::getenv("TMPDIR");
    for (const char *place : {given == nullptr || *given == '\0' ? "/tmp" : given, "/tmp"}) {
        char resolved[PATH_MAX];
        if (realpath(place, resolved) == nullptr || !is_safe(resolved)) {
            continue;
        }
        const std::string pattern = std::string(resolved) + "/.tdm-XXXXXX";
        if (pattern.size() >= sizeof folder_path) {
            continue;
        }
        folder_path[pattern.copy(folder_path, pattern.size())] = '\0';
        if (mkdtemp(folder_path) == nullptr) {
            continue;
        }
        const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
        folder = open(folder_path, flags);
        if (folder >= 0) {
            return 0;
        }
        const int error = errno;
        rmdir(folder_path);
        return error;
    }
    return EACCES;
}

}  // namespace

private_file::private_file(private_file &&other) noexcept {
    *this = std::move(other);
}

private_file &private_file::operator=(private_file &&other) noexcept {
    if (this != &other) {
        remove();
        path_ = std::exchange(other.path_, {});
        descriptor_ = std::move(other.descriptor_);
    }
    return *this;
}

int private_file::create() {
    remove();
    if (const int error = folder < 0 ? make_folder() : 0; error != 0) {
        return error;
    }
    char room[most_digits + 1];
    const char *name = digits_of(files_made++, room);
    const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    descriptor_ = owned_descriptor(openat(folder, name, flags, 0600));
    if (!descriptor_.is_open()) {
        return errno;
    }
    path_ = std::string(folder_path) + "/" + name;
    return 0;
}

void private_file::remove() {
    if (!path_.empty()) {
        unlink(path_.c_str());
        path_.clear();
    }
    descriptor_ = owned_descriptor();
}

void remove_private_files() {
    const int descriptor = folder.exchange(-1);
    if (descriptor < 0) {
        return;
    }
    char room[most_digits + 1];
    for (unsigned number = files_made; number-- > 0;) {
        unlinkat(descriptor, digits_of(number, room), 0);
    }
    close(descriptor);
    rmdir(folder_path);
}

}  // namespace norvik

// One folder for all private files of the process, made with the first of them. Removing them takes
// one call a file ever made and no memory, as a signal handler needs it.
#include "private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <mutex>
#include <utility>

#include "failure.h"
#include "system_calls.h"

namespace norvik {

namespace {

constexpr std::size_t most_digits = 10;

// Read by signal handlers, so nothing that allocates or locks. The files are called by numbers, so
// that they can be removed without being listed.
char folder_path[PATH_MAX];
char place_given[PATH_MAX] = "/tmp";
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
    return sys::stat(path, &status) == 0 && S_ISDIR(status.st_mode) &&
           (status.st_uid == geteuid() || status.st_uid == 0) &&
           ((status.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (status.st_mode & S_ISVTX) != 0);
}

std::error_code make_folder() {
    static const folder_owner owner;
    std::error_code why = system_error(EACCES);
    for (const char *place : {static_cast<const char *>(place_given), "/tmp"}) {
        char resolved[PATH_MAX];
        if (sys::realpath(place, resolved) == nullptr || !is_safe(resolved)) {
            continue;
        }
        const std::string pattern = std::string(resolved) + "/.tdm-XXXXXX";
        if (pattern.size() >= sizeof folder_path) {
            continue;
        }
        folder_path[pattern.copy(folder_path, pattern.size())] = '\0';
        if (sys::mkdtemp(folder_path) == nullptr) {
            // The next place may do, such as /tmp for a full disk.
            why = last_error();
            continue;
        }
        const int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
        folder = sys::open(folder_path, flags);
        if (folder >= 0) {
            return {};
        }
        const std::error_code error = last_error();
        rmdir(folder_path);
        return error;
    }
    return why;
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

std::error_code private_file::create() {
    remove();
    {
        static std::mutex one_at_a_time;
        const std::lock_guard lock(one_at_a_time);
        if (const std::error_code error = folder < 0 ? make_folder() : std::error_code(); error) {
            return error;
        }
    }
    char room[most_digits + 1];
    const char *name = digits_of(files_made++, room);
    const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    descriptor_ = owned_descriptor(sys::openat(folder, name, flags, 0600));
    if (!descriptor_.is_open()) {
        return last_error();
    }
    path_ = std::string(folder_path) + "/" + name;
    return {};
}

void private_file::remove() {
    if (!path_.empty()) {
        unlink(path_.c_str());
        path_.clear();
    }
    descriptor_ = owned_descriptor();
}

void keep_private_files_below(std::string_view folder_given) {
    const bool fits = !folder_given.empty() && folder_given.size() < sizeof place_given;
    place_given[fits ? folder_given.copy(place_given, folder_given.size())
                     : std::string_view("/tmp").copy(place_given, 4)] = '\0';
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

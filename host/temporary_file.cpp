#include "temporary_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <utility>

#include "end_signals.h"
#include "output.h"
#include "random_oid.h"

namespace host {

namespace {

constexpr int attempts = 100;

struct name_parts {
    std::string folder;  // with its final slash
    std::string prefix;  // of the temporary files of this target
};

// The target's name stands in the prefix as a number, since with it the name could grow too long.
name_parts parts_for(const std::string &target) {
    const size_t base = target.rfind('/') + 1;
    uint64_t hash = 0xcbf29ce484222325u;
    for (const char byte : std::string_view(target).substr(base)) {
        hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001b3u;
    }
    return {target.substr(0, base), ".tdm-" + hexadecimal(hash) + "-"};
}

bool same_file(int descriptor, const std::string &path) {
    struct stat open_file {};
    struct stat named {};
    return fstat(descriptor, &open_file) == 0 && lstat(path.c_str(), &named) == 0 &&
           open_file.st_dev == named.st_dev && open_file.st_ino == named.st_ino;
}

// The file may have got its final mode already, that of a container which nobody may write to.
owned_descriptor open_found(const std::string &path) {
    const int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    owned_descriptor descriptor(open(path.c_str(), O_RDWR | flags));
    return descriptor.is_open() ? std::move(descriptor)
                                : owned_descriptor(open(path.c_str(), O_RDONLY | flags));
}

// Removes the file when no living command holds its lock. A living one that has not got so far as
// to lock it finds it gone and takes another name.
void remove_if_dead(const std::string &path) {
    const owned_descriptor descriptor = open_found(path);
    if (descriptor.is_open() && flock(descriptor.get(), LOCK_EX | LOCK_NB) == 0 &&
        same_file(descriptor.get(), path)) {
        unlink(path.c_str());
    }
}

void remove_dead_files(const name_parts &parts) {
    DIR *folder = opendir(parts.folder.c_str());
    if (folder == nullptr) {
        return;
    }
    constexpr size_t random_digits = 32;
    while (const dirent *entry = readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (name.starts_with(parts.prefix) && name.size() == parts.prefix.size() + random_digits) {
            remove_if_dead(parts.folder + entry->d_name);
        }
    }
    closedir(folder);
}

}  // namespace

int temporary_file::create(const std::string &target) {
    const name_parts parts = parts_for(target);
    remove_dead_files(parts);
    for (int attempt = 0; attempt < attempts; attempt++) {
        std::string random;
        if (random_oid(random) != status_done) {
            return status_trouble;
        }
        path_ = parts.folder + parts.prefix + random;
        remove_at_end_signal(path_.c_str());
        const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        descriptor_ = owned_descriptor(open(path_.c_str(), flags, 0600));
        if (!descriptor_.is_open()) {
            const int error = errno;
            forget_path();
            if (error == EEXIST) {
                continue;
            }
            return say_errno(target, "cannot create a file beside it", error);
        }
        const bool locked = flock(descriptor_.get(), LOCK_EX | LOCK_NB) == 0;
        if (!locked && errno != EWOULDBLOCK) {
            return say_errno(target, "cannot lock the file beside it", errno);
        }
        if (locked && same_file(descriptor_.get(), path_)) {
            return status_done;
        }
        // A command that clears away dead files came before the lock: this file goes, or is gone.
        remove();
    }
    say_of_file(target, "cannot create a file beside it");
    return status_trouble;
}

void temporary_file::forget_path() {
    keep_at_end_signal(path_.c_str());
    path_.clear();
}

void temporary_file::remove() {
    if (!path_.empty()) {
        unlink(path_.c_str());
        forget_path();
    }
    descriptor_ = owned_descriptor();
}

}  // namespace host

#include "temporary_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <utility>

#include "descriptor_path.h"
#include "end_signals.h"
#include "exit_status.h"
#include "output.h"
#include "random_oid.h"

namespace norvik {

namespace {

constexpr int attempts = 100;

constexpr size_t random_digits = 32;

// The beginning of the names of this target's temporary files. The target's name stands in it as a
// number, since with it the name could grow too long.
std::string prefix_for(std::string_view target) {
    uint64_t hash = 0xcbf29ce484222325u;
    for (const char byte : target) {
        hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001b3u;
    }
    return ".tdm-" + hexadecimal(hash) + "-";
}

bool is_temporary_name(std::string_view name, std::string_view prefix) {
    return name.starts_with(prefix) && name.size() == prefix.size() + random_digits &&
           name.find_first_not_of("0123456789abcdef", prefix.size()) == std::string_view::npos;
}

// The file may have got its final mode already, that of a container which nobody may write to.
owned_descriptor open_found(int folder, const char *name) {
    const int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    owned_descriptor descriptor(openat(folder, name, O_RDWR | flags));
    return descriptor.is_open() ? std::move(descriptor)
                                : owned_descriptor(openat(folder, name, O_RDONLY | flags));
}

// Removes the file when it is a command's of this user, or had got the target's owner already, and
// no living one holds its lock. A living one that has not got so far as to lock it finds it gone
// and takes another name.
void remove_if_dead(const locked_file &target, const char *name) {
    const int folder = target.folder.get();
    const owned_descriptor descriptor = open_found(folder, name);
    struct stat status {};
    if (descriptor.is_open() && fstat(descriptor.get(), &status) == 0 && S_ISREG(status.st_mode) &&
        (status.st_uid == geteuid() || (target.exists && status.st_uid == target.status.st_uid)) &&
        flock(descriptor.get(), LOCK_EX | LOCK_NB) == 0 && names_same_file(folder, name, status)) {
        unlinkat(folder, name, 0);
    }
}

void remove_dead_files(const locked_file &target, const std::string &prefix) {
    const int again = openat(target.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR *entries = again < 0 ? nullptr : fdopendir(again);
    if (entries == nullptr) {
        return;
    }
    while (const dirent *entry = readdir(entries)) {
        if (is_temporary_name(entry->d_name, prefix)) {
            remove_if_dead(target, entry->d_name);
        }
    }
    closedir(entries);
}

// By a path through the open folder where there is one, so that a trace of the system calls shows
// which folder it is.
int create_in(int folder, const char *name) {
    const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return descriptors_have_paths() ? open((own_path(folder) + "/" + name).c_str(), flags, 0600)
                                    : openat(folder, name, flags, 0600);
}

// Gives the file a name that nothing has yet.
int rename_to_new(int folder, const char *from, const char *to) {
    if (renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    return linkat(folder, from, folder, to, 0) == 0 ? unlinkat(folder, from, 0) : -1;
}

}  // namespace

int temporary_file::create(const locked_file &target) {
    target_ = &target;
    const int folder = target.folder.get();
    const std::string prefix = prefix_for(target.base());
    remove_dead_files(target, prefix);
    for (int attempt = 0; attempt < attempts; attempt++) {
        std::string random;
        if (random_oid(random) != status_done) {
            return status_trouble;
        }
        path_ = target.path.substr(0, target.path.rfind('/') + 1) + prefix + random;
        remove_at_end_signal(path_.c_str());
        descriptor_ = owned_descriptor(create_in(folder, base()));
        if (!descriptor_.is_open()) {
            const int error = errno;
            forget_path();
            if (error == EEXIST) {
                continue;
            }
            return say_errno(target.path, "cannot create a file beside it", error);
        }
        const bool locked = flock(descriptor_.get(), LOCK_EX | LOCK_NB) == 0;
        if (!locked && errno != EWOULDBLOCK) {
            return say_errno(target.path, "cannot lock the file beside it", errno);
        }
        if (locked && has_name(base())) {
            return status_done;
        }
        // A command that clears away dead files came before the lock: this file goes, or is gone.
        remove();
    }
    say_of_file(target.path, "cannot create a file beside it");
    return status_trouble;
}

bool temporary_file::has_name(const char *base) const {
    struct stat status {};
    return fstat(descriptor_.get(), &status) == 0 &&
           names_same_file(target_->folder.get(), base, status);
}

int temporary_file::put_in_place() {
    const int folder = target_->folder.get();
    if (!has_name(base())) {
        if (errno != 0) {
            return say_errno(target_->name, "the file beside it cannot be looked at", errno);
        }
        say_of_file(target_->name,
                    "somebody else has taken away the file beside it; "
                    "nothing is replaced");
        return status_trouble;
    }
    const int renamed = target_->exists ? renameat(folder, base(), folder, target_->base())
                                        : rename_to_new(folder, base(), target_->base());
    if (renamed != 0) {
        return say_errno(target_->name, "cannot be put in place", errno);
    }
    forget_path();
    struct stat written {
    }, found{};
    if (fstat(descriptor_.get(), &written) != 0 ||
        (fstatat(folder, target_->base(), &found, AT_SYMLINK_NOFOLLOW) != 0 && errno != ENOENT)) {
        return say_errno(target_->name, "is replaced, but cannot be looked at again", errno);
    }
    if (written.st_dev != found.st_dev || written.st_ino != found.st_ino) {
        say_of_file(target_->name,
                    "is not what was written: somebody else has put another file "
                    "in its place");
        return status_trouble;
    }
    return status_done;
}

void temporary_file::forget_path() {
    keep_at_end_signal(path_.c_str());
    path_.clear();
}

void temporary_file::remove() {
    if (!path_.empty()) {
        // What others have put under the name is theirs.
        if (has_name(base())) {
            unlinkat(target_->folder.get(), base(), 0);
        }
        forget_path();
    }
    descriptor_ = owned_descriptor();
}

}  // namespace norvik

// A lock on the file says that its command lives, and the name is random, so that dead files can be
// told and removed by anybody who comes next. Creating one costs a pass over the entries of the
// folder.
#include "temporary_file.h"

#include <dirent.h>
#include <stdio.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <utility>

#include "descriptor_path.h"
#include "end_removal.h"
#include "random_digits.h"
#include "system_calls.h"

namespace norvik {

namespace {

constexpr int attempts = 100;

// The beginning of the names of this target's temporary files. The target's name stands in it as a
// number, since with it the name could grow too long.
std::string prefix_for(std::string_view target) {
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (const char byte : target) {
        hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x100000001b3u;
    }
    return ".tdm-" + hexadecimal(hash) + "-";
}

bool is_temporary_name(std::string_view name, std::string_view prefix) {
    return name.starts_with(prefix) && is_random_digits(name.substr(prefix.size()));
}

// The file may have got its final mode already, that of a container which nobody may write to.
owned_descriptor open_found(int folder, const char *name) {
    const int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    owned_descriptor descriptor(sys::openat(folder, name, O_RDWR | flags));
    return descriptor.is_open() ? std::move(descriptor)
                                : owned_descriptor(sys::openat(folder, name, O_RDONLY | flags));
}

// Removes the file when it is a command's of this user, or had got the target's owner already, and
// no living one holds its lock. A living one that has not got so far as to lock it finds it gone
// and takes another name.
void remove_if_dead(const locked_file &target, const char *name) {
    const int folder = target.folder.get();
    const owned_descriptor descriptor = open_found(folder, name);
    struct stat status {};
    if (descriptor.is_open() && sys::fstat(descriptor.get(), &status) == 0 &&
        S_ISREG(status.st_mode) &&
        (status.st_uid == geteuid() || (target.exists && status.st_uid == target.status.st_uid)) &&
        sys::flock(descriptor.get(), LOCK_EX | LOCK_NB) == 0 &&
        look_by_name(folder, name, status).same) {
        sys::unlinkat(folder, name, 0);
    }
}

void remove_dead_files(const locked_file &target, const std::string &prefix) {
    owned_descriptor again(
        sys::openat(target.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DIR *entries = again.is_open() ? fdopendir(again.get()) : nullptr;
    if (entries == nullptr) {
        return;
    }
    (void)again.release();  // closed with the entries
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
    return descriptors_have_paths()
               ? sys::open((own_path(folder) + "/" + name).c_str(), flags, 0600)
               : sys::openat(folder, name, flags, 0600);
}

// Gives the file a name that nothing has yet.
int rename_to_new(int folder, const char *from, const char *to) {
    if (sys::renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    return sys::linkat(folder, from, folder, to, 0) == 0 ? sys::unlinkat(folder, from, 0) : -1;
}

}  // namespace

result<> temporary_file::create(const locked_file &target) {
    target_ = &target;
    const int folder = target.folder.get();
    const std::string prefix = prefix_for(target.base());
    remove_dead_files(target, prefix);
    for (int attempt = 0; attempt < attempts; attempt++) {
        const auto random = random_digits();
        if (!random) {
            return random.failure();
        }
        path_ = target.path.substr(0, target.path.rfind('/') + 1) + prefix + *random;
        // Before it exists: a signal in between would leave it behind.
        remove_at_end(path_.c_str());
        descriptor_ = owned_descriptor(create_in(folder, base()));
        if (!descriptor_.is_open()) {
            const std::error_code error = last_error();
            forget_path();
            if (error == std::errc::file_exists) {
                continue;
            }
            return system_failure(target.name, "cannot create a file beside it", error);
        }
        const bool locked = sys::flock(descriptor_.get(), LOCK_EX | LOCK_NB) == 0;
        if (!locked && errno != EWOULDBLOCK) {
            return system_failure(target.name, "cannot lock the file beside it", last_error());
        }
        if (locked && look_at_own_name().same) {
            return {};
        }
        // A command that clears away dead files came before the lock: this file goes, or is gone.
        remove();
    }
    return refusal(target.name, "cannot create a file beside it");
}

second_look temporary_file::look_at_own_name() const {
    struct stat status {};
    return sys::fstat(descriptor_.get(), &status) == 0
               ? look_by_name(target_->folder.get(), base(), status)
               : second_look{false, last_error()};
}

result<> temporary_file::put_in_place(void (*note_replaced)() noexcept) {
    const int folder = target_->folder.get();
    const std::string &name = target_->name;
    if (const second_look seen = look_at_own_name(); seen.error) {
        return system_failure(name, "the file beside it cannot be looked at", seen.error);
    } else if (!seen.same) {
        failure why = refusal(name, "somebody else has taken away the file beside it");
        why.outcome = "nothing is replaced";
        return why;
    }
    const int renamed = target_->exists ? sys::renameat(folder, base(), folder, target_->base())
                                        : rename_to_new(folder, base(), target_->base());
    if (renamed != 0) {
        return system_failure(name, "cannot be put in place", last_error());
    }
    // From here on no failure may read as if nothing had been done.
    note_replaced();
    forget_path();
    struct stat written {};
    const second_look seen = sys::fstat(descriptor_.get(), &written) == 0
                                 ? look_by_name(folder, target_->base(), written)
                                 : second_look{false, last_error()};
    if (seen.error) {
        return system_failure(name, "is replaced, but cannot be looked at again", seen.error);
    }
    if (!seen.same) {
        return refusal(name,
                       "is not what was written: somebody else has put another file in its place");
    }
    return {};
}

void temporary_file::forget_path() {
    keep_at_end(path_.c_str());
    path_.clear();
}

void temporary_file::remove() {
    if (!path_.empty()) {
        // What others have put under the name is theirs.
        if (look_at_own_name().same) {
            sys::unlinkat(target_->folder.get(), base(), 0);
        }
        forget_path();
    }
    descriptor_ = owned_descriptor();
}

}  // namespace norvik

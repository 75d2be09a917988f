#include "file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "output.h"

namespace host {

namespace {

double monotonic_seconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::string folder_of(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// The path of a file that does not exist: its folder resolved, its own name kept.
int resolve_new(const std::string &name, std::string &path) {
    struct stat status {};
    if (lstat(name.c_str(), &status) == 0) {
        say_of_file(name, "is a symbolic link to a file that does not exist");
        return status_trouble;
    }
    char resolved[PATH_MAX];
    const std::string folder = folder_of(name);
    if (realpath(folder.c_str(), resolved) == nullptr) {
        return say_errno(folder, "cannot be found", errno);
    }
    const size_t slash = name.rfind('/');
    const std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
    if (base.empty()) {
        say_of_file(name, "is not the name of a file");
        return status_trouble;
    }
    path = std::string(resolved) + "/" + base;
    return status_done;
}

int resolve(bool may_be_new, locked_file &file) {
    char resolved[PATH_MAX];
    file.exists = realpath(file.name.c_str(), resolved) != nullptr;
    if (file.exists) {
        file.path = resolved;
        return status_done;
    }
    if (errno != ENOENT || !may_be_new) {
        return say_errno(file.name, "cannot be opened", errno);
    }
    return resolve_new(file.name, file.path);
}

// Writing may be needed for the lock on a network file system; a file that may only be read can
// still be locked on others.
int open_for_lock(const std::string &path) {
    const int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;
    const int descriptor = open(path.c_str(), O_RDWR | flags);
    return descriptor >= 0 ? descriptor : open(path.c_str(), O_RDONLY | flags);
}

int check_kind(const locked_file &file, bool break_links) {
    if (!S_ISREG(file.status.st_mode)) {
        say_of_file(file.name, "is not a regular file");
        return status_trouble;
    }
    if (file.status.st_nlink > 1 && !break_links) {
        say_of_file(file.name, "has several hard links, which would part (--break-links goes on)");
        return status_trouble;
    }
    return status_done;
}

// Waits in ever longer naps; a lock is held for some milliseconds only.
int wait_for_lock(const locked_file &file, const command_context &context, double deadline,
                  bool &told) {
    long nap = 1'000'000;  // nanoseconds
    while (flock(file.descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) {
            continue;
        }
        if (errno != EWOULDBLOCK) {
            return say_errno(file.name, "cannot be locked", errno);
        }
        if (monotonic_seconds() >= deadline) {
            say_of_file(file.name, "another command holds it; gave up waiting (--lock-timeout)");
            return status_trouble;
        }
        if (!context.quiet && !std::exchange(told, true)) {
            say_of_file(file.name, "waiting for another command to finish with it");
        }
        const timespec pause{0, nap};
        nanosleep(&pause, nullptr);
        nap = std::min(nap * 2, 20'000'000L);
    }
    return status_done;
}

bool names_same_file(const std::string &path, const struct stat &status) {
    struct stat now {};
    return lstat(path.c_str(), &now) == 0 && now.st_dev == status.st_dev &&
           now.st_ino == status.st_ino;
}

}  // namespace

owned_descriptor &owned_descriptor::operator=(owned_descriptor &&other) noexcept {
    if (this != &other) {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
        descriptor_ = other.release();
    }
    return *this;
}

owned_descriptor::~owned_descriptor() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

int owned_descriptor::release() {
    return std::exchange(descriptor_, -1);
}

int lock_file(const std::string &name, bool may_be_new, const command_context &context,
              locked_file *out) {
    const double deadline = monotonic_seconds() + context.lock_timeout;
    bool told = false;
    for (;;) {
        locked_file file;
        file.name = name;
        int status = resolve(may_be_new, file);
        if (status != status_done || !file.exists) {
            *out = std::move(file);
            return status;
        }
        file.descriptor = owned_descriptor(open_for_lock(file.path));
        if (!file.descriptor.is_open()) {
            return say_errno(name, "cannot be opened", errno);
        }
        if (fstat(file.descriptor.get(), &file.status) != 0) {
            return say_errno(name, "cannot be read", errno);
        }
        status = check_kind(file, context.break_links);
        if (status == status_done) {
            status = wait_for_lock(file, context, deadline, told);
        }
        if (status != status_done) {
            return status;
        }
        // The command that held the lock has put a new file in this one's place: start again.
        if (fstat(file.descriptor.get(), &file.status) == 0 &&
            names_same_file(file.path, file.status)) {
            *out = std::move(file);
            return status_done;
        }
    }
}

bool is_unchanged(const locked_file &file) {
    struct stat now {};
    const struct stat &then = file.status;
    return lstat(file.path.c_str(), &now) == 0 && now.st_dev == then.st_dev &&
           now.st_ino == then.st_ino && now.st_size == then.st_size &&
           now.st_mtim.tv_sec == then.st_mtim.tv_sec && now.st_mtim.tv_nsec == then.st_mtim.tv_nsec;
}

int open_to_read(const std::string &name, owned_descriptor *out) {
    *out = owned_descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    return out->is_open() ? int{status_done} : say_errno(name, "cannot be opened", errno);
}

}  // namespace host

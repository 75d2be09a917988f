#include "file_lock.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "exit_status.h"
#include "output.h"

namespace norvik {

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
        return say_errno(name, "its folder cannot be found", errno);
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

// A folder that may be entered but not read cannot be forced to disk later, which is told then.
int open_folder(locked_file &file) {
    const std::string folder = file.path.substr(0, file.path.rfind('/') + 1);
    const int flags = O_DIRECTORY | O_CLOEXEC;
    file.folder = owned_descriptor(open(folder.c_str(), O_RDONLY | flags));
    if (!file.folder.is_open() && errno == EACCES) {
        file.folder = owned_descriptor(open(folder.c_str(), O_PATH | flags));
    }
    return file.folder.is_open() ? int{status_done}
                                 : say_errno(file.name, "its folder cannot be opened", errno);
}

// Writing may be needed for the lock on a network file system; a file that may only be read can
// still be locked on others.
int open_for_lock(const locked_file &file) {
    const int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;
    const int descriptor = openat(file.folder.get(), file.base(), O_RDWR | flags);
    return descriptor >= 0 ? descriptor : openat(file.folder.get(), file.base(), O_RDONLY | flags);
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

// Wakes blocking calls up (they fail with EINTR) from `deadline` on, again and again, since a call
// that begins just behind the first signal would not see it. A signal of our own, so that an alarm
// that the command has inherited stays what it is.
class wake_up_call {
public:
    explicit wake_up_call(double deadline) {
        const int signal = SIGRTMIN;
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(signal, &action, nullptr);
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, signal);
        sigprocmask(SIG_UNBLOCK, &set, nullptr);
        struct sigevent event {};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = signal;
        made_ = timer_create(CLOCK_MONOTONIC, &event, &timer_) == 0;
        constexpr long between = 20'000'000;  // nanoseconds
        const double left = std::max(deadline - monotonic_seconds(), 1e-6);
        const auto seconds = static_cast<time_t>(std::min(left, 1e9));
        const double rest = left < 1e9 ? left - static_cast<double>(seconds) : 0;
        const itimerspec times{{0, between}, {seconds, static_cast<long>(rest * 1e9)}};
        made_ = made_ && timer_settime(timer_, 0, &times, nullptr) == 0;
    }
    ~wake_up_call() {
        if (made_) {
            timer_delete(timer_);
        }
    }
    wake_up_call(const wake_up_call &) = delete;
    wake_up_call &operator=(const wake_up_call &) = delete;
    bool is_set() const { return made_; }

private:
    timer_t timer_{};
    bool made_ = false;
};

// Waits in the kernel's queue, where those who wait are served in their order and at once.
int wait_for_lock(const locked_file &file, const replace_options &options, double deadline,
                  bool &told) {
    if (flock(file.descriptor.get(), LOCK_EX | LOCK_NB) == 0) {
        return status_done;
    }
    if (errno != EWOULDBLOCK && errno != EINTR) {
        return say_errno(file.name, "cannot be locked", errno);
    }
    if (!options.quiet && !std::exchange(told, true)) {
        say_of_file(file.name, "waiting for another command to finish with it");
    }
    const wake_up_call end_of_waiting(deadline);
    if (!end_of_waiting.is_set()) {
        return say_errno(file.name, "cannot be waited for", errno);
    }
    while (flock(file.descriptor.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            return say_errno(file.name, "cannot be locked", errno);
        }
        if (monotonic_seconds() >= deadline) {
            say_of_file(file.name, "another command holds it; gave up waiting (--lock-timeout)");
            return status_trouble;
        }
    }
    return status_done;
}

// False with errno 0 where nothing has the name.
bool look_at_name(int folder, const char *base, struct stat *now) {
    const bool found = fstatat(folder, base, now, AT_SYMLINK_NOFOLLOW) == 0;
    errno = found || errno == ENOENT ? 0 : errno;
    return found;
}

}  // namespace

bool names_same_file(int folder, const char *base, const struct stat &status) {
    struct stat now {};
    return look_at_name(folder, base, &now) && now.st_dev == status.st_dev &&
           now.st_ino == status.st_ino;
}

int lock_file(const std::string &name, bool may_be_new, const replace_options &options,
              locked_file *out) {
    const double deadline = monotonic_seconds() + options.lock_timeout;
    bool told = false;
    for (;;) {
        locked_file file;
        file.name = name;
        int status = resolve(may_be_new, file);
        status = status == status_done ? open_folder(file) : status;
        if (status != status_done || !file.exists) {
            *out = std::move(file);
            return status;
        }
        file.descriptor = owned_descriptor(open_for_lock(file));
        if (!file.descriptor.is_open()) {
            return say_errno(name, "cannot be opened", errno);
        }
        if (fstat(file.descriptor.get(), &file.status) != 0) {
            return say_errno(name, "cannot be read", errno);
        }
        status = check_kind(file, options.break_links);
        if (status == status_done) {
            status = wait_for_lock(file, options, deadline, told);
        }
        if (status != status_done) {
            return status;
        }
        // The command that held the lock has put a new file in this one's place: start again.
        if (fstat(file.descriptor.get(), &file.status) == 0 &&
            names_same_file(file.folder.get(), file.base(), file.status)) {
            *out = std::move(file);
            return status_done;
        }
    }
}

bool is_unchanged(const locked_file &file) {
    struct stat now {};
    const struct stat &then = file.status;
    return look_at_name(file.folder.get(), file.base(), &now) && now.st_dev == then.st_dev &&
           now.st_ino == then.st_ino && now.st_size == then.st_size &&
           now.st_mtim.tv_sec == then.st_mtim.tv_sec && now.st_mtim.tv_nsec == then.st_mtim.tv_nsec;
}

int open_to_read(const std::string &name, owned_descriptor *out) {
    *out = owned_descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    return out->is_open() ? int{status_done} : say_errno(name, "cannot be opened", errno);
}

}  // namespace norvik

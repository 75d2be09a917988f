// The lock is the kernel's, on the file itself, so that it goes with its holder. Who had it may
// have put a new file under the name: the lock counts only when the name still leads to the locked
// file, else everything begins again with the new one. Waiting costs nothing in the kernel's queue,
// else a look every 20 ms.
#include "file_lock.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <ctime>
#include <thread>
#include <utility>

#include "file_state.h"
#include "system_calls.h"

namespace norvik {

namespace {

double monotonic_seconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::string folder_of(const std::string &path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// The path of a file that does not exist: its folder resolved, its own name kept.
result<std::string> resolve_new(const std::string &name) {
    struct stat status {};
    if (sys::lstat(name.c_str(), &status) == 0) {
        return refusal(name, "is a symbolic link to a file that does not exist");
    }
    char resolved[PATH_MAX];
    const std::string folder = folder_of(name);
    if (sys::realpath(folder.c_str(), resolved) == nullptr) {
        return system_failure(name, "its folder cannot be found", last_error());
    }
    const std::size_t slash = name.rfind('/');
    const std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
    if (base.empty()) {
        return refusal(name, "is not the name of a file");
    }
    return std::string(resolved) + "/" + base;
}

result<> resolve(bool may_be_new, locked_file &file) {
    char resolved[PATH_MAX];
    file.exists = sys::realpath(file.name.c_str(), resolved) != nullptr;
    if (file.exists) {
        file.path = resolved;
        return {};
    }
    const int error = errno;
    struct stat status {};
    // A pipe that /dev/stdin leads to has no path.
    if (error == ENOENT && sys::stat(file.name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return refusal(file.name, "is not a regular file");
    }
    if (error != ENOENT || !may_be_new) {
        return system_failure(file.name, "cannot be opened", system_error(error));
    }
    auto path = resolve_new(file.name);
    if (!path) {
        return path.failure();
    }
    file.path = std::move(*path);
    return {};
}

// A folder that may be entered but not read cannot be forced to disk later, which is told then.
result<> open_folder(locked_file &file) {
    const std::string folder = file.path.substr(0, file.path.rfind('/') + 1);
    const int flags = O_DIRECTORY | O_CLOEXEC;
    file.folder = owned_descriptor(sys::open(folder.c_str(), O_RDONLY | flags));
    if (!file.folder.is_open() && errno == EACCES) {
        file.folder = owned_descriptor(sys::open(folder.c_str(), O_PATH | flags));
    }
    if (!file.folder.is_open()) {
        return system_failure(file.name, "its folder cannot be opened", last_error());
    }
    return {};
}

// Writing may be needed for the lock on a network file system; a file that may only be read can
// still be locked on others.
result<> open_for_lock(locked_file &file) {
    const int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;
    const int folder = file.folder.get();
    file.descriptor = owned_descriptor(sys::openat(folder, file.base(), O_RDWR | flags));
    if (!file.descriptor.is_open()) {
        file.descriptor = owned_descriptor(sys::openat(folder, file.base(), O_RDONLY | flags));
    }
    if (!file.descriptor.is_open()) {
        return system_failure(file.name, "cannot be opened", last_error());
    }
    if (sys::fstat(file.descriptor.get(), &file.status) != 0) {
        return system_failure(file.name, "cannot be read", last_error());
    }
    return {};
}

result<> check_kind(const locked_file &file, bool break_links) {
    if (!S_ISREG(file.status.st_mode)) {
        return refusal(file.name, "is not a regular file");
    }
    if (file.status.st_nlink > 1 && !break_links) {
        failure why = refusal(file.name, "has several hard links, which would part");
        why.way_out = remedy::break_links;
        return why;
    }
    return {};
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

failure gave_up_waiting(const locked_file &file) {
    failure why = refusal(file.name, "another command holds it; gave up waiting");
    why.way_out = remedy::patience;
    return why;
}

// Waits in the kernel's queue, where those who wait are served in their order and at once.
result<> wait_in_queue(const locked_file &file, double deadline) {
    const wake_up_call end_of_waiting(deadline);
    if (!end_of_waiting.is_set()) {
        return system_failure(file.name, "cannot be waited for", last_error());
    }
    while (sys::flock(file.descriptor.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            return system_failure(file.name, "cannot be locked", last_error());
        }
        if (monotonic_seconds() >= deadline) {
            return gave_up_waiting(file);
        }
    }
    return {};
}

// Looks again and again, less often as time goes by.
result<> look_for_lock(const locked_file &file, double deadline) {
    constexpr double shortest = 0.001;
    constexpr double longest = 0.02;
    for (double pause = shortest;; pause = std::min(2 * pause, longest)) {
        if (sys::flock(file.descriptor.get(), LOCK_EX | LOCK_NB) == 0) {
            return {};
        }
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return system_failure(file.name, "cannot be locked", last_error());
        }
        const double left = deadline - monotonic_seconds();
        if (left <= 0) {
            return gave_up_waiting(file);
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(std::min(pause, left)));
    }
}

result<> wait_for_lock(const locked_file &file, const replace_options &options, double deadline,
                       bool &told) {
    if (sys::flock(file.descriptor.get(), LOCK_EX | LOCK_NB) == 0) {
        return {};
    }
    if (errno != EWOULDBLOCK && errno != EINTR) {
        return system_failure(file.name, "cannot be locked", last_error());
    }
    if (!options.quiet && !std::exchange(told, true)) {
        options.tell(refusal(file.name, "waiting for another command to finish with it"));
    }
    return options.waits_in_queue ? wait_in_queue(file, deadline) : look_for_lock(file, deadline);
}

// False with no error where nothing has the name.
second_look look_at_name(int folder, const char *base, struct stat *now) {
    if (sys::fstatat(folder, base, now, AT_SYMLINK_NOFOLLOW) == 0) {
        return {true, {}};
    }
    return {false, errno == ENOENT ? std::error_code() : last_error()};
}

}  // namespace

second_look look_by_name(int folder, const char *base, const struct stat &status) {
    struct stat now {};
    second_look seen = look_at_name(folder, base, &now);
    seen.same = seen.same && is_same_file(now, status);
    return seen;
}

result<locked_file> lock_file(const std::string &name, bool may_be_new,
                              const replace_options &options) {
    // One for all rounds, however often the file is replaced meanwhile.
    const double deadline = monotonic_seconds() + options.lock_timeout;
    bool told = false;
    for (;;) {
        locked_file file;
        file.name = name;
        auto done = resolve(may_be_new, file);
        done = done ? open_folder(file) : done;
        if (done && !file.exists) {
            return result<locked_file>(std::move(file));
        }
        done = done ? open_for_lock(file) : done;
        done = done ? check_kind(file, options.break_links) : done;
        done = done ? wait_for_lock(file, options, deadline, told) : done;
        if (!done) {
            return done.failure();
        }
        const second_look seen = sys::fstat(file.descriptor.get(), &file.status) == 0
                                     ? look_by_name(file.folder.get(), file.base(), file.status)
                                     : second_look{false, last_error()};
        if (seen.error) {
            return system_failure(name, "cannot be looked at again", seen.error);
        }
        // Else the command that held the lock has put a new file in its place: start again.
        if (seen.same) {
            return result<locked_file>(std::move(file));
        }
    }
}

second_look look_again(const locked_file &file) {
    struct stat now {};
    second_look seen = look_at_name(file.folder.get(), file.base(), &now);
    seen.same = seen.same && is_same_state(now, file.status);
    return seen;
}

result<owned_descriptor> open_to_read(const std::string &name) {
    owned_descriptor opened(sys::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!opened.is_open()) {
        return system_failure(name, "cannot be opened", last_error());
    }
    return result<owned_descriptor>(std::move(opened));
}

}  // namespace norvik

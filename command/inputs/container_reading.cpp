#include "container_reading.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "exit_status.h"
#include "failure_words.h"
#include "output.h"
#include "structure.h"
#include "system_calls.h"

namespace norvik {
namespace {

// Instead of an errno value.
constexpr int not_a_file_or_pipe = -1;

// Reads the pipe to its end, `most` bytes at most; a file in memory takes its place. 0 or an errno
// value.
int take_pipe(owned_descriptor *pipe, uint64_t most) {
    owned_descriptor memory(sys::memfd_create("container", MFD_CLOEXEC));
    if (!memory.is_open()) {
        return errno;
    }
    constexpr std::size_t piece = std::size_t{1} << 20;
    for (uint64_t taken = 0;;) {
        const ssize_t got = sys::splice(pipe->get(), memory.get(), piece);
        if (got < 0 && errno != EINTR) {
            return errno;
        }
        if (got == 0) {
            break;
        }
        taken += static_cast<uint64_t>(std::max<ssize_t>(got, 0));
        if (taken > most) {
            return EFBIG;
        }
    }
    *pipe = std::move(memory);
    return 0;
}

int open_input(const std::string &name, uint64_t most_of_pipe, container_reading *out) {
    // A pipe that nobody writes to is empty; waiting for its writer could last for ever.
    out->input =
        owned_descriptor(sys::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!out->input.is_open() || sys::fstat(out->input.get(), &out->opened) != 0) {
        return errno;
    }
    (void)fcntl(out->input.get(), F_SETFL, 0);
    const mode_t mode = out->opened.st_mode;
    if (S_ISREG(mode) || S_ISDIR(mode)) {
        return S_ISREG(mode) ? 0 : EISDIR;
    }
    if (!S_ISFIFO(mode)) {
        return not_a_file_or_pipe;
    }
    const int error = take_pipe(&out->input, most_of_pipe);
    return error == 0 && sys::fstat(out->input.get(), &out->opened) != 0 ? errno : error;
}

bool same_time(const timespec &a, const timespec &b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// A change of the file's links changes the time of its status, too.
bool was_changed(const container_reading &reading) {
    const struct stat &then = reading.opened;
    struct stat now {};
    return sys::fstat(reading.input.get(), &now) != 0 || now.st_size != then.st_size ||
           !same_time(now.st_mtim, then.st_mtim) ||
           (now.st_nlink == then.st_nlink && !same_time(now.st_ctim, then.st_ctim));
}

}  // namespace

int open_to_judge(const std::string &name, container_reading *out, uint64_t most_of_pipe) {
    *out = container_reading{};
    int error = open_input(name, most_of_pipe, out);
    if (error == not_a_file_or_pipe) {
        say_of_file(name, "is neither a regular file nor a pipe");
        return status_trouble;
    }
    if (error == 0) {
        if (told(open_container(out->input.get(), name), &out->view) != status_done) {
            return status_trouble;
        }
        error = out->path.read_from(out->input.get()).value();
    }
    out->shown = shown_path(out->path.path(), name);
    return error == 0 ? int{status_done} : say_errno(name, "cannot be read", error);
}

int open_sound_container(const std::string &name, bool read_damaged, container_reading *out,
                         bool *damaged) {
    int status = open_to_judge(name, out);
    if (status != status_done) {
        return status;
    }
    const std::optional<damage> found = scan_structure(out->view);
    if (damaged != nullptr) {
        *damaged = found.has_value();
    }
    if (!found) {
        return status_done;
    }
    (void)tell(norvik::damaged(out->view, *found));
    say_of_file(name, read_damaged ? "is damaged; it is read all the same (--damaged)"
                                   : "is damaged (--damaged reads it all the same)");
    return read_damaged ? int{status_done} : unless_changed(*out, status_trouble);
}

int unless_changed(const container_reading &reading, int status) {
    if (!was_changed(reading)) {
        return status;
    }
    say_of_file(reading.view.name, "was changed while it was read");
    return status_trouble;
}

}  // namespace norvik

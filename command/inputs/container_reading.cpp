// A file is mapped where it lies; a pipe is first moved into memory, since the container is read
// more than once. Soundness takes one pass over it.
#include "container_reading.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "exit_status.h"
#include "failure_words.h"
#include "file_state.h"
#include "memory_file.h"
#include "output.h"
#include "structure.h"
#include "system_calls.h"

namespace norvik {
namespace {

constexpr const char *cannot_be_read = "cannot be read";

// Reads the pipe to its end, `most` bytes at most; a file in memory takes its place.
std::error_code take_pipe(owned_descriptor *pipe, std::uint64_t most) {
    owned_descriptor memory = open_memory();
    if (!memory.is_open()) {
        return last_error();
    }
    constexpr std::size_t piece = std::size_t{1} << 20;
    for (std::uint64_t taken = 0;;) {
        const ssize_t got = sys::splice(pipe->get(), memory.get(), piece);
        if (got < 0 && errno != EINTR) {
            return last_error();
        }
        if (got == 0) {
            break;
        }
        taken += static_cast<std::uint64_t>(std::max<ssize_t>(got, 0));
        if (taken > most) {
            return system_error(EFBIG);
        }
    }
    *pipe = std::move(memory);
    return {};
}

result<> open_input(const std::string &name, std::uint64_t most_of_pipe, container_reading *out) {
    // A pipe that nobody writes to is empty; waiting for its writer could last for ever.
    out->input = owned_descriptor(sys::open(name.c_str(), sys::read_at_once));
    if (!out->input.is_open() || sys::fstat(out->input.get(), &out->opened) != 0) {
        return system_failure(name, cannot_be_read, last_error());
    }
    (void)fcntl(out->input.get(), F_SETFL, 0);
    const mode_t mode = out->opened.st_mode;
    if (S_ISREG(mode) || S_ISDIR(mode)) {
        return S_ISREG(mode) ? result<>()
                             : system_failure(name, cannot_be_read, system_error(EISDIR));
    }
    if (!S_ISFIFO(mode)) {
        return refusal(name, "is neither a regular file nor a pipe");
    }
    std::error_code error = out->pipe_rights.emplace().add(out->input.get());
    error = error ? error : take_pipe(&out->input, most_of_pipe);
    if (!error && sys::fstat(out->input.get(), &out->opened) != 0) {
        error = last_error();
    }
    return error ? system_failure(name, cannot_be_read, error) : result<>();
}

// A change of the file's links changes the time of its status, too.
bool looks_changed(const container_reading &reading) {
    const struct stat &then = reading.opened;
    struct stat now {};
    return sys::fstat(reading.input.get(), &now) != 0 || !is_same_state(now, then) ||
           (now.st_nlink == then.st_nlink && !is_same_time(now.st_ctim, then.st_ctim));
}

// While a writer replaces the file, one look may give the links from before that and the time from
// after it; a second look has both from after it.
bool was_changed(const container_reading &reading) {
    if (!looks_changed(reading)) {
        return false;
    }
    return looks_changed(reading);
}

}  // namespace

exit_status open_to_judge(const std::string &name, container_reading *out,
                          std::uint64_t most_of_pipe) {
    *out = container_reading{};
    if (told(open_input(name, most_of_pipe, out)) != status_done ||
        told(open_container(out->input.get(), name), &out->view) != status_done) {
        return status_trouble;
    }
    out->view.rights = out->pipe_rights.value_or(out->view.rights);
    const std::error_code error = out->path.read_from(out->input.get());
    out->shown = shown_path(out->path.path(), name);
    return error ? tell(system_failure(name, cannot_be_read, error)) : status_done;
}

exit_status open_sound_container(const std::string &name, bool read_damaged, container_reading *out,
                                 bool *damaged) {
    exit_status status = open_to_judge(name, out);
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
    return read_damaged ? status_done : unless_changed(*out, status_trouble);
}

exit_status unless_changed(const container_reading &reading, exit_status status) {
    if (!was_changed(reading)) {
        return status;
    }
    say_of_file(reading.view.name, "was changed while it was read");
    return status_trouble;
}

}  // namespace norvik

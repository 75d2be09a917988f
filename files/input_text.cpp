#include "input_text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "exit_status.h"
#include "file_lock.h"
#include "output.h"

namespace norvik {

namespace {

// Reads to the end, with room for `expected` bytes from the start; an errno value or 0.
int read_to_end(int descriptor, size_t expected, std::string &text) {
    text.resize(std::max<size_t>(expected + 1, 4096));
    size_t size = 0;
    for (;;) {
        if (size == text.size()) {
            text.resize(text.size() * 2);
        }
        const ssize_t got = ::read(descriptor, text.data() + size, text.size() - size);
        if (got < 0 && errno != EINTR) {
            return errno;
        }
        if (got == 0) {
            text.resize(size);
            return 0;
        }
        size += static_cast<size_t>(std::max<ssize_t>(got, 0));
    }
}

}  // namespace

int input_text::read(const std::string &name) {
    if (name == "-") {
        return read(STDIN_FILENO, name);
    }
    const int status = open_to_read(name, &file_);
    return status == status_done ? read(file_.get(), name) : status;
}

int input_text::read(int descriptor, const std::string &name) {
    const bool standard = name == "-";
    const std::string shown = standard ? "<stdin>" : name;
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return say_errno(shown, "cannot be read", errno);
    }
    const bool regular = S_ISREG(status.st_mode);
    int error = rights_.add(descriptor);
    error = error != 0
                ? error
                : read_to_end(descriptor, regular ? static_cast<size_t>(status.st_size) : 0, text_);
    if (error != 0) {
        return say_errno(shown, "cannot be read", error);
    }
    if (!regular || standard) {
        return put_into_memory_file(shown);
    }
    error = file_path_.read_from(descriptor);
    shown_ = shown_path(file_path_.path(), name);
    return error == 0 ? int{status_done} : say_errno(shown, "cannot be read", error);
}

int input_text::take(std::string text) {
    text_ = std::move(text);
    return put_into_memory_file("<the version before>");
}

int input_text::put_into_memory_file(std::string_view name) {
    int error = memory_.create(name);
    error = error != 0 ? error : memory_.write(text_);
    return error == 0 ? int{status_done} : say_errno(name, "cannot be held in memory", error);
}

}  // namespace norvik

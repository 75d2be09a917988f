#include "input_text.h"

#include <fcntl.h>
#include <norviktdm/runtime.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "exit_status.h"
#include "file_lock.h"
#include "output.h"

namespace host {

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

input_text::~input_text() {
    if (temporary_) {
        unlink(path_.c_str());
    }
}

int input_text::read(const std::string &name) {
    const bool standard = name == "-";
    const std::string shown = standard ? "<stdin>" : name;
    owned_descriptor opened;
    if (!standard && open_to_read(name, &opened) != status_done) {
        return status_trouble;
    }
    const int descriptor = standard ? STDIN_FILENO : opened.get();
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return say_errno(shown, "cannot be read", errno);
    }
    const bool regular = S_ISREG(status.st_mode);
    const int error =
        read_to_end(descriptor, regular ? static_cast<size_t>(status.st_size) : 0, text_);
    if (error != 0) {
        return say_errno(shown, "cannot be read", error);
    }
    if (!standard && regular) {
        path_ = name;
        return status_done;
    }
    return put_into_temporary_file(shown);
}

int input_text::put_into_temporary_file(const std::string &name) {
    char path[1024];
    FILE *stream = futil_tmpfile_binary(nullptr, nullptr, nullptr, path, sizeof path);
    if (stream == nullptr) {
        return say_errno(name, "no temporary file for it", errno);
    }
    path_ = path;
    temporary_ = true;
    const bool written = std::fwrite(text_.data(), 1, text_.size(), stream) == text_.size();
    const int error = errno;
    if (std::fclose(stream) != 0 || !written) {
        return say_errno(name, "its temporary file cannot be written", written ? errno : error);
    }
    return status_done;
}

}  // namespace host

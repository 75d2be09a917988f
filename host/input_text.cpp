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

int input_text::read_descriptor(int descriptor, const std::string &name, bool &regular) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return say_errno(name, "cannot be read", errno);
    }
    regular = S_ISREG(status.st_mode);
    const size_t expected = regular ? static_cast<size_t>(status.st_size) : 0;
    const int error = read_to_end(descriptor, expected, text_);
    return error == 0 ? int{status_done} : say_errno(name, "cannot be read", error);
}

int input_text::read(const std::string &name) {
    bool regular = false;
    if (name == "-") {
        const int status = read_descriptor(STDIN_FILENO, "<stdin>", regular);
        return status == status_done ? put_into_temporary_file("<stdin>") : status;
    }
    owned_descriptor opened;
    if (open_to_read(name, &opened) != status_done ||
        read_descriptor(opened.get(), name, regular) != status_done) {
        return status_trouble;
    }
    path_ = name;
    return regular ? int{status_done} : put_into_temporary_file(name);
}

int input_text::read_regular(const std::string &name) {
    owned_descriptor opened;
    bool regular = false;
    if (open_to_read(name, &opened) != status_done ||
        read_descriptor(opened.get(), name, regular) != status_done) {
        return status_trouble;
    }
    path_ = name;
    if (!regular) {
        say_of_file(name, "is not a regular file");
    }
    return regular ? status_done : status_trouble;
}

int input_text::take(std::string text) {
    text_ = std::move(text);
    return put_into_temporary_file("<the version before>");
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

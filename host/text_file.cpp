#include "text_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "exit_status.h"
#include "output.h"

namespace host {

namespace {

int write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
    return 0;
}

int copy_all(int from, int to) {
    char buffer[1 << 16];
    while (true) {
        const ssize_t size = read(from, buffer, sizeof buffer);
        if (size == 0) {
            return 0;
        }
        if (size < 0 && errno != EINTR) {
            return errno;
        }
        const int error =
            size < 0 ? 0 : write_all(to, std::string_view(buffer, static_cast<size_t>(size)));
        if (error != 0) {
            return error;
        }
    }
}

int make_copy(text_file *file) {
    file->copy = owned_descriptor(memfd_create("tdm", MFD_CLOEXEC));
    file->path = "/proc/self/fd/" + std::to_string(file->copy.get());
    return file->copy.is_open() ? 0 : errno;
}

int take_bytes(int descriptor, text_file *file) {
    const int error = file->bytes.load(descriptor);
    if (error == 0) {
        file->lines = split_lines(file->bytes.view());
    }
    return error;
}

}  // namespace

int load_text_file(const std::string &name, text_file *out) {
    out->name = name;
    out->path = name;
    owned_descriptor opened;
    int input = STDIN_FILENO;
    if (name != "-") {
        opened = owned_descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC));
        input = opened.get();
    }
    struct stat status;
    if (input < 0 || fstat(input, &status) != 0) {
        return say_errno(name, "cannot open", errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return say_errno(name, "cannot read", EISDIR);
    }
    int error = 0;
    if (name == "-" || !S_ISREG(status.st_mode)) {
        error = make_copy(out);
        error = error != 0 ? error : copy_all(input, out->copy.get());
        input = out->copy.get();
    }
    error = error != 0 ? error : take_bytes(input, out);
    return error == 0 ? status_done : say_errno(name, "cannot read", error);
}

int hold_text(const std::string &name, std::string_view text, text_file *out) {
    out->name = name;
    int error = make_copy(out);
    error = error != 0 ? error : write_all(out->copy.get(), text);
    error = error != 0 ? error : take_bytes(out->copy.get(), out);
    return error == 0 ? status_done : say_errno(name, "cannot hold", error);
}

}  // namespace host

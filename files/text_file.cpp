#include "text_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <utility>

#include "exit_status.h"
#include "output.h"

namespace norvik {

namespace {

// The file whose descriptor `input` becomes is empty and in memory.
int make_copy(text_file *file) {
    file->input = owned_descriptor(memfd_create("tdm", MFD_CLOEXEC));
    return file->input.is_open() ? 0 : errno;
}

int copy_into_memory(int from, text_file *file) {
    const int error = make_copy(file);
    return error != 0 ? error : copy_bytes(from, file->input.get());
}

// When `input` has its text.
int give_path(text_file *file) {
    const int error = file->path.read_from(file->input.get());
    file->shown = shown_path(file->path.path(), file->name);
    return error;
}

}  // namespace

int refuse_spent_input(const std::vector<std::string> &names) {
    std::set<std::pair<dev_t, ino_t>> streams;
    for (const std::string &name : names) {
        struct stat status {};
        const bool standard = name == "-";
        const int result = standard ? fstat(STDIN_FILENO, &status) : stat(name.c_str(), &status);
        const bool again = S_ISREG(status.st_mode) || S_ISCHR(status.st_mode);
        if (result == 0 && (standard || !again) &&
            !streams.emplace(status.st_dev, status.st_ino).second) {
            say_of_file(name, "is given twice, but can be read only once");
            return status_trouble;
        }
    }
    return status_done;
}

int open_text_file(const std::string &name, text_file *out) {
    out->name = name;
    const bool is_standard_input = name == "-";
    owned_descriptor opened;
    if (!is_standard_input) {
        opened = owned_descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    }
    const int from = is_standard_input ? STDIN_FILENO : opened.get();
    struct stat status;
    if (from < 0 || fstat(from, &status) != 0) {
        return say_errno(name, "cannot open", errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return say_errno(name, "cannot read", EISDIR);
    }
    if (const int error = out->rights.add(from); error != 0) {
        return say_errno(name, "cannot see who may read it", error);
    }
    int error = 0;
    if (!is_standard_input && S_ISREG(status.st_mode)) {
        out->input = std::move(opened);
    } else {
        error = copy_into_memory(from, out);
    }
    error = error != 0 ? error : give_path(out);
    return error == 0 ? status_done : say_errno(name, "cannot read", error);
}

int hold_text(const std::string &name, std::string_view text, text_file *out) {
    out->name = name;
    int error = make_copy(out);
    error = error != 0 ? error : write_bytes(out->input.get(), text);
    error = error != 0 ? error : give_path(out);
    return error == 0 ? status_done : say_errno(name, "cannot hold", error);
}

int read_lines(text_file *file) {
    if (!file->lines.bytes.empty()) {
        return status_done;
    }
    const int error = file->bytes.load(file->input.get());
    if (error != 0) {
        return say_errno(file->name, "cannot read", error);
    }
    file->lines = split_lines(file->bytes.view());
    return status_done;
}

}  // namespace norvik

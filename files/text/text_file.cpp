// A regular file is only opened: its bytes come into memory when somebody asks for them. What is no
// regular file is copied once into a file in memory, to be read as often as needed.
#include "text_file.h"

#include <sys/sysmacros.h>

#include <cerrno>
#include <set>
#include <utility>

#include "memory_file.h"
#include "system_calls.h"

namespace norvik {

namespace {

// The file whose descriptor `input` becomes is empty and in memory.
std::error_code make_copy(text_file *file) {
    file->input = open_memory();
    return file->input.is_open() ? std::error_code() : last_error();
}

std::error_code copy_into_memory(int from, text_file *file) {
    const std::error_code error = make_copy(file);
    return error ? error : copy_bytes(from, file->input.get(), longest_stream);
}

// When `input` has its text.
std::error_code give_path(text_file *file) {
    const std::error_code error = file->path.read_from(file->input.get());
    file->shown = shown_path(file->path.path(), file->name);
    return error;
}

}  // namespace

result<> refuse_spent_input(const std::vector<std::string> &names) {
    std::set<std::pair<dev_t, ino_t>> streams;
    for (const std::string &name : names) {
        struct stat status {};
        const bool standard = name == "-";
        const int found =
            standard ? sys::fstat(STDIN_FILENO, &status) : sys::stat(name.c_str(), &status);
        const bool again = S_ISREG(status.st_mode) || S_ISCHR(status.st_mode);
        if (found == 0 && (standard || !again) &&
            !streams.emplace(status.st_dev, status.st_ino).second) {
            return refusal(name, "is given twice, but can be read only once");
        }
    }
    return {};
}

result<> refuse_device(int descriptor, const struct stat &status, const std::string &name) {
    const bool is_device = S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode);
    const bool is_null = S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3);
    return is_device && !is_null && isatty(descriptor) == 0
               ? refusal(name, "is neither a regular file nor a pipe")
               : result<>();
}

result<> open_text_file(const std::string &name, text_file *out) {
    out->name = name;
    const bool is_standard_input = name == "-";
    owned_descriptor opened;
    if (!is_standard_input) {
        opened = owned_descriptor(sys::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    }
    const int from = is_standard_input ? STDIN_FILENO : opened.get();
    struct stat status {};
    if (from < 0 || sys::fstat(from, &status) != 0) {
        return system_failure(name, "cannot open", last_error());
    }
    if (S_ISDIR(status.st_mode)) {
        return system_failure(name, "cannot read", system_error(EISDIR));
    }
    if (auto fits = refuse_device(from, status, name); !fits) {
        return fits;
    }
    if (const std::error_code error = out->rights.add(from); error) {
        return system_failure(name, "cannot see who may read it", error);
    }
    std::error_code error;
    if (!is_standard_input && S_ISREG(status.st_mode)) {
        out->input = std::move(opened);
    } else {
        error = copy_into_memory(from, out);
    }
    error = error ? error : give_path(out);
    return error ? system_failure(name, "cannot read", error) : result<>();
}

result<> hold_text(const std::string &name, std::string_view text, text_file *out) {
    out->name = name;
    std::error_code error = make_copy(out);
    error = error ? error : write_bytes(out->input.get(), text);
    error = error ? error : give_path(out);
    return error ? system_failure(name, "cannot hold", error) : result<>();
}

}  // namespace norvik

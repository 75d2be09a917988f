#include "memory_file.h"

#include "descriptor_path.h"
#include "failure.h"
#include "file_bytes.h"
#include "system_calls.h"

namespace norvik {

owned_descriptor open_memory() {
    return owned_descriptor(sys::memfd_create("tdm", MFD_CLOEXEC));
}

std::error_code memory_file::create(std::string_view name) {
    std::error_code error;
    if (descriptors_have_paths()) {
        descriptor_ = open_memory();
        path_ = own_path(descriptor_.get());
        error = descriptor_.is_open() ? std::error_code() : last_error();
    } else {
        error = file_.create();
        path_ = file_.path();
    }
    if (!error) {
        shown_ = shown_path(path_, name);
    }
    return error;
}

std::error_code memory_file::write(std::string_view bytes) const {
    return write_bytes(descriptor(), bytes);
}

std::error_code memory_file::copy_from(int from) const {
    struct stat status {};
    if (sys::fstat(from, &status) != 0) {
        return last_error();
    }
    return copy_bytes(from, descriptor(), S_ISREG(status.st_mode) ? UINT64_MAX : longest_stream);
}

std::FILE *open_as_temporary(memory_file *file, char *path, std::size_t path_size) {
    *file = {};
    errno = file->create(newest_shown_name()).value();
    if (errno == 0 && file->path().size() >= path_size) {
        errno = ENAMETOOLONG;
    }
    if (errno != 0) {
        return nullptr;
    }
    path[file->path().copy(path, path_size)] = '\0';
    return std::fopen(path, "wb");
}

}  // namespace norvik

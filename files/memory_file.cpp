#include "memory_file.h"

#include <sys/mman.h>

#include <cerrno>

#include "descriptor_path.h"

namespace norvik {

int memory_file::create(std::string_view name) {
    int error = 0;
    if (descriptors_have_paths()) {
        descriptor_ = owned_descriptor(memfd_create("tdm", MFD_CLOEXEC));
        path_ = own_path(descriptor_.get());
        error = descriptor_.is_open() ? 0 : errno;
    } else {
        error = file_.create();
        path_ = file_.path();
    }
    if (error == 0) {
        shown_ = shown_path(path_, name);
    }
    return error;
}

int memory_file::write(std::string_view bytes) const {
    return write_bytes(descriptor(), bytes);
}

}  // namespace norvik

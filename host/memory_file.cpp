#include "memory_file.h"

#include <sys/mman.h>

#include <cerrno>

#include "descriptor_path.h"

namespace host {

int memory_file::create() {
    if (!descriptors_have_paths()) {
        const int error = file_.create();
        path_ = file_.path();
        return error;
    }
    descriptor_ = owned_descriptor(memfd_create("tdm", MFD_CLOEXEC));
    path_ = own_path(descriptor_.get());
    return descriptor_.is_open() ? 0 : errno;
}

int memory_file::write(std::string_view bytes) const {
    return write_bytes(descriptor(), bytes);
}

}  // namespace host

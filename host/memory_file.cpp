#include "memory_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace host {

int memory_file::create() {
    descriptor_ = owned_descriptor(memfd_create("tdm", MFD_CLOEXEC));
    path_ = "/proc/self/fd/" + std::to_string(descriptor_.get());
    return descriptor_.is_open() ? 0 : errno;
}

int memory_file::write(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_.get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<size_t>(written));
    }
    return 0;
}

}  // namespace host

#include "memory_file.h"

#include <fcntl.h>
#include <norviktdm/runtime.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <vector>

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

// The service by which the library gets its temporary files, in place of the runtime's own: these
// hold people's text, and one on disk would outlive a command that is killed. They live as long as
// the command; that the library cannot remove them by their paths is as it should be.
FILE *futil_tmpfile_binary(void *, void *, void *, char *name, size_t name_size) {
    static std::vector<host::memory_file> files;
    host::memory_file &file = files.emplace_back();
    errno = file.create();
    if (errno == 0 && file.path().size() >= name_size) {
        errno = ENAMETOOLONG;
    }
    if (errno != 0) {
        return nullptr;
    }
    name[file.path().copy(name, name_size)] = '\0';
    return std::fopen(name, "wb");
}

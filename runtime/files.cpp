// Files: examining them, and temporary files.
#include <fcntl.h>
#include <norviktdm/runtime.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

int futil_stat(const char *path, int, struct stat *st) {
    return stat(path, st);
}

FILE *futil_tmpfile_binary(void *, void *, void *, char *name, size_t name_size) {
    const char *folder = std::getenv("TMPDIR");
    if (folder == nullptr || *folder == '\0') {
        folder = "/tmp";
    }
    const int length = std::snprintf(name, name_size, "%s/norviktdm.XXXXXX", folder);
    if (length < 0 || static_cast<size_t>(length) >= name_size) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    const int descriptor = mkostemp(name, O_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    FILE *stream = fdopen(descriptor, "wb");
    if (stream == nullptr) {
        const int reason = errno;
        close(descriptor);
        unlink(name);
        errno = reason;
    }
    return stream;
}

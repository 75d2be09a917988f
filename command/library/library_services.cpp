// Services of the library that the command provides itself, in place of the runtime's.
#include <norviktdm/runtime.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>

#include "memory_file.h"
#include "out_of_memory.h"

// Temporary files hold people's text, and one on disk would outlive a command that is killed. These
// live in memory, as long as the command; that the library cannot remove them by their paths is as
// it should be.
FILE *futil_tmpfile_binary(void *, void *, void *, char *name, std::size_t name_size) try {
    static norvik::memory_file file;
    return norvik::open_as_temporary(&file, name, name_size);
} catch (const std::bad_alloc &) {  // the library must not be unwound
    norvik::note_out_of_memory();
    errno = ENOMEM;
    return nullptr;
}

// Whatever the library writes by a path is a temporary file, of which file_replacement forces the
// proven bytes to disk, once. Here they only leave the stream.
int sys_fsync_stream(FILE *stream) {
    if (std::fflush(stream) != 0) {
        return -1;
    }
    if (std::ferror(stream) != 0) {
        errno = EIO;
        return -1;
    }
    const bool may_fail = fileno(stream) == STDOUT_FILENO && fsync(STDOUT_FILENO) != 0;
    return may_fail && (errno == EIO || errno == ENOSPC || errno == EDQUOT) ? -1 : 0;
}

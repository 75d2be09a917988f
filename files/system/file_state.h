// Whether two looks at files have seen the same.
#ifndef NORVIK_FILE_STATE_H
#define NORVIK_FILE_STATE_H

#include <sys/stat.h>

namespace norvik {

// Whether both are of one file, by whatever names.
inline bool is_same_file(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

inline bool is_same_time(const timespec &a, const timespec &b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// The same, and nobody has written to it in between, as far as size and time of writing tell.
inline bool is_same_state(const struct stat &a, const struct stat &b) {
    return is_same_file(a, b) && a.st_size == b.st_size && is_same_time(a.st_mtim, b.st_mtim);
}

}  // namespace norvik

#endif

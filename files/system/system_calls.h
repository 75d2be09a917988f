// The calls by which this program reaches files, in one place: a test can make any of them fail, or
// do less than it was asked for. Each does what the system's call of its name does.
#ifndef NORVIK_SYSTEM_CALLS_H
#define NORVIK_SYSTEM_CALLS_H

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace norvik::sys {

enum class call {
    open,
    read,
    write,
    stat,
    seek,
    truncate,
    map,
    memory_file,
    sync,
    close,
    splice,
    duplicate,
    lock,
    rename,
    link,
    unlink,
    mode,
    owner,
    get_attribute,
    set_attribute,
    list_attributes,
    remove_attribute,
    resolve,
    make_folder,
    random,
};

// To read what stands under a name that others chose: neither waits for a pipe's writer nor takes a
// terminal as the process's own.
inline constexpr int read_at_once = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// Null but in tests. Returns whether the call fails, with errno set; may lower `count`, the bytes
// that a read or a write is asked for.
inline bool (*fault)(call which, std::size_t *count) = nullptr;

inline bool fails(call which, std::size_t *count = nullptr) {
    return fault != nullptr && fault(which, count);
}

inline int open(const char *path, int flags, mode_t mode = 0) {
    return fails(call::open) ? -1 : ::open(path, flags, mode);
}
inline int openat(int folder, const char *name, int flags, mode_t mode = 0) {
    return fails(call::open) ? -1 : ::openat(folder, name, flags, mode);
}
inline ssize_t read(int descriptor, void *to, std::size_t count) {
    return fails(call::read, &count) ? -1 : ::read(descriptor, to, count);
}
inline ssize_t write(int descriptor, const void *from, std::size_t count) {
    return fails(call::write, &count) ? -1 : ::write(descriptor, from, count);
}
inline int stat(const char *path, struct stat *to) {
    return fails(call::stat) ? -1 : ::stat(path, to);
}
inline int lstat(const char *path, struct stat *to) {
    return fails(call::stat) ? -1 : ::lstat(path, to);
}
inline int fstat(int descriptor, struct stat *to) {
    return fails(call::stat) ? -1 : ::fstat(descriptor, to);
}
inline int fstatat(int folder, const char *name, struct stat *to, int flags) {
    return fails(call::stat) ? -1 : ::fstatat(folder, name, to, flags);
}
inline off_t lseek(int descriptor, off_t offset, int whence) {
    return fails(call::seek) ? -1 : ::lseek(descriptor, offset, whence);
}
inline int ftruncate(int descriptor, off_t size) {
    return fails(call::truncate) ? -1 : ::ftruncate(descriptor, size);
}
// A private, read-only mapping from the file's start, its pages read already.
inline void *map(int descriptor, std::size_t size) {
    return fails(call::map)
               ? MAP_FAILED
               : ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, descriptor, 0);
}
inline int memfd_create(const char *name, unsigned flags) {
    return fails(call::memory_file) ? -1 : ::memfd_create(name, flags);
}
inline int fsync(int descriptor) {
    return fails(call::sync) ? -1 : ::fsync(descriptor);
}
inline int duplicate(int descriptor) {
    return fails(call::duplicate) ? -1 : ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
}
// Makes `as` another descriptor of the same file.
inline int dup2(int descriptor, int as) {
    return fails(call::duplicate) ? -1 : ::dup2(descriptor, as);
}
// Moves bytes of a pipe to a file, from where both stand.
inline ssize_t splice(int pipe, int to, std::size_t count) {
    return fails(call::splice, &count) ? -1 : ::splice(pipe, nullptr, to, nullptr, count, 0);
}
// Closes it whatever comes back.
inline int close(int descriptor) {
    const bool reported = fails(call::close);
    const int error = reported ? errno : 0;
    const int closed = ::close(descriptor);
    errno = reported ? error : errno;
    return reported ? -1 : closed;
}
// Whether closing it would report a write that failed; the descriptor itself stays open.
inline int close_copy(int descriptor) {
    const int copy = fails(call::duplicate) ? -1 : ::dup(descriptor);
    return copy < 0 ? -1 : close(copy);
}
inline int flock(int descriptor, int operation) {
    return fails(call::lock) ? -1 : ::flock(descriptor, operation);
}
inline int renameat(int from, const char *old_name, int to, const char *new_name) {
    return fails(call::rename) ? -1 : ::renameat(from, old_name, to, new_name);
}
inline int renameat2(int from, const char *old_name, int to, const char *new_name, unsigned flags) {
    return fails(call::rename) ? -1 : ::renameat2(from, old_name, to, new_name, flags);
}
inline int linkat(int from, const char *old_name, int to, const char *new_name, int flags) {
    return fails(call::link) ? -1 : ::linkat(from, old_name, to, new_name, flags);
}
inline int unlinkat(int folder, const char *name, int flags) {
    return fails(call::unlink) ? -1 : ::unlinkat(folder, name, flags);
}
inline int fchmod(int descriptor, mode_t mode) {
    return fails(call::mode) ? -1 : ::fchmod(descriptor, mode);
}
inline int fchown(int descriptor, uid_t owner, gid_t group) {
    return fails(call::owner) ? -1 : ::fchown(descriptor, owner, group);
}
inline ssize_t fgetxattr(int descriptor, const char *key, void *to, std::size_t room) {
    return fails(call::get_attribute) ? -1 : ::fgetxattr(descriptor, key, to, room);
}
inline int fsetxattr(int descriptor, const char *key, const void *value, std::size_t size) {
    return fails(call::set_attribute) ? -1 : ::fsetxattr(descriptor, key, value, size, 0);
}
inline ssize_t flistxattr(int descriptor, char *to, std::size_t room) {
    return fails(call::list_attributes) ? -1 : ::flistxattr(descriptor, to, room);
}
inline int fremovexattr(int descriptor, const char *key) {
    return fails(call::remove_attribute) ? -1 : ::fremovexattr(descriptor, key);
}
inline char *realpath(const char *path, char *resolved) {
    return fails(call::resolve) ? nullptr : ::realpath(path, resolved);
}
inline char *mkdtemp(char *pattern) {
    return fails(call::make_folder) ? nullptr : ::mkdtemp(pattern);
}
inline ssize_t getrandom(void *to, std::size_t count) {
    return fails(call::random) ? -1 : ::getrandom(to, count, 0);
}

}  // namespace norvik::sys

#endif

#include "file_replace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "file_attributes.h"
#include "output.h"

namespace host {

namespace {

// The rename has been done: what goes wrong now is told as such.
int force_folder_to_disk(const std::string &name, const std::string &path) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const owned_descriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A file system that cannot force a folder says EINVAL; there is nothing more to be had there.
    if (descriptor.is_open() && (fsync(descriptor.get()) == 0 || errno == EINVAL)) {
        return status_done;
    }
    return say_errno(name, "is replaced, but its folder cannot be forced to disk", errno);
}

// Gives the temporary file a name that nothing has yet.
int rename_to_new(const std::string &from, const std::string &to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return -1;
    }
    return link(from.c_str(), to.c_str()) == 0 ? unlink(from.c_str()) : -1;
}

}  // namespace

int file_replacement::lock_output(const std::string &name, bool must_be_new) {
    const int status = lock_file(name, true, context_, &file_);
    if (status != status_done) {
        return status;
    }
    if (file_.exists && (must_be_new || !context_.force)) {
        say_of_file(name, must_be_new ? "exists already" : "exists already (--force replaces it)");
        return status_trouble;
    }
    return status_done;
}

int file_replacement::refuse_same(const std::string &input) const {
    struct stat read {};
    if (!file_.exists || stat(input.c_str(), &read) != 0 || read.st_dev != file_.status.st_dev ||
        read.st_ino != file_.status.st_ino) {
        return status_done;
    }
    say_of_file(file_.name, "is the same file as " + escape_name(input) + ", which is being read");
    return status_trouble;
}

int file_replacement::commit(const std::function<int(int descriptor)> &prove) {
    int status = prove ? prove(temporary_.descriptor()) : int{status_done};
    if (status == status_done && context_.dry_run) {
        say_of_file(file_.name, file_.exists ? "would be replaced" : "would be created");
        return status_done;
    }
    if (status == status_done) {
        status = file_.exists ? copy_attributes(file_.descriptor.get(), file_.status,
                                                temporary_.descriptor(), file_.name, context_.force)
                              : set_new_file_mode(temporary_.descriptor(), file_.name);
    }
    if (status == status_done && mark_) {
        mark_(temporary_.descriptor());
    }
    if (status == status_done) {
        status = force_to_disk();
    }
    return status == status_done ? put_in_place() : status;
}

int file_replacement::force_to_disk() {
    // Never a second try: the pages that could not be written count as clean after the first.
    if (fsync(temporary_.descriptor()) != 0) {
        return say_errno(file_.name, "the new file cannot be forced to disk", errno);
    }
    // Some file systems report a failed write at close only. The descriptor itself stays open,
    // because it holds the lock that marks the temporary file as a living command's.
    const int copy = dup(temporary_.descriptor());
    if (copy < 0 || close(copy) != 0) {
        return say_errno(file_.name, "the new file cannot be closed", errno);
    }
    return status_done;
}

int file_replacement::put_in_place() {
    if (file_.exists && !is_unchanged(file_)) {
        say_of_file(file_.name, "was changed by somebody else meanwhile; nothing is replaced");
        return status_trouble;
    }
    if (last_look_ && last_look_() != status_done) {
        return status_trouble;
    }
    const char *from = temporary_.path().c_str();
    const int renamed = file_.exists ? std::rename(from, file_.path.c_str())
                                     : rename_to_new(temporary_.path(), file_.path);
    if (renamed != 0) {
        return say_errno(file_.name, "cannot be put in place", errno);
    }
    temporary_.renamed();
    return force_folder_to_disk(file_.name, file_.path);
}

}  // namespace host

#include "file_replace.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "escaped_text.h"
#include "exit_status.h"
#include "file_attributes.h"
#include "out_of_memory.h"
#include "output.h"

namespace norvik {

namespace {

// The rename has been done: what goes wrong now is told as such.
int force_folder_to_disk(const locked_file &file) {
    // A file system that cannot force a folder says EINVAL; there is nothing more to be had there.
    if (fsync(file.folder.get()) == 0 || errno == EINVAL) {
        return status_done;
    }
    return say_errno(file.name, "is replaced, but its folder cannot be forced to disk", errno);
}

}  // namespace

int file_replacement::lock(const std::string &name) {
    const int status = lock_file(name, false, options_, &file_);
    if (status != status_done) {
        return status;
    }
    const int error = old_path_.read_from(file_.descriptor.get());
    shown_file_ = shown_path(old_path(), file_.name);
    return error == 0 ? int{status_done} : say_errno(name, "cannot be read", error);
}

int file_replacement::lock_any(const std::string &name) {
    narrow_to("what it is made from");
    return lock_file(name, true, options_, &file_);
}

int file_replacement::lock_output(const std::string &name, bool must_be_new) {
    const int status = lock_any(name);
    if (status != status_done) {
        return status;
    }
    if (file_.exists && (must_be_new || !options_.force)) {
        say_of_file(name, must_be_new ? "exists already" : "exists already (--force replaces it)");
        return status_trouble;
    }
    return status_done;
}

int file_replacement::begin() {
    const int status = temporary_.create(file_);
    if (status != status_done) {
        return status;
    }
    const int error = temporary_path_.write_to(temporary_.descriptor());
    shown_temporary_ = shown_path(temporary_path(), file_.name);
    return error == 0 ? int{status_done}
                      : say_errno(file_.name, "the new file cannot be written", error);
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
    if (const int error = temporary_path_.finish_writing(); error != 0) {
        return say_errno(file_.name, "the new file cannot be written", error);
    }
    int status = prove ? prove(temporary_.descriptor()) : int{status_done};
    if (status == status_done && options_.dry_run) {
        say_of_file(file_.name, file_.exists ? "would be replaced" : "would be created");
        return status_done;
    }
    if (status == status_done) {
        status = set_attributes();
    }
    if (status == status_done && mark_) {
        mark_(temporary_.descriptor());
    }
    if (status == status_done) {
        status = force_to_disk();
    }
    return status == status_done ? put_in_place() : status;
}

int file_replacement::made_from(int descriptor) {
    const int error = rights_.add(descriptor);
    return error == 0 ? int{status_done}
                      : say_errno(file_.name, "cannot see who may read its source", error);
}

int file_replacement::set_attributes() {
    const int target = temporary_.descriptor();
    if (!file_.exists) {
        return set_new_file_mode(target, file_.name, rights_);
    }
    mode_t narrowed = 0;
    int status =
        copy_attributes(file_.descriptor.get(), file_.status, target, file_.name, options_.force);
    if (status == status_done && narrowed_to_ != nullptr) {
        status = narrow_file_mode(target, file_.name, rights_, &narrowed);
    }
    if (narrowed != 0 && !options_.quiet) {
        char mode[16];
        std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(narrowed));
        say_of_file(file_.name, std::string("gets the mode ") + mode + ": " + narrowed_to_ +
                                    " may be read by no more");
    }
    return status;
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
        if (errno != 0) {
            return say_errno(file_.name, "cannot be looked at again", errno);
        }
        say_of_file(file_.name, "was changed by somebody else meanwhile; nothing is replaced");
        return status_trouble;
    }
    if (last_look_ && last_look_() != status_done) {
        return status_trouble;
    }
    const bool may_not_part = file_.exists && !options_.break_links;
    struct stat now {};
    if (may_not_part && fstat(file_.descriptor.get(), &now) != 0) {
        return say_errno(file_.name, "cannot be looked at again", errno);
    }
    if (may_not_part && now.st_nlink > 1) {
        say_of_file(file_.name,
                    "has got another hard link meanwhile, which would part "
                    "(--break-links goes on); nothing is replaced");
        return status_trouble;
    }
    const int status = temporary_.put_in_place();
    if (status != status_done) {
        return status;
    }
    note_replaced();
    if (may_not_part && fstat(file_.descriptor.get(), &now) == 0 && now.st_nlink > 0) {
        say_of_file(file_.name,
                    "is replaced; a hard link made in the last moment has the old file");
    }
    return force_folder_to_disk(file_);
}

}  // namespace norvik

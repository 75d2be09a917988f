#include "working_file.h"

#include <sys/stat.h>

#include <new>

#include "base_attribute.h"
#include "container_view.h"
#include "failure_words.h"
#include "file_state.h"
#include "out_of_memory.h"
#include "output.h"
#include "system_calls.h"

namespace norvik {

exit_status working_file::read(const std::string &name) {
    name_ = name;
    if (name == "-") {
        return told(input_.read(name));
    }
    if (told(open_to_read(name), &source_) != status_done) {
        return status_trouble;
    }
    // The mark first: were it read after the text, another check-in of the file that comes between
    // could make an old text pass for a new one.
    if (const std::error_code error = read_base(source_.get(), &base_); error) {
        return say_errno(name, "what it was made from cannot be read", error);
    }
    const exit_status status = told(input_.read(source_.get(), name));
    struct stat found {};
    // What is no regular file can neither be marked nor replaced.
    if (sys::fstat(source_.get(), &found) != 0 || !S_ISREG(found.st_mode)) {
        source_ = owned_descriptor();
    }
    return status;
}

exit_status working_file::check_unchanged(int descriptor) const {
    file_bytes now;
    if (const std::error_code error = now.load(descriptor); error) {
        return say_errno(name_, "cannot be read again", error);
    }
    if (now.view() == input_.text()) {
        return status_done;
    }
    say_of_file(name_, "was changed by somebody else meanwhile; it is left as it is");
    return status_trouble;
}

void working_file::set_base(std::string_view identifier) const try {
    if (!source_.is_open() || context_.dry_run || base_ == identifier) {
        return;
    }
    file_bytes now;
    std::error_code error = now.load(source_.get());
    if (!error && now.view() != input_.text()) {
        say_of_file(name_, "was changed meanwhile, so it is not marked with the new version");
        return;
    }
    error = error ? error : write_base(source_.get(), identifier);
    // Where nothing can be marked, it is not news to those who check in there; a file that had a
    // mark is guarded, and somebody counts on that.
    const bool never_marked = base_.empty() && (error == std::errc::not_supported ||
                                                error == std::errc::function_not_supported);
    if (error && !never_marked) {
        (void)say_errno(name_, "cannot be marked with the version that it is now", error);
    }
} catch (const std::bad_alloc &) {
    // The text is stored by now, and the command must not end as if it were not.
    say_without_memory("; the file checked in is not marked with the version that it is now");
}

exit_status working_file::prepare(std::string_view text, const std::string &identifier,
                                  const granted_rights &rights) {
    struct stat read {};
    if (told(replacement_.lock(name_)) != status_done) {
        return status_trouble;
    }
    // The lock is on what the name leads to now; an editor that renames leaves the old file behind.
    const locked_file &locked = replacement_.file();
    if (!source_.is_open() || sys::fstat(source_.get(), &read) != 0 ||
        !is_same_file(read, locked.status)) {
        say_of_file(name_, "was replaced by somebody else meanwhile; it is left as it is");
        return status_trouble;
    }
    if (check_unchanged(locked.descriptor.get()) != status_done ||
        told(replacement_.begin()) != status_done) {
        return status_trouble;
    }
    replacement_.made_from(rights);
    replacement_.narrow_to("what it is made from");
    replacement_.mark_new_file([this, identifier](int descriptor) {
        return mark_new_file(descriptor, identifier, name_);
    });
    replacement_.look_before_rename(
        saying([this] { return check_unchanged(replacement_.file().descriptor.get()); }));
    return told(replacement_.write(text));
}

}  // namespace norvik

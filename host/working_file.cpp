#include "working_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include "base_attribute.h"
#include "container_view.h"
#include "output.h"

namespace host {

int working_file::read(const std::string &name) {
    name_ = name;
    if (name == "-") {
        return input_.read(name);
    }
    if (open_to_read(name, &source_) != status_done) {
        return status_trouble;
    }
    // The mark first: were it read after the text, another check-in of the file that comes between
    // could make an old text pass for a new one.
    base_ = read_base(source_.get());
    const int status = input_.read(source_.get(), name);
    struct stat found {};
    if (fstat(source_.get(), &found) != 0 || !S_ISREG(found.st_mode)) {
        source_ = owned_descriptor();
    }
    return status;
}

bool working_file::holds_text(int descriptor) const {
    file_bytes now;
    return now.load(descriptor) == 0 && now.view() == input_.text();
}

int working_file::check_unchanged(int descriptor) const {
    if (holds_text(descriptor)) {
        return status_done;
    }
    say_of_file(name_, "was changed by somebody else meanwhile; it is left as it is");
    return status_trouble;
}

void working_file::set_base(std::string_view identifier) const {
    if (!source_.is_open() || context_.dry_run || base_ == identifier) {
        return;
    }
    if (!holds_text(source_.get())) {
        say_of_file(name_, "was changed meanwhile, so it is not marked with the new version");
        return;
    }
    if (const int error = write_base(source_.get(), identifier); error != 0) {
        (void)say_errno(name_, "cannot be marked with the version that it is now", error);
    }
}

int working_file::prepare(std::string_view text, const std::string &identifier) {
    struct stat read {};
    if (replacement_.lock(name_) != status_done) {
        return status_trouble;
    }
    const locked_file &locked = replacement_.file();
    if (!source_.is_open() || fstat(source_.get(), &read) != 0 ||
        read.st_dev != locked.status.st_dev || read.st_ino != locked.status.st_ino) {
        say_of_file(name_, "was replaced by somebody else meanwhile; it is left as it is");
        return status_trouble;
    }
    if (check_unchanged(locked.descriptor.get()) != status_done ||
        replacement_.begin() != status_done) {
        return status_trouble;
    }
    replacement_.mark_new_file(
        [this, identifier](int descriptor) { mark_new_file(descriptor, identifier, name_); });
    replacement_.look_before_rename(
        [this] { return check_unchanged(replacement_.file().descriptor.get()); });
    // The replacement forces the descriptor to disk, so the writer gets another to close.
    output_writer writer(dup(replacement_.temporary_descriptor()), name_);
    writer.write(text);
    return writer.finish();
}

}  // namespace host

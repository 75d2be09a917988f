#include "replaced_text.h"

#include "base_attribute.h"
#include "escaped_text.h"
#include "exit_status.h"
#include "living_version.h"
#include "output.h"
#include "proof.h"

namespace norvik {

int replaced_text::look(const locked_file &file, const version_record &asked) {
    file_bytes bytes;
    if (const std::error_code error = bytes.load(file.descriptor.get()); error) {
        return say_errno(file.name, "cannot be read", error);
    }
    std::string mark;
    (void)read_base(file.descriptor.get(), &mark);  // which version to try first
    const version_record *base = find_version_by_oid(view_, mark);
    const auto newest = resolve_version(view_, "");
    keeper_ = find_living_version(view_, {base, &asked, newest ? *newest : nullptr}, bytes.view());
    if (keeper_ == nullptr) {
        say_of_file(file.name, "has changes that are in no version of " + escape_name(view_.name) +
                                   " (--force replaces it all the same)");
        return status_trouble;
    }
    file_ = &file;
    return status_done;
}

int replaced_text::look_again() const {
    file_bytes bytes;
    if (keeper_ == nullptr) {
        return status_done;
    }
    if (const std::error_code error = bytes.load(file_->descriptor.get()); error) {
        return say_errno(file_->name, "cannot be read", error);
    }
    if (!version_equals(view_, keeper_->id, bytes.view())) {
        say_of_file(file_->name, "was changed by somebody else meanwhile; nothing is replaced");
        return status_trouble;
    }
    return status_done;
}

}  // namespace norvik

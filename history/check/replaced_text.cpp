// The versions that it most likely is are read first: that of the mark, the one asked for, the
// newest. Else all are looked through (living_version.h). Once more, for that version alone, just
// before the text goes.
#include "replaced_text.h"

#include "base_attribute.h"
#include "living_version.h"
#include "proof.h"
#include "version_names.h"

namespace norvik {

result<> replaced_text::look(const locked_file &file, const version_record &asked) {
    file_bytes bytes;
    if (const std::error_code error = bytes.load(file.descriptor.get())) {
        return system_failure(file.name, "cannot be read", error);
    }
    std::string mark;
    (void)read_base(file.descriptor.get(), &mark);  // which version to try first
    const version_record *base = find_version_by_oid(view_, mark);
    const auto newest = resolve_version(view_, "");
    keeper_ = find_living_version(view_, {base, &asked, newest ? *newest : nullptr}, bytes.view());
    if (keeper_ == nullptr) {
        failure why = refusal(file.name, "has changes that are in no version of " + view_.name);
        why.way_out = remedy::lose_changes;
        return why;
    }
    file_ = &file;
    return {};
}

result<> replaced_text::look_again() const {
    file_bytes bytes;
    if (keeper_ == nullptr) {
        return {};
    }
    if (const std::error_code error = bytes.load(file_->descriptor.get())) {
        return system_failure(file_->name, "cannot be read", error);
    }
    if (!version_equals(view_, keeper_->id, bytes.view())) {
        return refusal(file_->name, "was changed by somebody else meanwhile; nothing is replaced");
    }
    return {};
}

}  // namespace norvik

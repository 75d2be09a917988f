// The mark is a user attribute, reached by descriptor alone. It is a hint that anybody may have
// forged: what is read is looked up before it counts. Reading takes one buffer of the kernel's
// bound, 64 KiB.
#include "base_attribute.h"

#include <cerrno>

#include "system_calls.h"

namespace norvik {

namespace {

constexpr const char *attribute = "user.tdm.base";
constexpr std::size_t longest_value = 65536;  // of any attribute, by the kernel

bool is_not_kept(int error) {
    return error == ENOTSUP || error == ENOSYS;
}

std::error_code set_or_remove(int descriptor, std::string_view identifier) {
    const std::error_code error =
        identifier.empty() ? remove_base(descriptor) : write_base(descriptor, identifier);
    return is_not_kept(error.value()) ? std::error_code() : error;
}

}  // namespace

std::error_code read_base(int descriptor, std::string *identifier) {
    identifier->resize(longest_value);
    const ssize_t size =
        sys::fgetxattr(descriptor, attribute, identifier->data(), identifier->size());
    const int error = size < 0 ? errno : 0;
    identifier->resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    const bool none = error == ENODATA || is_not_kept(error);
    return none ? std::error_code() : system_error(error);
}

std::error_code write_base(int descriptor, std::string_view identifier) {
    if (sys::fsetxattr(descriptor, attribute, identifier.data(), identifier.size()) == 0) {
        return {};
    }
    const std::error_code error = last_error();
    (void)remove_base(descriptor);
    return error;
}

std::error_code remove_base(int descriptor) {
    if (sys::fremovexattr(descriptor, attribute) == 0 || errno == ENODATA || is_not_kept(errno)) {
        return {};
    }
    return last_error();
}

result<> mark_new_file(int descriptor, std::string_view identifier, const std::string &name) {
    std::error_code error = set_or_remove(descriptor, identifier);
    struct stat status {};
    // The mode of the old file may forbid writing, and attributes with it, to all but root.
    if (error == std::errc::permission_denied && sys::fstat(descriptor, &status) == 0 &&
        sys::fchmod(descriptor, status.st_mode | S_IWUSR) == 0) {
        error = set_or_remove(descriptor, identifier);
        const int restored = sys::fchmod(descriptor, status.st_mode);
        error = restored != 0 ? last_error() : error;
    }
    if (error) {
        return system_failure(name, "cannot be marked with the version it is made from", error);
    }
    return {};
}

}  // namespace norvik

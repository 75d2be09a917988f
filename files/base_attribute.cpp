#include "base_attribute.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <cerrno>

#include "output.h"

namespace norvik {

namespace {

constexpr const char *attribute = "user.tdm.base";
constexpr std::size_t longest_identifier = 4096;  // of what can be one; longer is somebody else's

bool is_not_kept(int error) {
    return error == ENOTSUP || error == ENOSYS;
}

int set_or_remove(int descriptor, std::string_view identifier) {
    return identifier.empty() ? remove_base(descriptor) : write_base(descriptor, identifier);
}

}  // namespace

int read_base(int descriptor, std::string *identifier) {
    identifier->resize(longest_identifier);
    const ssize_t size = fgetxattr(descriptor, attribute, identifier->data(), identifier->size());
    const int error = size < 0 ? errno : 0;
    identifier->resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return error == ENODATA || error == ERANGE || is_not_kept(error) ? 0 : error;
}

int write_base(int descriptor, std::string_view identifier) {
    if (fsetxattr(descriptor, attribute, identifier.data(), identifier.size(), 0) == 0) {
        return 0;
    }
    const int error = errno;
    if (is_not_kept(error)) {
        return 0;
    }
    (void)remove_base(descriptor);
    return error;
}

int remove_base(int descriptor) {
    if (fremovexattr(descriptor, attribute) == 0 || errno == ENODATA || is_not_kept(errno)) {
        return 0;
    }
    return errno;
}

void mark_new_file(int descriptor, std::string_view identifier, const std::string &name) {
    int error = set_or_remove(descriptor, identifier);
    struct stat status {};
    // The mode of the old file may forbid writing, and attributes with it, to all but root.
    if (error == EACCES && fstat(descriptor, &status) == 0 &&
        fchmod(descriptor, status.st_mode | S_IWUSR) == 0) {
        error = set_or_remove(descriptor, identifier);
        const int restored = fchmod(descriptor, status.st_mode);
        error = restored != 0 ? errno : error;
    }
    if (error != 0) {
        (void)say_errno(name, "cannot be marked with the version it is made from", error);
    }
}

}  // namespace norvik

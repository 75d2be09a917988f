#include "file_attributes.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

#include "escaped_text.h"
#include "exit_status.h"
#include "output.h"

namespace norvik {

namespace {

constexpr const char *access_list = "system.posix_acl_access";

// Grows `buffer` until `call` fits in; -1 with errno when it fails.
template <typename Call>
ssize_t read_growing(std::vector<char> &buffer, const Call &call) {
    for (;;) {
        const ssize_t size = call(buffer.data(), buffer.size());
        if (size >= 0 || errno != ERANGE) {
            return size;
        }
        buffer.resize(buffer.size() * 4);
    }
}

ssize_t read_attribute(int descriptor, const char *key, std::vector<char> &value) {
    return read_growing(
        value, [&](char *to, size_t room) { return fgetxattr(descriptor, key, to, room); });
}

// The file's access list, empty where it has none; 0 or an errno value.
int read_access_list(int descriptor, std::string &list) {
    std::vector<char> value(1024);
    const ssize_t size = read_attribute(descriptor, access_list, value);
    list.assign(value.data(), static_cast<size_t>(std::max<ssize_t>(size, 0)));
    return size >= 0 || errno == ENODATA || errno == ENOTSUP ? 0 : errno;
}

int remove_access_list(int descriptor) {
    const bool gone = fremovexattr(descriptor, access_list) == 0;
    return gone || errno == ENODATA || errno == ENOTSUP ? 0 : errno;
}

// The kernel keeps these itself, or lets the superuser alone set them: a copy without them is what
// the user could have made anyway.
bool may_be_lost(std::string_view key) {
    return key.starts_with("security.") || key.starts_with("trusted.");
}

int lost(const std::string &name, const std::string &what, bool force) {
    say_of_file(name, what + (force ? " is not kept" : " cannot be kept (--force goes on)"));
    return force ? status_done : status_trouble;
}

// What could not be given to the new file.
struct losses {
    bool owner = false;
    bool group = false;
};

// Owner and group first: a change of owner clears the set-id bits.
int copy_owner(const struct stat &status, int target, const std::string &name, bool force,
               losses &lacking) {
    struct stat now {};
    if (fstat(target, &now) != 0) {
        return say_errno(name, "cannot read the new file's owner", errno);
    }
    if (now.st_uid == status.st_uid && now.st_gid == status.st_gid) {
        return status_done;
    }
    if (fchown(target, status.st_uid, status.st_gid) == 0) {
        return status_done;
    }
    const auto no_owner = static_cast<uid_t>(-1);
    lacking.owner = now.st_uid != status.st_uid;
    lacking.group = now.st_gid != status.st_gid && fchown(target, no_owner, status.st_gid) != 0;
    if (lacking.owner && lost(name, "its owner", force) != status_done) {
        return status_trouble;
    }
    return lacking.group ? lost(name, "its group", force) : int{status_done};
}

int copy_mode(const struct stat &status, int target, const std::string &name,
              const losses &lacking) {
    mode_t mode = status.st_mode & 07777;
    // The set-id bits must not pass to another owner or group.
    if (lacking.owner) {
        mode &= ~mode_t{S_ISUID};
    }
    if (lacking.group) {
        mode = (mode & ~mode_t{S_ISGID | S_IRWXG}) | (mode & S_IRWXG & (mode << 3));
    }
    return fchmod(target, mode) == 0 ? int{status_done}
                                     : say_errno(name, "its mode cannot be kept", errno);
}

int copy_extended(int source, int target, const std::string &name, bool force) {
    std::vector<char> keys(1024);
    const ssize_t size =
        read_growing(keys, [&](char *to, size_t room) { return flistxattr(source, to, room); });
    if (size < 0) {
        return errno == ENOTSUP ? int{status_done}
                                : say_errno(name, "cannot read its attributes", errno);
    }
    std::vector<char> value(1024);
    std::vector<char> present(1024);
    std::string_view rest(keys.data(), static_cast<size_t>(size));
    while (!rest.empty()) {
        const char *key = rest.data();
        rest.remove_prefix(std::string_view(key).size() + 1);
        const ssize_t length = read_attribute(source, key, value);
        const ssize_t old = read_attribute(target, key, present);
        const bool same = length >= 0 && length == old &&
                          std::string_view(value.data(), static_cast<size_t>(length)) ==
                              std::string_view(present.data(), static_cast<size_t>(length));
        const bool kept = same || (length >= 0 && fsetxattr(target, key, value.data(),
                                                            static_cast<size_t>(length), 0) == 0);
        if (!kept && !may_be_lost(key) &&
            lost(name, "its attribute " + escape_name(key), force) != status_done) {
            return status_trouble;
        }
    }
    return status_done;
}

}  // namespace

int copy_attributes(int source, const struct stat &status, int target, const std::string &name,
                    bool force) {
    losses lacking;
    const int owner = copy_owner(status, target, name, force, lacking);
    if (owner != status_done) {
        return owner;
    }
    // A list that the folder gave the new file would add rights that the old file did not grant.
    std::string list;
    int error = read_access_list(source, list);
    error = error == 0 && list.empty() ? remove_access_list(target) : error;
    if (error != 0) {
        return say_errno(name, "its access list cannot be kept", error);
    }
    // The mode last: it may deny the owner writing, attributes too, and it narrows a copied list.
    const int extended = copy_extended(source, target, name, force);
    return extended != status_done ? extended : copy_mode(status, target, name, lacking);
}

int granted_rights::add(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return 0;
    }
    granted_rights one;
    one.any_ = true;
    one.gid_ = status.st_gid;
    one.group_ = status.st_mode >> 3 & 7;
    one.others_ = status.st_mode & 7;
    const int error = read_access_list(descriptor, one.lists_);
    add(one);
    return error;
}

void granted_rights::add(const granted_rights &more) {
    if (!more.any_ || !any_) {
        *this = any_ ? *this : more;
        return;
    }
    one_group_ = one_group_ && more.one_group_ && gid_ == more.gid_;
    one_list_ = one_list_ && more.one_list_ && lists_ == more.lists_;
    group_ &= more.group_;
    others_ &= more.others_;
    lists_ = lists_.empty() ? more.lists_ : lists_;
}

mode_t granted_rights::bits_for(gid_t group) const {
    if (!any_) {
        return S_IRWXG | S_IRWXO;
    }
    const bool own_group = one_group_ && group == gid_;
    if (!lists_.empty() && (!own_group || !one_list_)) {
        return 0;
    }
    const mode_t both = group_ & others_;
    return own_group ? (group_ << 3 | others_) : (both << 3 | both);
}

std::string_view granted_rights::list_for(gid_t group) const {
    return any_ && one_list_ && one_group_ && group == gid_ ? std::string_view(lists_)
                                                            : std::string_view();
}

namespace {

// Gives the file the list of what it was made from, or takes a list away that could grant more.
int settle_list(int target, gid_t group, const granted_rights &rights) {
    const std::string_view list = rights.list_for(group);
    if (!list.empty()) {
        return fsetxattr(target, access_list, list.data(), list.size(), 0) == 0 ? 0 : errno;
    }
    return rights.everybody_reads() ? 0 : remove_access_list(target);
}

}  // namespace

int set_new_file_mode(int target, const std::string &name, const granted_rights &rights) {
    const mode_t mask = umask(077);
    umask(mask);
    struct stat status {};
    int error = fstat(target, &status) == 0 ? 0 : errno;
    error = error != 0 ? error : settle_list(target, status.st_gid, rights);
    if (error == 0 && fchmod(target, 0666 & ~mask & (0600 | rights.bits_for(status.st_gid))) != 0) {
        error = errno;
    }
    return error == 0 ? int{status_done} : say_errno(name, "cannot set its mode", error);
}

int narrow_file_mode(int target, const std::string &name, const granted_rights &rights,
                     mode_t *narrowed) {
    *narrowed = 0;
    struct stat status {};
    if (fstat(target, &status) != 0) {
        return say_errno(name, "cannot read the new file's mode", errno);
    }
    std::string own;
    if (const int error = read_access_list(target, own); error != 0) {
        return say_errno(name, "the new file's access list cannot be read", error);
    }
    const mode_t old = status.st_mode & 07777;
    mode_t mode = old;
    for (const mode_t whose : {mode_t{S_IRWXG}, mode_t{S_IRWXO}}) {
        if ((rights.bits_for(status.st_gid) & whose & 0444) == 0) {
            mode &= ~whose;
        }
    }
    const bool same_list = !own.empty() && own == rights.list_for(status.st_gid);
    const bool drops_list = !own.empty() && !same_list && !rights.everybody_reads();
    if (mode == old && !drops_list) {
        return status_done;
    }
    if ((drops_list && fremovexattr(target, access_list) != 0) || fchmod(target, mode) != 0) {
        return say_errno(name, "its mode cannot be narrowed", errno);
    }
    *narrowed = mode;
    return status_done;
}

}  // namespace norvik

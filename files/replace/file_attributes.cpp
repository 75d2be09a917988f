// What the new file gets of the old one, in an order in which no step undoes the one before: owner
// and group, attributes with the access list, the mode last. Whatever cannot be carried over leaves
// less than the old file granted, never more. A few system calls an attribute; one attribute at a
// time is in memory.
#include "file_attributes.h"

#include <endian.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "owned_descriptor.h"
#include "system_calls.h"

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
    return read_growing(value, [&](char *to, std::size_t room) {
        return sys::fgetxattr(descriptor, key, to, room);
    });
}

// The file's access list, empty where it has none.
std::error_code read_access_list(int descriptor, std::string &list) {
    std::vector<char> value(1024);
    const ssize_t size = read_attribute(descriptor, access_list, value);
    list.assign(value.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return size >= 0 || errno == ENODATA || errno == ENOTSUP ? std::error_code() : last_error();
}

// The numbers in a list: entries of eight bytes each, in little-endian order, behind a version.
struct list_entry {
    std::uint16_t tag;
    std::uint16_t rights;
};
constexpr std::uint16_t owner_tag = 1;
constexpr std::uint16_t group_tag = 4;
constexpr std::uint16_t others_tag = 32;

std::vector<list_entry> entries_of(std::string_view list) {
    constexpr std::size_t header = 4;
    constexpr std::size_t size = 8;
    std::vector<list_entry> entries;
    for (std::size_t at = header; at + size <= list.size(); at += size) {
        std::array<std::uint16_t, 2> fields{};
        std::memcpy(fields.data(), list.data() + at, sizeof fields);
        entries.push_back({le16toh(fields[0]), le16toh(fields[1])});
    }
    return entries;
}

// The bits of a mode that a list leaves the owning group: the mode itself shows the list's mask in
// their place, which would become the group's once the list is gone.
mode_t group_bits_in(std::string_view list) {
    for (const list_entry &entry : entries_of(list)) {
        if (entry.tag == group_tag) {
            return mode_t{entry.rights} << 3 & S_IRWXG;
        }
    }
    return 0;
}

// What a list grants to everybody whom it names: once it is gone, they are of the group or of the
// others. As bits of a mode for both.
mode_t least_bits_in(std::string_view list) {
    mode_t least = 7;
    for (const list_entry &entry : entries_of(list)) {
        if (entry.tag != owner_tag && entry.tag != others_tag) {
            least &= entry.rights;
        }
    }
    return least << 3 | least;
}

std::error_code remove_access_list(int descriptor) {
    const bool gone = sys::fremovexattr(descriptor, access_list) == 0;
    return gone || errno == ENODATA || errno == ENOTSUP ? std::error_code() : last_error();
}

// The kernel keeps these itself, or lets the superuser alone set them: a copy without them is what
// the user could have made anyway.
bool may_be_lost(std::string_view key) {
    return key.starts_with("security.") || key.starts_with("trusted.");
}

// Something of the old file that the new one does not get.
result<> lost(const attribute_copy &how, const std::string &what) {
    if (!how.force) {
        failure why = refusal(how.name, what + " cannot be kept");
        why.way_out = remedy::force;
        return why;
    }
    how.tell(refusal(how.name, what + " is not kept"));
    return {};
}

// What could not be given to the new file.
struct losses {
    bool owner = false;
    bool group = false;
    bool list = false;
};

// Owner and group first: a change of owner clears the set-id bits.
result<> copy_owner(const attribute_copy &how, losses &lacking) {
    struct stat now {};
    if (sys::fstat(how.target, &now) != 0) {
        return system_failure(how.name, "cannot read the new file's owner", last_error());
    }
    if (now.st_uid == how.status.st_uid && now.st_gid == how.status.st_gid) {
        return {};
    }
    if (sys::fchown(how.target, how.status.st_uid, how.status.st_gid) == 0) {
        return {};
    }
    const auto no_owner = static_cast<uid_t>(-1);
    lacking.owner = now.st_uid != how.status.st_uid;
    lacking.group = now.st_gid != how.status.st_gid &&
                    sys::fchown(how.target, no_owner, how.status.st_gid) != 0;
    if (lacking.owner) {
        if (auto done = lost(how, "its owner"); !done) {
            return done;
        }
    }
    return lacking.group ? lost(how, "its group") : result<>();
}

// `list` is the old file's.
result<> copy_mode(const attribute_copy &how, std::string_view list, const losses &lacking) {
    mode_t mode = how.status.st_mode & 07777;
    // The set-id bits must not pass to another owner or group.
    if (lacking.owner) {
        mode &= ~mode_t{S_ISUID};
    }
    if (lacking.group) {
        mode = (mode & ~mode_t{S_ISGID | S_IRWXG}) | (mode & S_IRWXG & (mode << 3));
    }
    if (lacking.list) {
        mode &= ~mode_t{S_IRWXG | S_IRWXO} | least_bits_in(list);
    }
    if (sys::fchmod(how.target, mode) != 0) {
        return system_failure(how.name, "its mode cannot be kept", last_error());
    }
    return {};
}

// Whether the target has this attribute as the source has it, now.
bool copy_attribute(int source, int target, const char *key, std::vector<char> &value,
                    std::vector<char> &present) {
    const ssize_t length = read_attribute(source, key, value);
    const ssize_t old = read_attribute(target, key, present);
    if (length < 0) {
        return false;
    }
    const std::string_view wanted(value.data(), static_cast<std::size_t>(length));
    return (length == old && wanted == std::string_view(present.data(), wanted.size())) ||
           sys::fsetxattr(target, key, wanted.data(), wanted.size()) == 0;
}

result<> copy_extended(const attribute_copy &how, losses &lacking) {
    std::vector<char> keys(1024);
    const ssize_t size = read_growing(
        keys, [&](char *to, std::size_t room) { return sys::flistxattr(how.source, to, room); });
    if (size < 0) {
        return errno == ENOTSUP
                   ? result<>()
                   : system_failure(how.name, "cannot read its attributes", last_error());
    }
    std::vector<char> value(1024);
    std::vector<char> present(1024);
    std::string_view rest(keys.data(), static_cast<std::size_t>(size));
    while (!rest.empty()) {
        const char *key = rest.data();
        rest.remove_prefix(std::string_view(key).size() + 1);
        if (!copy_attribute(how.source, how.target, key, value, present) && !may_be_lost(key)) {
            if (auto done = lost(how, std::string("its attribute ") + key); !done) {
                return done;
            }
            lacking.list = lacking.list || std::string_view(key) == access_list;
        }
    }
    return {};
}

}  // namespace

result<> copy_attributes(const attribute_copy &how) {
    losses lacking;
    if (auto done = copy_owner(how, lacking); !done) {
        return done;
    }
    // A list that the folder gave the new file would add rights that the old file did not grant.
    std::string list;
    std::error_code error = read_access_list(how.source, list);
    error = !error && list.empty() ? remove_access_list(how.target) : error;
    if (error) {
        return system_failure(how.name, "its access list cannot be kept", error);
    }
    if (auto extended = copy_extended(how, lacking); !extended) {
        return extended;
    }
    error = lacking.list ? remove_access_list(how.target) : error;
    if (error) {
        return system_failure(how.name, "its access list cannot be kept", error);
    }
    // The mode last: it may deny the owner writing, attributes too, and it narrows a copied list.
    return copy_mode(how, list, lacking);
}

namespace {

// A pipe without a name has a mode as well, which no folder shows and nobody has chosen.
bool is_named_pipe(int descriptor, const struct stat &status) {
    struct statfs system {};
    return S_ISFIFO(status.st_mode) && fstatfs(descriptor, &system) == 0 &&
           system.f_type != PIPEFS_MAGIC;
}

}  // namespace

std::error_code granted_rights::add(int descriptor) {
    struct stat status {};
    if (sys::fstat(descriptor, &status) != 0) {
        return last_error();
    }
    if (!S_ISREG(status.st_mode) && !is_named_pipe(descriptor, status)) {
        return {};
    }
    granted_rights one;
    one.any_ = true;
    one.gid_ = status.st_gid;
    one.group_ = status.st_mode >> 3 & 7;
    one.others_ = status.st_mode & 7;
    const std::error_code error = read_access_list(descriptor, one.lists_);
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
std::error_code settle_list(int target, gid_t group, const granted_rights &rights) {
    const std::string_view list = rights.list_for(group);
    if (!list.empty()) {
        const bool set = sys::fsetxattr(target, access_list, list.data(), list.size()) == 0;
        return set ? std::error_code() : last_error();
    }
    return rights.everybody_reads() ? std::error_code() : remove_access_list(target);
}

// The umask, which asking for it by umask() would change for a moment, for all threads.
mode_t current_umask() {
    constexpr std::string_view name = "\nUmask:\t";
    std::array<char, 4096> text{};
    const owned_descriptor status(sys::open("/proc/self/status", O_RDONLY | O_CLOEXEC));
    const ssize_t size = status.is_open() ? sys::read(status.get(), text.data(), text.size()) : -1;
    const std::string_view facts(text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    const std::size_t at = facts.find(name);
    unsigned mask = 0;
    if (at != std::string_view::npos) {
        const char *const digits = facts.data() + at + name.size();
        if (std::from_chars(digits, facts.data() + facts.size(), mask, 8).ptr != digits) {
            return mask;
        }
    }
    static std::mutex one_at_a_time;
    const std::lock_guard lock(one_at_a_time);
    mask = umask(077);
    umask(mask);
    return mask;
}

}  // namespace

std::error_code set_new_file_mode(int target, const granted_rights &rights) {
    const mode_t mask = current_umask();
    struct stat status {};
    if (sys::fstat(target, &status) != 0) {
        return last_error();
    }
    if (const std::error_code error = settle_list(target, status.st_gid, rights); error) {
        return error;
    }
    const mode_t mode = 0666 & ~mask & (0600 | rights.bits_for(status.st_gid));
    return sys::fchmod(target, mode) == 0 ? std::error_code() : last_error();
}

namespace {

// What becomes of a file's mode and access list.
struct narrowing {
    std::optional<mode_t> mode;  // none: nothing changes
    bool drops_list = false;
};

result<narrowing> plan_narrowing(int file, const std::string &name, const granted_rights &rights) {
    struct stat status {};
    if (sys::fstat(file, &status) != 0) {
        return system_failure(name, "cannot read the new file's mode", last_error());
    }
    std::string own;
    if (const std::error_code error = read_access_list(file, own); error) {
        return system_failure(name, "the new file's access list cannot be read", error);
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
        return narrowing{};
    }
    mode &= drops_list ? ~mode_t{S_IRWXG} | group_bits_in(own) : ~mode_t{0};
    return narrowing{mode, drops_list};
}

}  // namespace

result<std::optional<mode_t>> narrowed_file_mode(int file, const std::string &name,
                                                 const granted_rights &rights) {
    const auto planned = plan_narrowing(file, name, rights);
    return planned ? result<std::optional<mode_t>>(planned->mode) : planned.failure();
}

result<std::optional<mode_t>> narrow_file_mode(int target, const std::string &name,
                                               const granted_rights &rights) {
    const auto planned = plan_narrowing(target, name, rights);
    if (!planned) {
        return planned.failure();
    }
    if (planned->mode && ((planned->drops_list && sys::fremovexattr(target, access_list) != 0) ||
                          sys::fchmod(target, *planned->mode) != 0)) {
        return system_failure(name, "its mode cannot be narrowed", last_error());
    }
    return planned->mode;
}

}  // namespace norvik

// Carries a file's owner, group, mode, access control list and other extended attributes over to
// the file that will take its place.
#ifndef NORVIK_FILE_ATTRIBUTES_H
#define NORVIK_FILE_ATTRIBUTES_H

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

#include "failure.h"

namespace norvik {

// A file's attributes on their way to the file that will take its place, by descriptor only.
struct attribute_copy {
    int source;
    const struct stat &status;  // of the source
    int target;
    const std::string &name;  // for what fails
    bool force;               // goes on where something cannot be kept
    const notice_sink &tell;  // takes what is lost then
};

// What cannot be kept stops it unless `force`; where then the group was lost, the group gets no
// more rights than everybody has, and where the access list was lost, nobody more than those whom
// it named.
result<> copy_attributes(const attribute_copy &how);

// What some files grant to others than their owners: a file that is made from them must not grant
// more. Without any file it is everything.
class granted_rights {
public:
    // Counts an open file or named pipe in; anything else (a shell's pipe, a terminal) takes
    // nothing away.
    [[nodiscard]] std::error_code add(int descriptor);
    // Counts in what others have counted.
    void add(const granted_rights &more);

    // The group's and the others' bits of a mode that a file of the group `group` may have. Members
    // of another group than the files' own can be anybody to them, so that both then get what both
    // have. Files with different access lists grant nothing.
    mode_t bits_for(gid_t group) const;

    // The access list that a file of this group gets from them, whole; empty when there is none.
    std::string_view list_for(gid_t group) const;

    // Whether each of the files may be read by everybody.
    bool everybody_reads() const { return lists_.empty() && (group_ & others_ & 4) != 0; }

private:
    bool any_ = false;
    bool one_group_ = true;
    bool one_list_ = true;
    gid_t gid_ = 0;
    mode_t group_ = 7;
    mode_t others_ = 7;
    std::string lists_;  // the first file's list that has one
};

// Gives a file that did not exist before the mode that the umask and the files it was made from
// leave. A list that it has from its folder goes unless everybody may read those files.
[[nodiscard]] std::error_code set_new_file_mode(int target, const granted_rights &rights);

// The mode that narrow_file_mode would give a file like this one; changes nothing.
result<std::optional<mode_t>> narrowed_file_mode(int file, const std::string &name,
                                                 const granted_rights &rights);

// Takes from a file the rights of those who cannot read what it is made from: its new mode, or none
// when that changed nothing.
result<std::optional<mode_t>> narrow_file_mode(int target, const std::string &name,
                                               const granted_rights &rights);

}  // namespace norvik

#endif

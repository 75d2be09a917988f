// A container as the commands see it: its bytes, mapped read-only, and the records of its header.
//
// Opening reads the header once; the weave is left to the passes in structure.h and weave_scan.h.
// Record order is the file's (newest first). Views into the bytes live as long as the container,
// also when it is moved.
#ifndef NORVIK_CONTAINER_VIEW_H
#define NORVIK_CONTAINER_VIEW_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "failure.h"
#include "file_attributes.h"
#include "file_bytes.h"
#include "header_records.h"

namespace norvik {

struct container_view : container_header {
    std::string name;  // as the user gave it, for messages
    file_bytes bytes;
    granted_rights rights;  // of the file

    // Looked up by the functions below, which fill them at their first use.
    mutable std::unordered_map<version_id, std::size_t, version_id_hash> by_id;
    mutable std::unordered_map<std::string_view, std::size_t> by_oid;
    mutable std::unordered_map<std::uint64_t, std::size_t> branch_by_number;
};

// Reads the container in an open file, from its start; the file stays the caller's. A damaged
// header is no failure (see header_damages). `name` is what failures call it, `otherwise` their
// reason.
result<container_view> open_container(int descriptor, const std::string &name,
                                      std::string_view otherwise = "cannot be read");

// The version's record, deleted ones included; null when there is none. Where a damaged container
// has several, the live one counts, then the first.
[[nodiscard]] const version_record *find_version(const container_view &view, version_id id);

// The version of that oid, live ones only, as the library looks it up.
[[nodiscard]] const version_record *find_version_by_oid(const container_view &view,
                                                        std::string_view oid);

// A live branch by name or by number; null when there is none.
[[nodiscard]] const branch_record *find_branch(const container_view &view, std::string_view oid);
[[nodiscard]] const branch_record *find_branch(const container_view &view, std::uint64_t number);

// The branch that is meant where none is named: the one of that name, or the only one.
inline constexpr std::string_view default_branch_name = "main";
result<const branch_record *> default_branch(const container_view &view);

// The newest live version of a branch; null when it has none.
[[nodiscard]] const version_record *newest_version(const container_view &view,
                                                   std::uint64_t branch);

// The number that the branch's next version must have: above every version recorded on it, deleted
// ones included, and above every branch point on it (a version that takes the number of a branch
// point that never was would change that branch's text). 0 for a branch without either, nothing
// when that many numbers do not exist: `highest_number` is the last one that is given out.
[[nodiscard]] std::optional<std::uint64_t> next_version_number(const container_view &view,
                                                               std::uint64_t branch);

// The number that the next new branch must have: above the highest in use; nothing when the numbers
// are used up, or when a record has a higher one than the status record names.
[[nodiscard]] std::optional<std::uint64_t> next_branch_number(const container_view &view);

inline constexpr std::uint64_t highest_number = UINT64_MAX - 1;

// Which (branch, highest number) bounds make up a version, from its own branch up to the first one;
// false when its branch, or one above it, has no live record or is made off one that is not older.
[[nodiscard]] bool lineage_of(const container_view &view, version_id id,
                              std::vector<version_id> *lineage);

// `BRANCH@N`; a branch without record is named `#NUMBER`.
[[nodiscard]] std::string version_name(std::string_view branch, std::uint64_t number);
[[nodiscard]] std::string version_name(const container_view &view, version_id id);
[[nodiscard]] std::string branch_name(const container_view &view, std::uint64_t number);

// A damage of the container as a failure.
[[nodiscard]] failure damaged(const container_view &view, const damage &found);

}  // namespace norvik

#endif

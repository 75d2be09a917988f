// Proves that a new container is the old one with versions (or a branch) added, or with other notes
// in some records, and nothing else changed, before it takes the old one's place.
#ifndef NORVIK_PROOF_H
#define NORVIK_PROOF_H

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "container_view.h"

namespace norvik {

// The records that a change was to add.
struct added_records {
    std::uint64_t branch = 0;
    std::uint64_t first = 0;  // the versions of the branch from this number on are new
    std::string header;       // the lines before the old header: status, version and branch records
};

// The new status record, and what follows the old one: with the records of what is new between the
// two, and new lines in the weave, they are the new container.
[[nodiscard]] std::string status_record_text(const container_view &old, bool adds_branch);
[[nodiscard]] std::string_view behind_status(const container_view &old);

// Opens the new container by `descriptor` and compares: its first lines are `added.header`; with
// them, and with the records and lines of the new versions, taken out, the rest is the old
// container from its second line on, byte for byte; and scan_structure finds the new one sound.
// Gives the new container, or a failure that names it as the old one.
result<container_view> prove_addition(const container_view &old, int descriptor,
                                      const added_records &added);

// Whether the version's text, by its lineage, is exactly `text`. A container that cannot be walked
// is not.
[[nodiscard]] bool version_equals(const container_view &view, version_id id, std::string_view text);

// Opens the new container by `descriptor` and compares: all but the records of the `touched`
// versions is the same byte for byte; those are the same up to their notes, and their lines are no
// more and no fewer. Every version that has a digest agrees with it, and the container is sound.
// Gives the new container, or a failure that names it as the old one.
result<container_view> prove_records(const container_view &old, int descriptor,
                                     const std::set<version_id> &touched);

}  // namespace norvik

#endif

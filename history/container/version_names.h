// Which version a person means.
#ifndef NORVIK_VERSION_NAMES_H
#define NORVIK_VERSION_NAMES_H

#include <string_view>
#include <vector>

#include "container_view.h"

namespace norvik {

// The shortest beginning of an identifier that names a version.
inline constexpr std::size_t shortest_prefix = 4;

// The live versions whose oid begins with `prefix`; none when it is shorter than that.
[[nodiscard]] std::vector<const version_record *> find_versions_by_prefix(
    const container_view &view, std::string_view prefix);

// What VERSION on a command line may be, resolved to a live version: `BRANCH@N`, `BRANCH` (its
// newest), an identifier or a beginning of one that no other has; and behind one of these
// - `~N` (`~` for `~1`), the Nth living version before it on its branch;
// - `@{TIME}`, of the versions of its branch whose time is not after TIME (see parse_time) the one
//   with the highest number: imported times need not rise.
// Empty, alone or before these, it is the newest version of branch `main`, or of the only branch. A
// name that is there as it stands comes before one that is taken apart.
result<const version_record *> resolve_version(const container_view &view, std::string_view text);

}  // namespace norvik

#endif

// Which versions and branches go, what the library makes of it, and what becomes of each.
#ifndef NORVIK_DELETION_H
#define NORVIK_DELETION_H

#include <set>
#include <string>
#include <vector>

#include "container_check.h"
#include "container_view.h"
#include "failure.h"
#include "survivor_proof.h"

namespace norvik {

struct deletion_request {
    std::set<version_id> versions;
    // To be deleted with all their versions, which are in `versions`.
    std::set<std::uint64_t> branches;

    [[nodiscard]] bool survives(const version_record &version) const {
        return !version.deleted && !versions.contains(version.id);
    }
};

// Resolves what a user names. Refuses what does not exist, the first branch and its version 0
// (nothing could be added any more), and a branch while another one that stays hangs on it.
result<deletion_request> resolve_deletion(const container_view &view,
                                          const std::vector<std::string> &versions,
                                          const std::vector<std::string> &branches);

// Lets the library write the container without what is requested to `new_path`. `container_path`
// is the container of `view`.
result<> delete_into(const container_view &view, const std::string &container_path,
                     const deletion_request &request, const std::string &new_path);

// Proves that the new container is sound and says of every survivor what the old one says.
result<> prove_survivors(const container_view &before, const container_view &after,
                         const deletion_request &request);

// "a, b and c"; more than five are counted.
[[nodiscard]] std::string in_words(std::vector<std::string> names);

// Whether nothing in the container is unsound: what is deleted from an unsound one can change the
// others. Versions that do not agree with their digests are left to the function below.
result<container_check> require_soundness(const container_view &view);

// Whether every survivor agrees with its digest, by that judgement.
result<> require_sums(const container_view &view, const container_check &check,
                      const deletion_request &request);

// What becomes of a version or a branch. Records are those of the old container.
enum class fate {
    gone,          // from the file
    gone_at_last,  // the same of a version that was deleted before
    hidden,        // from view; its lines stay in the file
    emptied,       // a branch that stays without versions
};
struct version_fate {
    const version_record *version;
    fate what;
    const version_record *needed_by;             // the next version of the branch, or null
    std::vector<const branch_record *> hanging;  // branches made off it or a newer one
};
struct branch_fate {
    const branch_record *branch;
    fate what;
    std::vector<const branch_record *> hanging;
};
struct deletion_fates {
    std::vector<version_fate> versions;
    std::vector<branch_fate> branches;
};

// What has become of everything that is not in the new container as it was in the old one; both
// must outlive the result.
[[nodiscard]] deletion_fates fates_of(const container_view &before, const container_view &after,
                                      const deletion_request &request);

}  // namespace norvik

#endif

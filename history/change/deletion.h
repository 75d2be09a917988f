// Which versions and branches go, what the library makes of it, and the words about it.
#ifndef NORVIK_DELETION_H
#define NORVIK_DELETION_H

#include <set>
#include <string>
#include <vector>

#include "container_view.h"
#include "output.h"
#include "survivor_proof.h"

namespace norvik {

struct deletion_request {
    std::set<version_id> versions;
    std::set<uint64_t> branches;  // to be deleted with all their versions, which are in `versions`

    [[nodiscard]] bool survives(const version_record &version) const {
        return !version.deleted && !versions.contains(version.id);
    }
};

// Resolves what the command line names. Refuses, with a message, what does not exist, the first
// branch and its version 0 (nothing could be added any more), and a branch while another one that
// stays hangs on it. Returns 0 or status_trouble.
[[nodiscard]] int resolve_deletion(const container_view &view,
                                   const std::vector<std::string> &versions,
                                   const std::vector<std::string> &branches,
                                   deletion_request *request);

// Lets the library write the container without what is requested to `new_path`. `container_path`
// is the container of `view`. Returns 0, or status_trouble after a message.
[[nodiscard]] int delete_into(const container_view &view, const std::string &container_path,
                              const deletion_request &request, const std::string &new_path);

// Proves that the new container is sound and says of every survivor what the old one says. Returns
// 0, or status_trouble after a message.
[[nodiscard]] int prove_survivors(const container_view &before, const container_view &after,
                                  const deletion_request &request);

// Whether nothing in the container is unsound: what is deleted from an unsound one can change the
// others. Returns 0, or status_trouble after a message.
[[nodiscard]] int require_soundness(const container_view &view);

// Whether a change is spoken of as done, or as one that would be.
enum class telling { done, planned };

// One sentence for every version and branch that goes: gone from the file, or kept and for what.
[[nodiscard]] std::vector<std::string> describe_deletion(const container_view &before,
                                                         const container_view &after,
                                                         const deletion_request &request,
                                                         telling mood);

// Says on standard error what would be done.
void tell_plan(const std::vector<std::string> &sentences);

// What is to be said of a change of the container, called `what`, when it is done.
[[nodiscard]] done_report report_of_change(const std::string &container, const std::string &what,
                                           const std::vector<std::string> &sentences);

}  // namespace norvik

#endif

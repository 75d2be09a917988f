// New versions of one branch, woven into the locked container and proven: what a check-in of one
// version and an import of many have in common.
//
//   begin     opens the weave at the text that the first new version is compared with
//   add       weaves one version more
//   commit    writes the new container, proves it, puts it in the old one's place
#ifndef NORVIK_VERSION_WEAVER_H
#define NORVIK_VERSION_WEAVER_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "checkin_plan.h"
#include "container_change.h"
#include "import_weave.h"
#include "library_proof.h"
#include "new_version.h"
#include "stored_line.h"

namespace norvik {

class version_weaver {
public:
    // Looks at the new container's versions, beyond what commit proves of the whole: `fresh` is the
    // new container, `library` reads it.
    using text_proof =
        std::function<result<>(const container_view &fresh, const library_proof &library)>;

    // Into the locked container, with the first version as planned. Both must outlive the object.
    version_weaver(container_change *change, const checkin_plan &plan)
        : change_(change), plan_(plan) {}

    result<> begin();

    // The text of the version before the next one: the predecessor's, or the one added last.
    [[nodiscard]] std::string_view newest_text() const { return newest_.text; }

    // Weaves the next version. `text` must stay until the next call; failures name it `name`.
    result<> add(new_version fresh, std::string_view text, const std::string &name);

    // The versions added, the first of which is the plan's `id`.
    [[nodiscard]] const std::vector<new_version> &versions() const { return versions_; }
    [[nodiscard]] version_id id_of(std::size_t index) const {
        return {plan_.id.branch, plan_.id.number + index};
    }

    // Proves that nothing but the versions has been added (prove_addition), and asks `prove`.
    result<> commit(const text_proof &prove);

private:
    [[nodiscard]] branch_record branch() const;
    [[nodiscard]] std::string header() const;
    result<> write(const std::string &header) const;

    container_change *change_;
    const checkin_plan &plan_;
    std::unique_ptr<import_weave> weave_;
    std::string before_;  // the predecessor's text
    stored_text newest_;
    std::vector<new_version> versions_;
    std::vector<std::string> records_;  // of these
};

}  // namespace norvik

#endif

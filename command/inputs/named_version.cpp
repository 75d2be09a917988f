#include "named_version.h"

#include "failure_words.h"
#include "version_names.h"

namespace norvik {

const version_record *require_version(const container_view &view, std::string_view text) {
    const version_record *found = nullptr;
    return told(resolve_version(view, text), &found) == 0 ? found : nullptr;
}

const branch_record *require_branch(const container_view &view, std::string_view name) {
    const branch_record *branch = find_branch(view, name);
    if (branch == nullptr) {
        (void)tell(refusal(view.name, "has no branch " + std::string(name)));
    }
    return branch;
}

exit_status find_only_branch(const container_view &view, std::string_view name,
                             const branch_record **only) {
    *only = name.empty() ? nullptr : require_branch(view, name);
    return name.empty() || *only != nullptr ? status_done : status_trouble;
}

}  // namespace norvik

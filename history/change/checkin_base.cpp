// The mark of a file is a claim and the base that a user names is an order: the first is passed
// over where it is unknown, the second is a failure. A few passes over the header's records.
#include "checkin_base.h"

#include <algorithm>

#include "structure.h"
#include "version_names.h"

namespace norvik {

namespace {

constexpr std::size_t longest_shown = 256;  // bytes of a mark, which anybody may have set

// The version that a text must have been made from: that which a new branch is made off, or the
// newest of the branch, for want of one its branch point.
const version_record *newest_for(const container_view &view, const checkin_plan &plan) {
    if (plan.adds_branch) {
        return find_version(view, plan.predecessor);
    }
    const version_record *newest = newest_version(view, plan.id.branch);
    const branch_record *branch = find_branch(view, plan.id.branch);
    if (newest == nullptr && branch != nullptr && branch->number != 0) {
        newest = find_version(view, branch->parent);
    }
    return newest == nullptr || newest->deleted ? nullptr : newest;
}

// The version whose text a branch without versions of its own has.
version_id origin_of(const container_view &view, version_id id) {
    for (const branch_record *branch = nullptr; id.number == 0 && id.branch != 0;) {
        branch = find_branch(view, id.branch);
        if (branch == nullptr || branch->parent.branch >= id.branch) {
            break;
        }
        id = branch->parent;
    }
    return id;
}

// What is known of a mark that is of no living version.
std::string unknown_mark(const container_view &view, const std::string &mark) {
    const bool deleted = std::any_of(view.versions.begin(), view.versions.end(),
                                     [&](const version_record &v) { return v.oid == mark; });
    const std::string shown =
        mark.size() <= longest_shown ? mark : mark.substr(0, longest_shown) + "...";
    return "was made from version " + shown +
           (deleted ? ", which has been deleted from " : ", which is not one of ") + view.name;
}

}  // namespace

result<checkin_base> find_checkin_base(const container_view &view, const checkin_plan &plan,
                                       const base_request &request, const notice_sink &tell) {
    checkin_base found;
    found.newest = newest_for(view, plan);
    if (!request.base.empty()) {
        const auto named = resolve_version(view, request.base);
        if (!named) {
            return named.failure();
        }
        found.base = *named;
    } else if (!request.mark.empty()) {
        found.base = find_version_by_oid(view, request.mark);
    }
    const bool is_unknown = found.base == nullptr && !request.mark.empty();
    if (request.needed && found.base == nullptr) {
        failure why = refusal(
            request.text, is_unknown ? unknown_mark(view, request.mark) + ": no base for a merge"
                                     : "does not say what it was made from");
        why.way_out = remedy::name_base;
        return why;
    }
    if (is_unknown) {
        tell(refusal(request.text, unknown_mark(view, request.mark) +
                                       "; the mark is passed over, and what came since cannot be "
                                       "told"));
    }
    found.current = found.base == nullptr || found.newest == nullptr ||
                    origin_of(view, found.base->id) == origin_of(view, found.newest->id);
    return found;
}

std::vector<const version_record *> came_since(const container_view &view,
                                               const checkin_base &found) {
    std::vector<version_id> known;
    std::vector<version_id> now;
    std::vector<const version_record *> since;
    if (!lineage_of(view, found.base->id, &known) || !lineage_of(view, found.newest->id, &now)) {
        return since;
    }
    for (const version_record &version : view.versions) {
        if (!version.deleted && in_lineage(now, version.id) && !in_lineage(known, version.id)) {
            since.push_back(&version);
        }
    }
    return since;
}

}  // namespace norvik

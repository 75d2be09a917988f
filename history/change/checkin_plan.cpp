// Decides only; nothing is locked or written here. A pass over the header's records.
#include "checkin_plan.h"

#include <algorithm>

#include "new_branch.h"
#include "version_names.h"

namespace norvik {

namespace {

result<checkin_plan> plan_new_branch(const container_view &view, const checkin_target &target) {
    const auto point = resolve_version(view, target.from);
    if (!point) {
        return point.failure();
    }
    if (const auto good = check_new_branch_name(&view, target.branch); !good) {
        return good.failure();
    }
    const auto number = new_branch_number(view);
    if (!number) {
        return number.failure();
    }
    const version_id predecessor = (*point)->id;
    return checkin_plan{
        target.branch, true, {*number, 1}, predecessor, branch_name(view, predecessor.branch)};
}

result<const branch_record *> target_branch(const container_view &view, const std::string &name) {
    if (name.empty()) {
        auto branch = default_branch(view);
        if (!branch) {
            branch.failure().way_out = remedy::name_branch;
        }
        return branch;
    }
    const branch_record *found = find_branch(view, name);
    if (found == nullptr) {
        failure why = refusal(view.name, "has no branch " + name);
        why.way_out = remedy::start_branch;
        return why;
    }
    return found;
}

}  // namespace

result<checkin_plan> plan_checkin(const container_view &view, const checkin_target &target,
                                  std::uint64_t count) {
    if (!target.from.empty()) {
        return plan_new_branch(view, target);
    }
    const auto branch = target_branch(view, target.branch);
    if (!branch) {
        return branch.failure();
    }
    // Number 0 is that of the branch point, even where no record says so.
    const std::optional<std::uint64_t> free = next_version_number(view, (*branch)->number);
    const std::string name((*branch)->oid);
    if (!free || count > highest_number - *free + 1) {
        return refusal(view.name, "branch " + name + " has no number left");
    }
    const std::uint64_t next = std::max<std::uint64_t>(1, *free);
    const std::uint64_t number = (*branch)->number;
    return checkin_plan{name, false, {number, next}, {number, next - 1}, name};
}

}  // namespace norvik

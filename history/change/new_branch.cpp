#include "new_branch.h"

#include <algorithm>

#include "container_limits.h"
#include "random_digits.h"

namespace norvik {

namespace {

bool breaks_an_oid(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value <= ' ' || value == 0x7f || byte == '@';
}

}  // namespace

result<> check_new_branch_name(const container_view *view, const std::string &name) {
    constexpr std::size_t longest_name = format::longest_written_oid;
    const std::string shown = "branch name '" + name + "' ";
    if (name.empty() || name.size() > longest_name) {
        return refusal({}, shown + "has " + std::to_string(name.size()) + " bytes; 1 to " +
                               std::to_string(longest_name) + " are allowed");
    }
    if (std::any_of(name.begin(), name.end(), breaks_an_oid)) {
        return refusal({}, shown + "holds a blank, a control byte or an '@'");
    }
    const bool identifies = view != nullptr && (find_version_by_oid(*view, name) != nullptr ||
                                                view->element_oid == name);
    if (identifies || is_random_digits(name)) {
        return refusal({}, shown + "looks like an identifier");
    }
    if (view != nullptr && find_branch(*view, name) != nullptr) {
        return refusal(view->name, "branch " + name + " exists already");
    }
    return {};
}

result<std::uint64_t> new_branch_number(const container_view &view) {
    const std::optional<std::uint64_t> next = next_branch_number(view);
    if (!next) {
        failure why = refusal(view.name, "no number is left for a new branch");
        why.way_out = remedy::see_faults;
        return why;
    }
    return *next;
}

}  // namespace norvik

#include "checkin_plan.h"

#include <algorithm>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_change.h"
#include "escaped_text.h"
#include "output.h"

namespace norvik {

namespace {

// `main`, or the only branch; null after a message.
const branch_record *default_branch(const container_view &view) {
    const branch_record *found = find_branch(view, "main");
    if (found != nullptr) {
        return found;
    }
    const auto live = [](const branch_record &branch) { return !branch.deleted; };
    if (std::count_if(view.branches.begin(), view.branches.end(), live) == 1) {
        return &*std::find_if(view.branches.begin(), view.branches.end(), live);
    }
    say_of_file(view.name, "which branch? there are several and none is called main (--branch)");
    return nullptr;
}

int plan_new_branch(const container_view &view, const std::string &branch, const std::string &from,
                    checkin_plan *plan) {
    const version_record *point = require_version(view, from);
    uint64_t number = 0;
    if (point == nullptr || check_new_branch_name(&view, branch) != status_done ||
        new_branch_number(view, &number) != status_done) {
        return status_trouble;
    }
    *plan = {branch, true, {number, 1}, point->id, branch_name(view, point->id.branch)};
    return status_done;
}

}  // namespace

void checkin_options::declare(command_declaration &command, command_context &context) {
    command.value("--branch", "NAME", branch, "The branch (default: main, or the only one)");
    command.value("--from", "VERSION", from, "Start the new branch off this version");
    command.needs.emplace_back("--from", "--branch");
    time.declare(command);
    command.flag("--allow-same", allow_same,
                 "Store a version whose text is that of the one before");
    add_dry_run_option(command, context);
    add_replace_options(command, context, "Go on when the file's owner or group cannot be kept");
    command.exit_codes =
        "0 stored; 1 nothing to store; 2 wrong usage or trouble, nothing is changed unless it says "
        "so.";
}

int plan_checkin(const container_view &view, const checkin_options &options, uint64_t count,
                 checkin_plan *plan) {
    const std::string &branch = options.branch;
    if (!options.from.empty()) {
        return plan_new_branch(view, branch, options.from, plan);
    }
    const branch_record *found = branch.empty() ? default_branch(view) : find_branch(view, branch);
    if (found == nullptr) {
        if (!branch.empty()) {
            say_of_file(view.name,
                        "has no branch " + escape_name(branch) + " (--from VERSION starts it)");
        }
        return status_trouble;
    }
    // Number 0 is that of the branch point, even where no record says so.
    const std::optional<uint64_t> free = next_version_number(view, found->number);
    if (!free || count > highest_number - *free + 1) {
        say_of_file(view.name, "branch " + escape_name(found->oid) + " has no number left");
        return status_trouble;
    }
    const uint64_t next = std::max<uint64_t>(1, *free);
    const std::string name(found->oid);
    *plan = {name, false, {found->number, next}, {found->number, next - 1}, name};
    return status_done;
}

}  // namespace norvik

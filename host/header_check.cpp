#include "header_check.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "terminal.h"

namespace host {
namespace {

// What has been seen of a branch so far, from the newest record down.
struct branch_state {
    uint64_t lowest = UINT64_MAX;  // version number of the record above
    uint64_t live_line = 0;        // of its live record, 0 while none has been met
    uint64_t commented_line = 0;   // of a commented-out record
    uint64_t versions = 0;
    bool unrooted_told = false;
};

struct header_check {
    const container_view &view;
    const version_tree &tree;
    std::vector<weave_fault> faults;
    std::unordered_map<uint64_t, branch_state> branches;
    std::unordered_map<std::string_view, uint64_t> oids;  // to the line that has it
    std::unordered_set<version_id, version_id_hash> versions;

    void fault(uint64_t line, std::string reason, position_range doubt) {
        faults.push_back({{line, std::move(reason)}, doubt, false});
    }

    std::string name(version_id id) const { return escape_name(version_name(view, id)); }

    position_range of_version(version_id id) const {
        const uint32_t position = position_of(tree, id);
        return position == no_position ? position_range{} : position_range{position, position + 1};
    }

    // All versions of a branch and of those that hang on it.
    position_range of_branch(uint64_t number) const { return members_of(tree, {number, 0}); }
};

void check_oid(header_check *check, std::string_view oid, uint64_t line, position_range doubt) {
    const auto [entry, fresh] = check->oids.try_emplace(oid, line);
    if (!fresh) {
        check->fault(line,
                     "the identifier " + escape_name(oid) + " stands in line " +
                         std::to_string(entry->second) + " already",
                     doubt);
    }
}

void check_version(header_check *check, const version_record &version) {
    const position_range self = check->of_version(version.id);
    branch_state &branch = check->branches[version.id.branch];
    check_oid(check, version.oid, version.line, self);
    if (!check->versions.insert(version.id).second) {
        check->fault(version.line, "a second record of version " + check->name(version.id), self);
    } else if (version.id.number > branch.lowest) {
        check->fault(
            version.line,
            "version " + check->name(version.id) + " stands below a lower one of its branch", {});
    }
    if (branch.live_line != 0) {
        check->fault(
            version.line,
            "version " + check->name(version.id) + " stands below the record of its branch", {});
    }
    branch.lowest = std::min(branch.lowest, version.id.number);
    branch.versions++;
}

void check_branch_point(header_check *check, const branch_record &branch) {
    const std::string name = "branch " + escape_name(branch.oid);
    const position_range whole = check->of_branch(branch.number);
    if (branch.number == 0) {
        if (branch.parent != version_id{0, 0}) {
            check->fault(branch.line, "the first branch is made off nothing but names a version",
                         {});
        }
        return;
    }
    if (branch.number > check->view.highest_branch) {
        check->fault(branch.line,
                     name + " has number " + std::to_string(branch.number) +
                         ", above the highest that the status record names",
                     {});
    }
    if (branch.parent.branch >= branch.number) {
        check->fault(branch.line, name + " is made off a branch that is not older", whole);
    } else if (find_version(check->view, branch.parent) == nullptr) {
        check->fault(branch.line,
                     name + " is made off " + check->name(branch.parent) + ", which does not exist",
                     whole);
    }
}

void check_branch(header_check *check, const branch_record &branch) {
    branch_state &state = check->branches[branch.number];
    if (branch.deleted) {
        state.commented_line = branch.line;
        return;
    }
    const position_range whole = check->of_branch(branch.number);
    check_oid(check, branch.oid, branch.line, whole);
    if (state.live_line != 0) {
        check->fault(branch.line,
                     "a second record of branch number " + std::to_string(branch.number), whole);
        return;
    }
    state.live_line = branch.line;
    if (state.versions == 0) {
        check->fault(branch.line,
                     "no version of branch " + escape_name(branch.oid) + " stands above it", {});
    }
    check_branch_point(check, branch);
}

// Live versions need a live branch, and one whose line of branch points can be followed.
void check_rooted(header_check *check) {
    for (const version_record &version : check->view.versions) {
        branch_state &state = check->branches[version.id.branch];
        const position_range self = check->of_version(version.id);
        if (state.live_line != 0) {
            if (!state.unrooted_told && !check->tree.branches.at(version.id.branch).rooted) {
                state.unrooted_told = true;
                check->fault(state.live_line, "the branch does not lead back to the first branch",
                             check->of_branch(version.id.branch));
            }
        } else if (state.commented_line != 0 && !version.deleted) {
            check->fault(state.commented_line,
                         "a commented-out branch record, but version " + check->name(version.id) +
                             " is alive",
                         self);
        } else {
            check->fault(version.line,
                         "version " + check->name(version.id) + " is of a branch without a record",
                         version.id.branch == 0 ? position_range{} : self);
        }
    }
}

// Records in the order of the file, which the view keeps in two lists.
void check_records(header_check *check) {
    auto version = check->view.versions.begin();
    const auto versions_end = check->view.versions.end();
    for (const branch_record &branch : check->view.branches) {
        for (; version != versions_end && version->line < branch.line; ++version) {
            check_version(check, *version);
        }
        check_branch(check, branch);
    }
    for (; version != versions_end; ++version) {
        check_version(check, *version);
    }
}

}  // namespace

std::vector<weave_fault> check_header(const container_view &view, const version_tree &tree) {
    header_check check{view, tree, {}, {}, {}, {}};
    // Where reading has not come as far as the weave, no text is known.
    const bool cut = view.weave_offset == view.bytes.view().size();
    const position_range all{0, static_cast<uint32_t>(tree.versions.size())};
    for (const damage &found : view.header_damages) {
        check.fault(found.line, found.reason, cut ? all : position_range{});
    }
    for (const damage &found : view.header_oddities) {
        check.fault(found.line, found.reason, {});
    }
    check_records(&check);
    if (!cut) {
        check_rooted(&check);
    }
    return std::move(check.faults);
}

}  // namespace host

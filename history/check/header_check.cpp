// Records are taken from the newest down, with what has been seen of each branch so far and hash
// tables of numbers and identifiers: O(records) of time and memory.
#include "header_check.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace norvik {
namespace {

// What has been seen of a branch so far, from the newest record down.
struct branch_state {
    version_id lowest;                 // of the records above
    std::uint64_t lowest_line = 0;     // its record, 0 while none has been met
    std::uint64_t live_line = 0;       // of its live record, 0 while none has been met
    std::uint64_t commented_line = 0;  // of a commented-out record
    std::uint64_t versions = 0;
    bool unrooted_told = false;
};

// Where an identifier stands.
struct known_oid {
    std::uint64_t line;
    position_range doubt;  // when it stands again
};

struct header_check {
    const container_view &view;
    const version_tree &tree;
    std::vector<weave_fault> faults;
    std::unordered_map<std::uint64_t, branch_state> branches;
    std::unordered_map<std::string_view, known_oid> oids;
    std::unordered_set<version_id, version_id_hash> versions;
    bool torn;  // any record may be another one

    // What a record with a fault of its own puts in doubt.
    position_range doubt_of(position_range own) const { return torn ? all_versions(tree) : own; }

    void fault(std::uint64_t line, std::string reason, position_range doubt) {
        faults.push_back({{line, std::move(reason)}, doubt, false});
    }

    std::string name(version_id id) const { return version_name(view, id); }

    position_range of_version(version_id id) const {
        const std::uint32_t position = position_of(tree, id);
        return position == no_position ? position_range{} : position_range{position, position + 1};
    }

    // All versions of a branch and of those that hang on it.
    position_range of_branch(std::uint64_t number) const { return members_of(tree, {number, 0}); }
};

// Either of two equal identifiers may be the damaged one.
void check_oid(header_check *check, std::string_view oid, std::uint64_t line,
               position_range doubt) {
    const auto [entry, fresh] = check->oids.try_emplace(oid, known_oid{line, doubt});
    if (!fresh) {
        const known_oid &first = entry->second;
        const std::string identifier = "the identifier " + std::string(oid) + " stands in line ";
        check->fault(line, identifier + std::to_string(first.line) + " already", doubt);
        check->fault(first.line, identifier + std::to_string(line) + " again", first.doubt);
    }
}

// Either of two numbers out of order may be the damaged one.
void check_order(header_check *check, const version_record &version, branch_state *branch) {
    if (branch->lowest_line == 0 || version.id.number < branch->lowest.number) {
        branch->lowest = version.id;
        branch->lowest_line = version.line;
        return;
    }
    check->fault(version.line,
                 "version " + check->name(version.id) + " stands below a lower one of its branch",
                 check->of_version(version.id));
    check->fault(
        branch->lowest_line,
        "version " + check->name(branch->lowest) + " stands above a higher one of its branch",
        check->of_version(branch->lowest));
}

void check_version(header_check *check, const version_record &version) {
    const position_range self = check->of_version(version.id);
    if (version.odd) {
        check->fault(version.line, "a version record spelled as none is written",
                     check->doubt_of(self));
    }
    branch_state &branch = check->branches[version.id.branch];
    check_oid(check, version.oid, version.line, self);
    if (!check->versions.insert(version.id).second) {
        check->fault(version.line, "a second record of version " + check->name(version.id), self);
    } else {
        check_order(check, version, &branch);
    }
    if (branch.live_line != 0) {
        check->fault(
            version.line,
            "version " + check->name(version.id) + " stands below the record of its branch", self);
    }
    branch.versions++;
}

void check_branch_point(header_check *check, const branch_record &branch) {
    const std::string name = "branch " + std::string(branch.oid);
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
        return;
    }
    const version_record *point = find_version(check->view, branch.parent);
    const std::string made_off = name + " is made off " + check->name(branch.parent) + ", which ";
    if (point == nullptr) {
        check->fault(branch.line, made_off + "does not exist", whole);
    } else if (point->line < branch.line) {
        check->fault(branch.line, made_off + "stands above it", whole);
    }
}

void check_branch(header_check *check, const branch_record &branch) {
    const position_range whole = check->of_branch(branch.number);
    if (branch.odd) {
        check->fault(branch.line, "a branch record spelled as none is written",
                     check->doubt_of(whole));
    }
    branch_state &state = check->branches[branch.number];
    if (branch.deleted) {
        state.commented_line = branch.line;
        return;
    }
    check_oid(check, branch.oid, branch.line, whole);
    if (state.live_line != 0) {
        check->fault(branch.line,
                     "a second record of branch number " + std::to_string(branch.number), whole);
        return;
    }
    state.live_line = branch.line;
    if (state.versions == 0) {
        check->fault(branch.line,
                     "no version of branch " + std::string(branch.oid) + " stands above it", {});
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
        } else if (version.id.branch != 0) {
            check->fault(version.line,
                         "version " + check->name(version.id) + " is of a branch without a record",
                         self);
        }
    }
}

// What every element begins with. No text needs these records.
void check_first(header_check *check) {
    const std::uint64_t last_line = check->view.weave_line - 1;
    const branch_state &first = check->branches[0];
    if (first.live_line == 0 && first.commented_line == 0) {
        check->fault(last_line, "the record of the first branch is missing above this line", {});
    }
    if (!check->versions.contains({0, 0})) {
        check->fault(last_line, "the record of the first version is missing above this line", {});
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
    header_check check{view, tree, {}, {}, {}, {}, false};
    // Where reading has not come as far as the weave, no text is known.
    const bool cut = view.weave_offset == view.bytes.view().size() && !view.header_damages.empty();
    check.torn = cut || view.torn_header;
    const position_range doubt = check.doubt_of({});
    for (const damage &found : view.header_damages) {
        check.fault(found.line, found.reason, doubt);
    }
    for (const damage &found : view.header_oddities) {
        check.fault(found.line, found.reason, doubt);
    }
    check_records(&check);
    if (!cut) {
        check_rooted(&check);
        check_first(&check);
    }
    return std::move(check.faults);
}

}  // namespace norvik

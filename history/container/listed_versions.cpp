// Branch numbers are given out one after the other, so that a table by number serves nearly all;
// versions of a branch that are numbered without gaps need no more than the lowest, the highest and
// their count. Building takes O(records) and one pass over the identifiers through an open hash
// table; the version tree is made only where numbers have gaps or a question goes across branches.
#include "listed_versions.h"

#include <functional>

namespace norvik {

listed_versions::listed_versions(const container_view &view) : view_(view) {
    // Numbers are given out one after the other; a damaged one that is beyond all use is looked up.
    low_.resize(2 * view.branches.size() + 16);
    sound_ = view.header_damages.empty() && view.header_oddities.empty();
    auto version = view.versions.begin();
    for (const branch_record &branch : view.branches) {
        for (; version != view.versions.end() && version->line < branch.line; ++version) {
            take_version(*version);
        }
        take_branch(branch);
    }
    for (; version != view.versions.end(); ++version) {
        take_version(*version);
    }
    if (!sound_) {
        return;
    }
    follow_branch_points();
    for (std::size_t number = 0; number < low_.size(); number++) {
        judge_branch(number, low_[number]);
    }
    for (const auto &[number, branch] : high_) {
        judge_branch(number, branch);
    }
    refuse_equal_identifiers();
}

// Newest first: a version stands above the lower ones of its branch and above the branch's record.
void listed_versions::take_version(const version_record &version) {
    branch_facts &branch = facts_of(version.id.branch);
    if (version.odd || branch.record != nullptr ||
        (branch.count > 0 && version.id.number >= branch.lowest)) {
        sound_ = false;
    }
    if (branch.count++ == 0) {
        branch.highest = version.id.number;
    }
    branch.lowest = version.id.number;
    branch.has_live = branch.has_live || !version.deleted;
}

void listed_versions::take_branch(const branch_record &record) {
    branch_facts &branch = facts_of(record.number);
    sound_ = sound_ && !record.odd;
    if (record.deleted) {
        branch.commented = true;
        return;
    }
    const branch_facts *parent = record.number == 0 ? nullptr : find(record.parent.branch);
    const bool below_point =
        parent != nullptr && parent->count > 0 && record.parent.number >= parent->lowest;
    const bool has_point = record.number == 0 && record.parent != version_id{};
    if (branch.record != nullptr || branch.count == 0 || record.number > view_.highest_branch ||
        below_point || has_point) {
        sound_ = false;
    }
    branch.record = &record;
}

// Records are newest first, so a parent is judged before its children when taken from the end.
void listed_versions::follow_branch_points() {
    facts_of(0).rooted = true;
    for (auto record = view_.branches.rbegin(); record != view_.branches.rend(); ++record) {
        if (record->deleted || record->number == 0) {
            continue;
        }
        const branch_facts *parent = find(record->parent.branch);
        if (parent == nullptr || !parent->rooted || record->parent.branch >= record->number ||
            !lists(record->parent)) {
            sound_ = false;
            return;
        }
        facts_of(record->number).rooted = true;
    }
}

void listed_versions::judge_branch(std::uint64_t number, const branch_facts &branch) {
    if (number == 0) {
        // No text needs the first records; that they are lost is damage all the same.
        sound_ = sound_ && branch.count > 0 && branch.lowest == 0 &&
                 (branch.record != nullptr || (branch.commented && !branch.has_live));
        return;
    }
    sound_ = sound_ && (branch.record != nullptr || branch.count == 0);
}

// Open addressing, half full at most.
void listed_versions::refuse_equal_identifiers() {
    std::size_t places = 16;
    while (places < 2 * (view_.versions.size() + view_.branches.size())) {
        places *= 2;
    }
    std::vector<std::string_view> seen(places);
    const auto enter = [&](std::string_view oid) {
        std::size_t at = std::hash<std::string_view>{}(oid) & (places - 1);
        for (; !seen[at].empty(); at = (at + 1) & (places - 1)) {
            sound_ = sound_ && seen[at] != oid;
        }
        seen[at] = oid;
    };
    for (const version_record &version : view_.versions) {
        enter(version.oid);
    }
    for (const branch_record &branch : view_.branches) {
        if (!branch.deleted) {
            enter(branch.oid);
        }
    }
}

const version_tree &listed_versions::tree() const {
    if (!tree_) {
        tree_ = build_version_tree(view_);
    }
    return *tree_;
}

bool listed_versions::lists_among_gaps(version_id id) const {
    return place_of(tree(), id).listed;
}

bool listed_versions::descends_across(version_id newer, version_id older) const {
    return is_ancestor(older, members_of(tree(), older), newer, members_of(tree(), newer));
}

}  // namespace norvik

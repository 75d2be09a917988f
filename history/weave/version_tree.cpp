// Versions are sorted by branch and number, branches by the version that they hang on; numbering
// walks both lists with a stack of its own. O(records x log records), 44 bytes a version and a
// table entry a branch.
#include "version_tree.h"

#include <algorithm>
#include <utility>

namespace norvik {
namespace {

// A branch that hangs on a version.
struct hanging_branch {
    version_id point;
    std::uint64_t branch = 0;
    friend auto operator<=>(const hanging_branch &, const hanging_branch &) = default;
};

// A branch being numbered: its next version, and the next branch that hangs on the version before.
struct open_branch {
    tree_branch *branch;
    std::uint32_t next;
    std::uint32_t parent;   // position of the version before, or of the branch point
    std::size_t hanging;    // next in the list of hanging branches
    std::size_t hangs_end;  // end of those that hang on the version before
};

// The records that count: the first live one of each branch.
std::vector<const branch_record *> live_branches(const container_view &view, version_tree *tree) {
    std::vector<const branch_record *> live;
    for (const branch_record &record : view.branches) {
        tree_branch &branch = tree->branches[record.number];
        if (!record.deleted && branch.record == nullptr) {
            branch.record = &record;
            live.push_back(&record);
        }
    }
    return live;
}

void collect_versions(const container_view &view, const std::vector<const branch_record *> &live,
                      const std::set<version_id> &lost, version_tree *tree) {
    std::vector<version_id> ids(lost.begin(), lost.end());
    ids.reserve(lost.size() + view.versions.size() + live.size());
    for (const version_record &version : view.versions) {
        ids.push_back(version.id);
    }
    for (const branch_record *record : live) {
        if (record->number != 0) {
            ids.push_back(record->parent);
        }
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    tree->by_id.reserve(ids.size());
    for (const version_id &id : ids) {
        tree_branch &branch = tree->branches[id.branch];
        if (branch.first == branch.end) {
            branch.first = static_cast<std::uint32_t>(tree->by_id.size());
        }
        tree->by_id.push_back({id, no_position, false, lost.contains(id)});
        branch.end = static_cast<std::uint32_t>(tree->by_id.size());
    }
}

// Branches whose record names a parent with a record further down: the line that a lineage follows.
// Records are newest first, so a parent is judged before its children when taken from the end.
std::vector<hanging_branch> attach_branches(const std::vector<const branch_record *> &live,
                                            version_tree *tree) {
    std::vector<hanging_branch> hanging;
    tree->branches[0].rooted = true;
    for (auto i = live.rbegin(); i != live.rend(); ++i) {
        const branch_record &record = **i;
        if (record.number == 0) {
            continue;
        }
        const tree_branch &parent = tree->branches[record.parent.branch];
        const bool follows = record.parent.branch == 0 ||
                             (parent.record != nullptr && parent.record->line > record.line);
        if (follows) {
            hanging.push_back({record.parent, record.number});
            tree->branches[record.number].rooted = parent.rooted;
        }
    }
    std::sort(hanging.begin(), hanging.end());
    return hanging;
}

class numbering {
public:
    numbering(version_tree *tree, const std::vector<hanging_branch> &hanging)
        : tree_(tree), hanging_(hanging) {
        tree_->versions.reserve(tree_->by_id.size());
        tree_->parent.reserve(tree_->by_id.size());
    }

    // Numbers a branch and all that hangs on it, without recursion: branches may nest deep.
    void number_from(std::uint64_t root) {
        open(root, no_position);
        while (!open_.empty()) {
            open_branch &top = open_.back();
            if (top.hanging < top.hangs_end) {
                const std::uint64_t branch = hanging_[top.hanging++].branch;
                open(branch, top.parent);
            } else if (top.next < top.branch->end) {
                number_next(&top);
            } else {
                top.branch->subtree_end = static_cast<std::uint32_t>(tree_->versions.size());
                open_.pop_back();
            }
        }
    }

private:
    void open(std::uint64_t number, std::uint32_t parent) {
        tree_branch &branch = tree_->branches[number];
        open_.push_back({&branch, branch.first, parent, 0, 0});
    }

    void number_next(open_branch *top) {
        tree_entry &entry = tree_->by_id[top->next++];
        entry.position = static_cast<std::uint32_t>(tree_->versions.size());
        tree_->versions.push_back(entry.id);
        tree_->parent.push_back(top->parent);
        top->parent = entry.position;
        const auto low =
            std::lower_bound(hanging_.begin(), hanging_.end(), hanging_branch{entry.id, 0});
        const auto high =
            std::upper_bound(low, hanging_.end(), hanging_branch{entry.id, UINT64_MAX});
        top->hanging = static_cast<std::size_t>(low - hanging_.begin());
        top->hangs_end = static_cast<std::size_t>(high - hanging_.begin());
    }

    version_tree *tree_;
    const std::vector<hanging_branch> &hanging_;
    std::vector<open_branch> open_;
};

std::vector<std::uint64_t> root_branches(const version_tree &tree,
                                         const std::vector<hanging_branch> &hanging) {
    std::vector<std::uint64_t> attached;
    attached.reserve(hanging.size());
    for (const hanging_branch &branch : hanging) {
        attached.push_back(branch.branch);
    }
    std::sort(attached.begin(), attached.end());
    std::vector<std::uint64_t> roots;
    for (const auto &[number, branch] : tree.branches) {
        if (!std::binary_search(attached.begin(), attached.end(), number)) {
            roots.push_back(number);
        }
    }
    std::sort(roots.begin(), roots.end());
    return roots;
}

const tree_branch *find_tree_branch(const version_tree &tree, std::uint64_t number) {
    if (number < tree.low_branches.size()) {
        return tree.low_branches[number];
    }
    const auto found = tree.branches.find(number);
    return found == tree.branches.end() ? nullptr : &found->second;
}

// The first version of the branch that is not below `number`, or its end. Without gaps it stands
// where counting from the first one leads.
std::uint32_t find_entry(const version_tree &tree, const tree_branch &branch,
                         std::uint64_t number) {
    const std::uint64_t lowest = tree.by_id[branch.first].id.number;
    const std::uint64_t count = branch.end - branch.first;
    if (number >= lowest && number - lowest < count) {
        const auto guess = branch.first + static_cast<std::uint32_t>(number - lowest);
        if (tree.by_id[guess].id.number == number) {
            return guess;
        }
    }
    const auto entry = std::lower_bound(
        tree.by_id.begin() + branch.first, tree.by_id.begin() + branch.end, number,
        [](const tree_entry &a, std::uint64_t wanted) { return a.id.number < wanted; });
    return static_cast<std::uint32_t>(entry - tree.by_id.begin());
}

void mark_listed(const container_view &view, version_tree *tree) {
    for (const version_record &version : view.versions) {
        const tree_branch &branch = *find_tree_branch(*tree, version.id.branch);
        tree->by_id[find_entry(*tree, branch, version.id.number)].listed = true;
    }
}

void index_low_branches(version_tree *tree) {
    tree->low_branches.resize(2 * tree->branches.size());
    for (const auto &[number, branch] : tree->branches) {
        if (number < tree->low_branches.size()) {
            tree->low_branches[number] = &branch;
        }
    }
}

}  // namespace

version_tree build_version_tree(const container_view &view, const std::set<version_id> &lost) {
    version_tree tree;
    const std::vector<const branch_record *> live = live_branches(view, &tree);
    collect_versions(view, live, lost, &tree);
    const std::vector<hanging_branch> hanging = attach_branches(live, &tree);
    numbering order(&tree, hanging);
    for (const std::uint64_t root : root_branches(tree, hanging)) {
        order.number_from(root);
    }
    index_low_branches(&tree);
    mark_listed(view, &tree);
    return tree;
}

tree_place place_of(const version_tree &tree, version_id id) {
    const tree_branch *branch = find_tree_branch(tree, id.branch);
    if (branch == nullptr || branch->first == branch->end) {
        return {};
    }
    const std::uint32_t found = find_entry(tree, *branch, id.number);
    if (found == branch->end) {
        return {};
    }
    const tree_entry &entry = tree.by_id[found];
    const bool exact = entry.id == id;
    return {{entry.position, branch->subtree_end},
            exact ? entry.position : no_position,
            exact && entry.listed,
            exact && entry.lost};
}

position_range all_versions(const version_tree &tree) {
    return {0, static_cast<std::uint32_t>(tree.versions.size())};
}

position_range members_of(const version_tree &tree, version_id id) {
    return place_of(tree, id).members;
}

bool is_ancestor(version_id older, position_range older_members, version_id newer,
                 position_range newer_members) {
    if (older.branch == newer.branch) {
        return older.number < newer.number;
    }
    return newer_members.empty() || older_members.holds(newer_members);
}

std::uint32_t position_of(const version_tree &tree, version_id id) {
    return place_of(tree, id).position;
}

}  // namespace norvik

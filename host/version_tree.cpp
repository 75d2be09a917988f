#include "version_tree.h"

#include <algorithm>
#include <utility>

namespace host {
namespace {

// A branch that hangs on a version.
struct hanging_branch {
    version_id point;
    uint64_t branch = 0;
    friend auto operator<=>(const hanging_branch &, const hanging_branch &) = default;
};

// A branch being numbered: its next version, and the next branch that hangs on the version before.
struct open_branch {
    tree_branch *branch;
    uint32_t next;
    uint32_t parent;        // position of the version before, or of the branch point
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
                      version_tree *tree) {
    std::vector<version_id> ids;
    ids.reserve(view.versions.size() + live.size());
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
            branch.first = static_cast<uint32_t>(tree->by_id.size());
        }
        tree->by_id.push_back({id, no_position});
        branch.end = static_cast<uint32_t>(tree->by_id.size());
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
    void number_from(uint64_t root) {
        open(root, no_position);
        while (!open_.empty()) {
            open_branch &top = open_.back();
            if (top.hanging < top.hangs_end) {
                const uint64_t branch = hanging_[top.hanging++].branch;
                open(branch, top.parent);
            } else if (top.next < top.branch->end) {
                number_next(&top);
            } else {
                top.branch->subtree_end = static_cast<uint32_t>(tree_->versions.size());
                open_.pop_back();
            }
        }
    }

private:
    void open(uint64_t number, uint32_t parent) {
        tree_branch &branch = tree_->branches[number];
        open_.push_back({&branch, branch.first, parent, 0, 0});
    }

    void number_next(open_branch *top) {
        tree_entry &entry = tree_->by_id[top->next++];
        entry.position = static_cast<uint32_t>(tree_->versions.size());
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

std::vector<uint64_t> root_branches(const version_tree &tree,
                                    const std::vector<hanging_branch> &hanging) {
    std::vector<uint64_t> attached;
    attached.reserve(hanging.size());
    for (const hanging_branch &branch : hanging) {
        attached.push_back(branch.branch);
    }
    std::sort(attached.begin(), attached.end());
    std::vector<uint64_t> roots;
    for (const auto &[number, branch] : tree.branches) {
        if (!std::binary_search(attached.begin(), attached.end(), number)) {
            roots.push_back(number);
        }
    }
    std::sort(roots.begin(), roots.end());
    return roots;
}

// The branch of `id` and the first of its versions that is not below `id`, in by_id.
std::pair<const tree_branch *, uint32_t> locate(const version_tree &tree, version_id id) {
    const auto found = tree.branches.find(id.branch);
    if (found == tree.branches.end()) {
        return {nullptr, 0};
    }
    const tree_branch &branch = found->second;
    const auto first = tree.by_id.begin() + branch.first;
    const auto end = tree.by_id.begin() + branch.end;
    const auto entry =
        std::lower_bound(first, end, id.number,
                         [](const tree_entry &a, uint64_t number) { return a.id.number < number; });
    return {entry == end ? nullptr : &branch, static_cast<uint32_t>(entry - tree.by_id.begin())};
}

}  // namespace

version_tree build_version_tree(const container_view &view) {
    version_tree tree;
    const std::vector<const branch_record *> live = live_branches(view, &tree);
    collect_versions(view, live, &tree);
    const std::vector<hanging_branch> hanging = attach_branches(live, &tree);
    numbering order(&tree, hanging);
    for (const uint64_t root : root_branches(tree, hanging)) {
        order.number_from(root);
    }
    return tree;
}

position_range members_of(const version_tree &tree, version_id id) {
    const auto [branch, entry] = locate(tree, id);
    if (branch == nullptr) {
        return {};
    }
    return {tree.by_id[entry].position, branch->subtree_end};
}

bool is_ancestor(const version_tree &tree, version_id older, version_id newer) {
    if (older.branch == newer.branch) {
        return older.number < newer.number;
    }
    const position_range below = members_of(tree, newer);
    return below.empty() || members_of(tree, older).holds(below);
}

uint32_t position_of(const version_tree &tree, version_id id) {
    const auto [branch, entry] = locate(tree, id);
    return branch != nullptr && tree.by_id[entry].id == id ? tree.by_id[entry].position
                                                           : no_position;
}

}  // namespace host

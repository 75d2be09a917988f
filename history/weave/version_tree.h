// The versions of a container in preorder of their tree, so that "every version that has this
// record in its lineage" is a range of positions.
//
// A version is the child of the version before it on its branch, the first version of a branch the
// child of its branch point. A record of version v of branch b belongs to the versions of b from v
// on and to all branches that hang on one of these, however deep: in preorder, with the branches of
// a version before the version's own successor, these stand side by side, from the first version of
// b that is not below v to the end of b's subtree. Versions that are branch points only, or only
// commented-out records, stand in the tree as well.
#ifndef NORVIK_VERSION_TREE_H
#define NORVIK_VERSION_TREE_H

#include <cstdint>
#include <set>
#include <unordered_map>
#include <vector>

#include "container_view.h"

namespace norvik {

// Positions first .. end - 1; empty when both are equal.
struct position_range {
    std::uint32_t first = 0;
    std::uint32_t end = 0;
    bool empty() const { return first == end; }
    bool holds(position_range inner) const { return first <= inner.first && inner.end <= end; }
    friend bool operator==(const position_range &, const position_range &) = default;
};

inline constexpr std::uint32_t no_position = UINT32_MAX;

// The versions of one branch.
struct tree_branch {
    std::uint32_t first = 0;  // in version_tree::by_id
    std::uint32_t end = 0;
    std::uint32_t subtree_end = 0;  // position after the last one of its subtree
    const branch_record *record = nullptr;
    bool rooted = false;  // its line of branch points leads to branch 0
};

struct tree_entry {
    version_id id;
    std::uint32_t position = no_position;
    bool listed = false;  // has a version record, commented out or not
    bool lost = false;    // had one, which is lost
};

// Where the records of a version belong.
struct tree_place {
    position_range members;                // the versions that have them in their lineage
    std::uint32_t position = no_position;  // the version's own, when it is in the tree
    bool listed = false;
    bool lost = false;
};

struct version_tree {
    version_tree() = default;
    version_tree(version_tree &&) = default;
    version_tree &operator=(version_tree &&) = default;
    version_tree(const version_tree &) = delete;  // low_branches points into branches
    version_tree &operator=(const version_tree &) = delete;

    std::vector<version_id> versions;   // by position
    std::vector<std::uint32_t> parent;  // by position; no_position for a root
    std::vector<tree_entry> by_id;      // in order of branch and number
    std::unordered_map<std::uint64_t, tree_branch> branches;
    std::vector<const tree_branch *> low_branches;  // by number; null for one that is not there
};

// O(records x log records). Works on damaged headers too: a branch whose line of branch points does
// not lead to branch 0 becomes a root of its own.
// `lost` versions stand in it as well, unlisted.
[[nodiscard]] version_tree build_version_tree(const container_view &view,
                                              const std::set<version_id> &lost = {});

// O(1) where the versions of the branch are numbered without gaps, else O(log versions). `id`
// itself need not be in the tree.
[[nodiscard]] tree_place place_of(const version_tree &tree, version_id id);

// The versions that have the records of version `id` in their lineage; empty when there is none.
[[nodiscard]] position_range members_of(const version_tree &tree, version_id id);

// Whether the records of `older` belong to what `newer` was made from: it is another version and
// stands above `newer` in the tree. True as well when no version has `newer` in its lineage.
[[nodiscard]] bool is_ancestor(version_id older, position_range older_members, version_id newer,
                               position_range newer_members);

// All positions.
[[nodiscard]] position_range all_versions(const version_tree &tree);

// The position of a version that is in the tree, else no_position.
[[nodiscard]] std::uint32_t position_of(const version_tree &tree, version_id id);

}  // namespace norvik

#endif

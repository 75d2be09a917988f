// Records of versions that the header does not list are judged after the first pass; when some of
// them are lost ones, a second pass counts with them in the tree.
#include "weave_scan.h"

#include <set>
#include <utility>

#include "line_counts.h"

namespace norvik {

namespace {

weave_scan scan_along(const container_view &view, version_tree tree, fingerprints of,
                      const scan_progress &told) {
    weave_scan result{std::move(tree), {}, {}, {}, {}};
    weave_cursor cursor(view, result.tree, of);
    constexpr std::uint64_t told_every = std::uint64_t{1} << 20;
    std::uint64_t tell_at = told_every;
    weave_stretch stretch;
    while (cursor.next(&stretch)) {
        if (told && cursor.passed() >= tell_at) {
            told(cursor.passed());
            tell_at = cursor.passed() + told_every;
        }
    }
    result.totals = cursor.totals();
    result.changes = cursor.changes();
    result.faults = cursor.faults();
    result.unlisted = cursor.unlisted();
    count_rows_as_lines(view, result.tree, &result.totals, &result.changes);
    return result;
}

// Whether it is a header record that is lost, and not the version's number that is damaged in
// records of the weave: the next version of the branch is there, or there are more such records
// than would come to the same number.
bool is_lost(const version_tree &tree, version_id id, std::uint64_t records) {
    constexpr std::uint64_t too_many = 3;
    const auto found = tree.branches.find(id.branch);
    if (found == tree.branches.end() || found->second.first == found->second.end) {
        return false;
    }
    return records >= too_many ||
           (id.number != 0 && place_of(tree, {id.branch, id.number + 1}).listed);
}

}  // namespace

weave_scan scan_weave(const container_view &view, fingerprints of, const scan_progress &told) {
    weave_scan result = scan_along(view, build_version_tree(view), of, told);
    std::set<version_id> lost;
    for (const auto &[id, records] : result.unlisted) {
        if (is_lost(result.tree, id, records)) {
            lost.insert(id);
        }
    }
    if (lost.empty()) {
        return result;
    }
    // What a deletion counts depends on the version before it, which may be a lost one.
    return scan_along(view, build_version_tree(view, lost), of, told);
}

}  // namespace norvik

#include "weave_scan.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace host {

namespace {

weave_scan scan_along(const container_view &view, version_tree tree, bool fingerprints,
                      const scan_progress &told) {
    weave_scan result{std::move(tree), {}, {}, {}, {}};
    weave_cursor cursor(view, result.tree, fingerprints);
    constexpr uint64_t told_every = uint64_t{1} << 20;
    uint64_t tell_at = told_every;
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
    return result;
}

}  // namespace

weave_scan scan_weave(const container_view &view, bool fingerprints, const scan_progress &told) {
    weave_scan result = scan_along(view, build_version_tree(view), fingerprints, told);
    std::set<version_id> lost;
    std::copy_if(result.unlisted.begin(), result.unlisted.end(), std::inserter(lost, lost.end()),
                 [&result](version_id id) { return misses_record(result.tree, id); });
    if (lost.empty()) {
        return result;
    }
    // What a deletion counts depends on the version before it, which may be a lost one.
    return scan_along(view, build_version_tree(view, lost), fingerprints, told);
}

}  // namespace host

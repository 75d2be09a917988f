#include "weave_scan.h"

namespace host {

weave_scan scan_weave(const container_view &view, bool fingerprints, const scan_progress &told) {
    weave_scan result{build_version_tree(view), {}, {}, {}, {}};
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

}  // namespace host

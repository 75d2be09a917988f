#include "kept_digests.h"

#include "random_digits.h"

namespace norvik {

void kept_digests::compare(const container_view &view, container_check *check) const {
    auto found = containers_.find(view.name);
    if (found == containers_.end() && containers_.size() == 1) {
        found = containers_.begin();
    }
    if (found == containers_.end()) {
        check->faults.push_back({{0, source_ + " lists no such container"}, {}, false});
        return;
    }
    // Only lists that earlier versions of the command have printed are of lines.
    const weave_scan lines = of_ == fingerprints::lines ? scan_weave(view, of_, {}) : weave_scan();
    const std::vector<text_step> &totals =
        of_ == fingerprints::lines ? lines.totals : check->scan.totals;
    for (const auto &[identifier, kept] : found->second) {
        const version_record *version = find_version_by_oid(view, identifier);
        if (version == nullptr) {
            check->faults.push_back(
                {{0, "version " + kept.name + " is not there any more"}, {}, false});
            continue;
        }
        const std::uint32_t position = position_of(check->scan.tree, version->id);
        if (hexadecimal(totals[position].offset) != kept.digest) {
            check->in_doubt[position] = true;
            check->faults.push_back(
                {{0, "version " + kept.name + " reads otherwise than " + source_ + " has it"},
                 {},
                 false});
        }
    }
}

}  // namespace norvik

// Size and fingerprint of all versions come from one pass over the weave; only versions
// that agree in both are read.
#include "living_version.h"

#include "proof.h"
#include "weave_scan.h"

namespace norvik {

namespace {

// What a version with this text reads, as the pass over the weave counts it.
text_step measure(std::string_view text) {
    text_step read;
    read.bytes = text.size();
    read.offset = add_text(0, text);
    return read;
}

}  // namespace

const version_record *find_living_version(const container_view &view,
                                          const std::vector<const version_record *> &likely,
                                          std::string_view text) {
    for (const version_record *version : likely) {
        if (version != nullptr && !version->deleted && version_equals(view, version->id, text)) {
            return version;
        }
    }
    const text_step sought = measure(text);
    const weave_scan scan = scan_weave(view, fingerprints::bytes, {});
    for (std::size_t i = 0; i < scan.totals.size(); i++) {
        const text_step &read = scan.totals[i];
        if (read.bytes != sought.bytes || read.offset != sought.offset) {
            continue;
        }
        const version_record *version = find_version(view, scan.tree.versions[i]);
        if (version != nullptr && !version->deleted && version_equals(view, version->id, text)) {
            return version;
        }
    }
    return nullptr;
}

}  // namespace norvik

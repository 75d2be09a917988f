// Size, line count and fingerprint of all versions come from one pass over the weave; only versions
// that agree in all three are read.
#include "living_version.h"

#include "line_hash.h"
#include "proof.h"
#include "weave_scan.h"

namespace norvik {

namespace {

// What a version with this text reads, as the pass over the weave counts it.
text_step measure(std::string_view text) {
    text_step read;
    read.bytes = text.size();
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        const std::string_view line =
            text.substr(0, newline == std::string_view::npos ? text.size() : newline + 1);
        read.offset = multiply_add(read.offset, fingerprint_base, hash_line(line));
        read.lines++;
        text.remove_prefix(line.size());
    }
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
    const weave_scan scan = scan_weave(view, true, {});
    for (std::size_t i = 0; i < scan.totals.size(); i++) {
        const text_step &read = scan.totals[i];
        if (read.bytes != sought.bytes || read.lines != sought.lines ||
            read.offset != sought.offset) {
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

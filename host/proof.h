// Proves that a new container is the old one with one version (or a branch) added and nothing else
// changed, before it takes the old one's place.
#ifndef TDM_HOST_PROOF_H
#define TDM_HOST_PROOF_H

#include <string>
#include <string_view>

#include "container_view.h"

namespace host {

// What a change was to add.
struct added_records {
    version_id id;          // of the version that was added
    std::string header;     // the lines before the old header: status, version and branch record
    bool has_text = false;  // a check-in: `text` is the version's whole text
    std::string_view text;
};

// The lines that a change puts before the old header, in the form that the library writes them.
// `branch` is null unless the change adds that branch.
[[nodiscard]] std::string added_header(const container_view &old, const version_record &version,
                                       const branch_record *branch);

// Opens the new container by `descriptor` and compares: its first lines are `added.header`; with
// them, and with the new version's records and lines, taken out, the rest is the old container from
// its second line on, byte for byte; the new version reconstructs to the text. Two passes over the
// new container, at the speed of memory. Returns 0, or status_trouble after a message that names
// the container as the old one.
[[nodiscard]] int prove_addition(const container_view &old, int descriptor,
                                 const added_records &added);

// Whether the version's text, by its lineage, is exactly `text`. A container that cannot be walked
// is not.
[[nodiscard]] bool version_equals(const container_view &view, version_id id, std::string_view text);

}  // namespace host

#endif

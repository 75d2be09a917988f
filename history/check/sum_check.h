// Do the versions of a container agree with the digests in their records?
#ifndef NORVIK_SUM_CHECK_H
#define NORVIK_SUM_CHECK_H

#include <cstddef>
#include <vector>

#include "weave_scan.h"

namespace norvik {

// The fingerprints that a pass must have to check a container's digests: none where it has none.
[[nodiscard]] fingerprints fingerprints_to_check(const container_view &view);

// How many of the versions that are not deleted have no digest.
[[nodiscard]] std::size_t count_without_sum(const container_view &view);

// A fault, `is_sum` set, for every range of versions that do not agree with their digests, with the
// lines that may be the damaged ones: those that every such version has, and none that agrees; and
// one for every branch record whose own digest is wrong. `scan` has fingerprints of bytes. Versions
// that are deleted, and those whose branch cannot be read, are passed over. One more pass over the
// weave when there is any fault.
[[nodiscard]] std::vector<weave_fault> check_sums(const container_view &view,
                                                  const weave_scan &scan);

}  // namespace norvik

#endif

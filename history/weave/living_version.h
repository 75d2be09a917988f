// Is a text one of the versions of a container, so that nothing is lost when it goes?
#ifndef NORVIK_LIVING_VERSION_H
#define NORVIK_LIVING_VERSION_H

#include <string_view>
#include <vector>

#include "container_view.h"

namespace norvik {

// A version that is not deleted and whose text is exactly `text`, compared byte for byte; null when
// there is none. Those of `likely` are looked at first (nulls are passed over), then all at once:
// one pass over the container finds the versions with the text's size, line count and fingerprint.
// O(bytes of the container + bytes of the text), as far as fingerprints tell texts apart. For sound
// containers.
[[nodiscard]] const version_record *find_living_version(
    const container_view &view, const std::vector<const version_record *> &likely,
    std::string_view text);

}  // namespace norvik

#endif

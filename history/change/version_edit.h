// Weaves the difference between two consecutive texts into a weave in memory, by the library's own
// comparison.
#ifndef NORVIK_VERSION_EDIT_H
#define NORVIK_VERSION_EDIT_H

#include <string>
#include <string_view>

#include "failure.h"
#include "import_weave.h"

namespace norvik {

// `before_path` holds the text at which `weave` is open; `text` is the new version's text, which is
// also in the file `path`. Afterwards the weave is open at `text`, with the new version's records
// in it. Failures name the new file `name`.
result<> weave_version(import_weave &weave, version_id id, const std::string &before_path,
                       const std::string &path, const std::string &name, std::string_view text);

}  // namespace norvik

#endif

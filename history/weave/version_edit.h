// Weaves the difference between two consecutive texts into a weave in memory.
#ifndef NORVIK_VERSION_EDIT_H
#define NORVIK_VERSION_EDIT_H

#include <string>
#include <string_view>

#include "failure.h"
#include "import_weave.h"
#include "stored_line.h"

namespace norvik {

// `weave` is open at the text `before`; afterwards it is open at `text`, the new version's, with
// that version's records in it. A text that cannot be stored is refused in the name of `name`, and
// then the weave is of no more use.
result<> weave_version(import_weave &weave, version_id id, const stored_text &before,
                       const stored_text &text, const std::string &name);

}  // namespace norvik

#endif

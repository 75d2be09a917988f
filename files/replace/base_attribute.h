// The version that a file's text was made from, kept as its identifier in an extended attribute of
// the file. It is a help only: file systems may not take it, and an editor that writes a new file
// drops it.
#ifndef NORVIK_BASE_ATTRIBUTE_H
#define NORVIK_BASE_ATTRIBUTE_H

#include <string>
#include <string_view>

#include "failure.h"

namespace norvik {

// The identifier, as it stands on the open file; empty when there is none. Anybody may have set it,
// to anything.
[[nodiscard]] std::error_code read_base(int descriptor, std::string *identifier);

// Sets it on an open file; needs no descriptor for writing. When that fails, an older one is taken
// away, so that the file claims no base that is not its own. ENOTSUP or ENOSYS where the file
// system keeps no attributes.
[[nodiscard]] std::error_code write_base(int descriptor, std::string_view identifier);

// Takes it away; no error where there is none.
[[nodiscard]] std::error_code remove_base(int descriptor);

// The same two for a new file of the command's own that has its final mode already, which may deny
// writing to its owner; an empty identifier takes the attribute away. No failure where the file
// system keeps no attributes: no wrong one can stand there.
result<> mark_new_file(int descriptor, std::string_view identifier, const std::string &name);

}  // namespace norvik

#endif

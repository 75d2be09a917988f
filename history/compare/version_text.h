// The text of a version of a container, held in memory and at hand as a file for the library.
#ifndef NORVIK_VERSION_TEXT_H
#define NORVIK_VERSION_TEXT_H

#include "container_view.h"
#include "text_file.h"

namespace norvik {

// `name` is what messages and headings call the text.
result<> load_version_text(const container_view &view, version_id id, const std::string &name,
                           text_file *out);

// The value of the text that a version's digest is made of (version_sum.h). One pass over the
// weave.
result<std::uint64_t> read_text_value(const container_view &view, version_id id);

}  // namespace norvik

#endif

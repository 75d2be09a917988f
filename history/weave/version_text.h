// The text of a version of a container, held in memory and at hand as a file for the library.
#ifndef NORVIK_VERSION_TEXT_H
#define NORVIK_VERSION_TEXT_H

#include "container_view.h"
#include "text_file.h"

namespace norvik {

// `name` is what messages and headings call the text.
result<> load_version_text(const container_view &view, version_id id, const std::string &name,
                           text_file *out);

}  // namespace norvik

#endif

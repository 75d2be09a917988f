// An annotation in JSON; docs/json.md describes it.
#ifndef NORVIK_ANNOTATION_JSON_H
#define NORVIK_ANNOTATION_JSON_H

#include <vector>

#include "annotation.h"

namespace norvik {

// Prints the lines of `version` and the versions that they name.
void print_annotation_json(const container_view &view, version_id version,
                           const std::vector<annotated_stretch> &stretches);

}  // namespace norvik

#endif

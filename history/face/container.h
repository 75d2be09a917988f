// An open container as the C interface hands it out.
#ifndef NORVIK_FACE_CONTAINER_H
#define NORVIK_FACE_CONTAINER_H

#include <norviktdm/history.h>

#include <deque>
#include <string>
#include <vector>

#include "container_view.h"
#include "error.h"

struct norvik_container {
    norvik::container_view view;
    std::string element;
    std::deque<std::string> strings;       // that the records below point to
    std::vector<norvik_version> versions;  // as in the view
    std::vector<norvik_branch> branches;
};

namespace norvik::face {

// The version's record; null when it is none of the container.
const version_record *record_of(const norvik_container *container, const norvik_version *version);

// The same of a version that is asked for its text: null with the error in `error`.
const version_record *living_record(const norvik_container *container,
                                    const norvik_version *version, norvik_error **error);

}  // namespace norvik::face

#endif

// A merge as the C interface hands it out.
#ifndef NORVIK_FACE_MERGE_H
#define NORVIK_FACE_MERGE_H

#include <norviktdm/changes.h>

#include <memory>
#include <vector>

#include "checkin_merge.h"
#include "error.h"

struct norvik_merge : norvik::checkin_merge {
    std::vector<norvik_region> regions;
    std::vector<std::vector<norvik_place>> places;       // by region
    std::vector<std::vector<std::int32_t>> plan_places;  // their indices in the plan
};

namespace norvik::face {

// Fills in what is handed out of `run`, which is done, and lets go of its files.
void describe(norvik_merge *merge);

}  // namespace norvik::face

#endif

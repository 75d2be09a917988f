// What the text of a check-in was made from, and whether others have stored since.
#ifndef NORVIK_CHECKIN_BASE_H
#define NORVIK_CHECKIN_BASE_H

#include <string>
#include <vector>

#include "checkin_plan.h"
#include "container_view.h"
#include "failure.h"

namespace norvik {

// What is said of a text's base.
struct base_request {
    std::string base;  // the version that it was made from, as a user names it; empty: see `mark`
    std::string mark;  // the identifier that the text's file has of it; empty: none
    bool needed = false;  // the base must be known, for a merge
    std::string text;     // what failures call the text
};

// What a check-in is measured against.
struct checkin_base {
    const version_record *base = nullptr;    // what the text was made from; null: not known
    const version_record *newest = nullptr;  // the version it must be; null: the branch has none
    bool current = true;                     // nothing has come since, as far as is known
};

// Finds both. A mark that the container lacks is told and passed over; where the base is needed it
// is the failure.
result<checkin_base> find_checkin_base(const container_view &view, const checkin_plan &plan,
                                       const base_request &request, const notice_sink &tell);

// The versions that `newest` has and the base has not, newest first.
std::vector<const version_record *> came_since(const container_view &view,
                                               const checkin_base &found);

}  // namespace norvik

#endif

// What becomes of a text that is checked in: whether it is stored as it is, merged with what others
// have stored since its base, or not stored. Nothing is written here.
#ifndef NORVIK_CHECKIN_DECISION_H
#define NORVIK_CHECKIN_DECISION_H

#include <string_view>

#include "checkin_base.h"
#include "checkin_merge.h"
#include "checkin_plan.h"

namespace norvik {

struct checkin_request {
    checkin_target target;
    base_request base;  // needed: what has come since is merged in
    bool allow_same = false;
};

enum class checkin_answer {
    store,     // the text is the next version's
    same,      // it is the newest version's already
    outdated,  // others have stored since, and nothing is to be merged
    conflict,  // it cannot be merged with what they have stored
};

struct checkin_decision {
    checkin_answer answer = checkin_answer::store;
    bool merged = false;  // the text in question is the merge's, no longer the one checked in
    checkin_plan plan;
    checkin_base found;
};

// Decides from the locked container. `merge` has the options of the merge and receives it, where
// there is one. What is passed over is told.
result<checkin_decision> decide_checkin(const container_view &view, const checkin_request &request,
                                        std::string_view text, const notice_sink &tell,
                                        checkin_merge *merge);

}  // namespace norvik

#endif

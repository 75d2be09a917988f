#include "checkin_decision.h"

#include "proof.h"

namespace norvik {

result<checkin_decision> decide_checkin(const container_view &view, const checkin_request &request,
                                        std::string_view text, const notice_sink &tell,
                                        checkin_merge *merge) {
    checkin_decision decided;
    auto plan = plan_checkin(view, request.target, 1);
    if (!plan) {
        return plan.failure();
    }
    decided.plan = std::move(*plan);
    const auto found = find_checkin_base(view, decided.plan, request.base, tell);
    if (!found) {
        return found.failure();
    }
    decided.found = *found;
    if (found->current) {
        return decided;
    }
    const auto is_newest = [&](std::string_view candidate) {
        return !request.allow_same && version_equals(view, found->newest->id, candidate);
    };
    if (is_newest(text)) {
        decided.answer = checkin_answer::same;
    } else if (!request.base.needed) {
        decided.answer = checkin_answer::outdated;
    } else {
        if (auto done = merge_with_newest(view, *found, request.base.text, text, merge); !done) {
            return done.failure();
        }
        decided.merged = true;
        decided.answer = !is_clean(merge->run.plan) ? checkin_answer::conflict
                         : is_newest(merge->text()) ? checkin_answer::same
                                                    : checkin_answer::store;
    }
    return decided;
}

}  // namespace norvik

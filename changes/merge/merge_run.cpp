// Writing and checking take turns: each round makes conflicts of what the check has found, four
// rounds at most, each as long as one merge.
#include "merge_run.h"

#include <algorithm>

namespace norvik {

namespace {

// Each round makes a conflict of what the round before has found; a round that finds nothing new
// is the last.
constexpr int most_rounds = 4;

// The place whose text ends without a newline and the one that follows; for the last place, the
// one before.
std::vector<std::int32_t> around_unended(const merge_run &run) {
    const std::int32_t place = run.merged.unended_place;
    std::vector<std::int32_t> places{place};
    if (place + 1 < static_cast<std::int32_t>(run.plan.places.size())) {
        places.push_back(place + 1);
    } else if (place > 0) {
        places.push_back(place - 1);
    }
    return places;
}

}  // namespace

bool add_contributor(const text_lines *text, merge_input *in) {
    const auto same =
        std::find_if(in->files.begin(), in->files.end(),
                     [&](const text_lines *other) { return other->bytes == text->bytes; });
    const auto first = static_cast<std::size_t>(same - in->files.begin());
    const bool shared = same != in->files.end();
    in->changes.push_back(shared ? in->changes[first] : file_edits{});
    in->files.push_back(text);
    in->same_as.push_back(static_cast<std::int32_t>(first));
    return shared;
}

bool finish_merge(const merge_options &options, merge_run *run) {
    for (int round = 0; round < most_rounds; round++) {
        run->merged = write_merged(run->in, run->plan, options.markers);
        if (run->merged.unended_place >= 0) {
            force_conflict(&run->plan, around_unended(*run), conflict_reason::unproved);
            continue;
        }
        // Not of a text in which two lines are joined: both would count as lost.
        run->verdict = check_merged(run->in, run->plan, run->merged);
        const bool repeated = options.strict && !run->verdict.repeated.empty();
        if (run->verdict.faults.empty() && !repeated) {
            return true;
        }
        force_conflict(&run->plan, run->verdict.fault_places, conflict_reason::unproved);
        if (repeated) {
            force_conflict(&run->plan, run->verdict.repeated_places, conflict_reason::repeated);
        }
    }
    return false;
}

bool is_clean(const merge_plan &plan) {
    return std::none_of(plan.regions.begin(), plan.regions.end(), is_conflict);
}

}  // namespace norvik

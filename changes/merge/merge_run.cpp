#include "merge_run.h"

#include <algorithm>

#include "escaped_text.h"
#include "exit_status.h"
#include "output.h"

namespace norvik {

namespace {

// Each round makes a conflict of what the round before has found; a round that finds nothing new
// is the last.
constexpr int most_rounds = 4;

int give_up(const merge_run &run) {
    for (const line_fault &fault : run.verdict.faults) {
        const char *what = fault.kind == line_fault_kind::lost      ? "is lost"
                           : fault.kind == line_fault_kind::doubled ? "stands too often"
                                                                    : "comes from nowhere";
        say("the merged text does not pass its check: a line %s: '%s'", what,
            escape_name(fault.line).c_str());
    }
    return status_trouble;
}

// The place whose text ends without a newline and the one that follows; for the last place, the
// one before.
std::vector<int32_t> around_unended(const merge_run &run) {
    const int32_t place = run.merged.unended_place;
    std::vector<int32_t> places{place};
    if (place + 1 < static_cast<int32_t>(run.plan.places.size())) {
        places.push_back(place + 1);
    } else if (place > 0) {
        places.push_back(place - 1);
    }
    return places;
}

// From the opened files to what each contributor changed.
int compare_contributors(const merge_options &options, bool by_library, merge_run *run) {
    const auto after = by_library ? after_compare::keep_session : after_compare::close_session;
    if (compare_files(&run->files, "merge", options.ignore_blanks, after, &run->compared) !=
        status_done) {
        return status_trouble;
    }
    run->in.base = &run->files[0].lines;
    run->in.equality =
        options.ignore_blanks ? line_equality::without_inner_blanks : line_equality::exact;
    for (size_t k = 1; k < run->files.size(); k++) {
        const text_lines &text = run->files[k].lines;
        const auto same =
            std::find_if(run->in.files.begin(), run->in.files.end(),
                         [&](const text_lines *other) { return other->bytes == text.bytes; });
        const auto first = static_cast<size_t>(same - run->in.files.begin());
        run->in.files.push_back(&text);
        run->in.same_as.push_back(static_cast<int32_t>(first));
        run->in.changes.push_back(first < k - 1 ? run->in.changes[first]
                                                : edits_of(run->compared, run->files, k,
                                                           {run->in.equality, !by_library}));
    }
    return status_done;
}

}  // namespace

int begin_merge(const std::vector<std::string> &names, const merge_options &options,
                bool by_library, merge_run *run) {
    if (refuse_spent_input(names) != status_done) {
        return status_trouble;
    }
    run->files.resize(names.size());
    for (size_t i = 0; i < names.size(); i++) {
        if (open_text_file(names[i], &run->files[i]) != status_done) {
            return status_trouble;
        }
    }
    return compare_contributors(options, by_library, run);
}

int merge_texts(const std::vector<named_text> &texts, merge_options *options, merge_run *run) {
    marker_options &markers = options->markers;
    run->files.resize(texts.size());
    for (size_t i = 0; i < texts.size(); i++) {
        if (hold_text(texts[i].name, texts[i].bytes, &run->files[i]) != status_done) {
            return status_trouble;
        }
        if (i == 0 && markers.base_label.empty()) {
            markers.base_label = texts[i].name;
        } else if (i > markers.labels.size()) {
            markers.labels.push_back(texts[i].name);
        }
    }
    if (compare_contributors(*options, false, run) != status_done) {
        return status_trouble;
    }
    run->plan = plan_merge(run->in, options->apply_adjacent);
    return finish_merge(*options, run);
}

int finish_merge(const merge_options &options, merge_run *run) {
    for (int round = 0; round < most_rounds; round++) {
        run->merged = write_merged(run->in, run->plan, options.markers);
        if (run->merged.unended_place >= 0) {
            force_conflict(&run->plan, around_unended(*run), conflict_reason::unproved);
            continue;
        }
        run->verdict = check_merged(run->in, run->plan, run->merged);
        const bool repeated = options.strict && !run->verdict.repeated.empty();
        if (run->verdict.faults.empty() && !repeated) {
            return status_done;
        }
        force_conflict(&run->plan, run->verdict.fault_places, conflict_reason::unproved);
        if (repeated) {
            force_conflict(&run->plan, run->verdict.repeated_places, conflict_reason::repeated);
        }
    }
    return give_up(*run);
}

bool is_clean(const merge_plan &plan) {
    return std::none_of(plan.regions.begin(), plan.regions.end(), is_conflict);
}

}  // namespace norvik

// The library decides block by block and hands over the text likewise; each piece lands in the
// place of the plan that holds it. Then every region is compared with all texts that may rightly
// come out of it, and what is none of them becomes a conflict. A search among the places for each
// block, and a few passes over the texts.
#include "library_merge.h"

#include <algorithm>
#include <iostream>

#include "merge_ask.h"
#include "out_of_memory.h"
#include "output.h"

namespace norvik {

namespace {

constexpr std::uint64_t allowed_answers = msg_answer_abort | msg_answer_yes | msg_answer_no;

bool is_insertion(const diff_block &b) {
    return b.kind == tdm_diff_insert || b.kind == tdm_diff_moved_insert;
}

struct region_record {
    bool asked = false;
    bool joined = false;                 // text followed a line without newline
    std::vector<std::int32_t> accepted;  // contributors whose blocks were accepted, in order
};

struct library_run {
    const command_context &context;
    const merge_options &options;
    text_merge &run;
    std::vector<std::string> texts;  // of the places, as the library has them
    std::vector<region_record> regions;
    bool cannot_ask = false;
};

// The library's procedures take no argument of the caller's, so the one merge that runs stands
// here while it does.
library_run *current = nullptr;

// The place that holds the block, or -1: then no contributor changed anything there.
std::int32_t place_of(const merge_plan &plan, const diff_block &b) {
    const std::int32_t first = is_insertion(b) ? b.base_first : b.base_first - 1;
    const std::int32_t end = b.base_last;
    for (auto place = std::lower_bound(
             plan.places.begin(), plan.places.end(), first,
             [](const merge_place &p, std::int32_t line) { return p.base_end < line; });
         place != plan.places.end() && place->base_first <= end; ++place) {
        const bool inside = place->base_first <= first && place->base_end >= end;
        const bool overlap = place->base_first < end && place->base_end > first;
        if (is_insertion(b) ? inside : overlap) {
            return static_cast<std::int32_t>(place - plan.places.begin());
        }
    }
    return -1;
}

int write_block(merge_report *, tdm_session *, const diff_block *b, int base_text, int) {
    const std::int32_t place = place_of(current->run.plan, *b);
    if (place < 0) {
        return 0;
    }
    const std::vector<lined_text> &files = current->run.files;
    std::string &text = current->texts[static_cast<std::size_t>(place)];
    const auto region =
        static_cast<std::size_t>(current->run.plan.places[static_cast<std::size_t>(place)].region);
    current->regions[region].joined |= lacks_last_newline(text);
    text += base_text != 0 ? files[0].lines.range(b->base_first - 1, b->base_last)
                           : files[b->file_index].lines.range(b->other_first - 1, b->other_last);
    return 0;
}

tdm_difference_kind question_kind(const diff_block &b) {
    return is_insertion(b)             ? tdm_diff_insert
           : b.kind == tdm_diff_change ? tdm_diff_change
                                       : tdm_diff_delete;
}

std::uint64_t ask_about(tdm_session *, const diff_block *b, std::uint64_t default_answer) {
    if (!can_ask(current->context)) {
        current->cannot_ask = true;
        return msg_answer_abort;
    }
    const std::int32_t place = place_of(current->run.plan, *b);
    const auto region =
        static_cast<std::size_t>(current->run.plan.places[static_cast<std::size_t>(place)].region);
    region_record &record = current->regions[region];
    if (!record.asked) {
        show_region(current->context, current->options, current->run,
                    current->run.plan.regions[region]);
    }
    record.asked = true;
    const int file = static_cast<int>(b->file_index);
    const std::string question = question_text(question_kind(*b), file + 1);
    const std::uint64_t answer =
        msg_prompt_yes_no(0, question.c_str(), allowed_answers, default_answer);
    if (answer == msg_answer_yes && std::find(record.accepted.begin(), record.accepted.end(),
                                              file - 1) == record.accepted.end()) {
        record.accepted.push_back(file - 1);
    }
    return answer;
}

// False when a decision failed or the user abandoned the merge, which the library has said.
bool queue_all(const library_run &state, int mq) {
    tdm_session *session = state.run.compared.session.get();
    merge_report *report = tdm_merge_init_report(session, "", mq, ask_about, write_block, 0);
    if (report == nullptr) {
        return false;
    }
    for (const diff_block &b : state.run.compared.blocks) {
        if (tdm_merge_queue_diff(report, &b) != 0) {
            (void)tdm_merge_term(report, 1);
            return false;
        }
    }
    return tdm_merge_term(report, 0) == 0;
}

std::vector<std::string> texts_of(const library_run &state, const merge_region &region) {
    std::vector<std::string> texts;
    for (const std::int32_t place : region.places) {
        texts.push_back(state.texts[static_cast<std::size_t>(place)]);
    }
    return texts;
}

// Whether the texts are those that the user can have meant by the answers: the base's, one
// contributor's, or the accepted ones' after each other.
bool is_whole(const library_run &state, const merge_region &region, const region_record &record,
              const std::vector<std::string> &texts) {
    if (record.joined) {
        return false;
    }
    if (texts == joined_versions(state.run, region, {}) ||
        texts == joined_versions(state.run, region, record.accepted)) {
        return true;
    }
    return std::any_of(region.contributors.begin(), region.contributors.end(), [&](std::int32_t k) {
        return texts == joined_versions(state.run, region, {k});
    });
}

// Compares what the library made of a region with what may come out of it.
void judge(const library_run &state, std::size_t index) {
    merge_region &region = state.run.plan.regions[index];
    const region_record &record = state.regions[index];
    const std::vector<std::string> texts = texts_of(state, region);
    const bool clean = !is_conflict(region);
    // What the library has written is the taken side as it stands: nothing is carried into it.
    if (clean && texts == joined_versions(state.run, region, {region.taken}) && !record.joined) {
        region.carried.clear();
        return;
    }
    if (record.asked && is_whole(state, region, record, texts)) {
        region.answer = texts;
        return;
    }
    region.carried.clear();
    region.conflict = conflict_reason::unproved;
}

}  // namespace

exit_status merge_by_library(const command_context &context, const merge_options &options, int mq,
                             text_merge *run) {
    run->plan = plan_merge(run->in, options.apply_adjacent);
    if (run->compared.identical) {
        return status_done;
    }
    library_run state{context, options, *run, {}, {}};
    state.texts.resize(run->plan.places.size());
    state.regions.resize(run->plan.regions.size());
    current = &state;
    const bool decided = queue_all(state, mq);
    current = nullptr;
    if (!decided) {
        // Without memory the library ends a merge as if it had been abandoned.
        return state.cannot_ask || is_out_of_memory() ? status_trouble : status_negative;
    }
    for (std::size_t i = 0; i < run->plan.regions.size(); i++) {
        judge(state, i);
    }
    return status_done;
}

}  // namespace norvik

// Who changed what in, decision out: the regions of a merge, as pure functions.
//
// 1. Edits of all contributors that overlap or touch in the base form one place.
// 2. A moved run ties the place that it left to the place where it went. Places that are tied,
//    directly or through others, form one region; most regions have one place.
// 3. A region is clean when one contributor changed it or all that changed it have the same text
//    in every place of it. An edit that lies within text that another contributor moved does not
//    count as a change of the region: it is carried along to the new place. Everything else is a
//    conflict, in all places of the region in which the contributors differ.
//
// Nothing depends on the order of the contributors, but for the order of the sides of a conflict.
// The docs tell it for people: docs/merge.md.
#ifndef NORVIK_MERGE_REGIONS_H
#define NORVIK_MERGE_REGIONS_H

#include <string>
#include <string_view>
#include <vector>

#include "merge_input.h"

namespace norvik {

// Base lines base_first .. base_end - 1, and the edits of them. Places are in base order and do
// not overlap.
struct merge_place {
    std::int32_t base_first = 0;
    std::int32_t base_end = 0;
    std::int32_t region = 0;
    bool ambiguous = false;         // see merge_ambiguity.h
    std::vector<place_edit> edits;  // by contributor, then by base line
};

// An edit that lies within the run that the region's taken contributor moved.
struct carried_edit {
    place_edit source;
    line_run run;
};

enum class conflict_reason {
    none,
    differ,     // the contributors changed the same lines differently
    moved,      // the same, and one of them at least moved lines here
    ambiguous,  // lines that repeat: which of them was changed, and how often, cannot be told
    repeated,   // they inserted the same lines in different places (only where asked for)
    unproved,   // the check of the merged text would not have it clean
};

struct merge_region {
    std::vector<std::int32_t> places;        // rising
    std::vector<std::int32_t> contributors;  // rising: those with an edit in it
    conflict_reason conflict = conflict_reason::none;
    std::int32_t taken = 0;             // the contributor whose text is taken, without conflict
    std::vector<carried_edit> carried;  // in order of carried_to; without conflict only
    // What somebody decided instead, one text for each of the places; it overrules all above.
    std::vector<std::string> answer;
};

// What is known of one contributor's edit.
struct edit_fact {
    std::int32_t place = 0;
    bool moves = false;  // some of its lines, removed or inserted, are in a moved run
};

struct merge_plan {
    std::vector<merge_place> places;
    std::vector<merge_region> regions;          // in order of their first place
    std::vector<std::vector<edit_fact>> facts;  // by contributor, then by edit
};

// Divides and decides. With `apply_adjacent`, edits that only touch stay apart, except at the end
// of the base, where a missing newline could join their lines.
merge_plan plan_merge(const merge_input &in, bool apply_adjacent);

inline bool is_conflict(const merge_region &region) {
    return region.conflict != conflict_reason::none && region.answer.empty();
}

// Makes the regions of `places` one region in conflict, for `reason`. The regions that were joined
// to the first stay in the list without places.
void force_conflict(merge_plan *plan, const std::vector<std::int32_t> &places,
                    conflict_reason reason);

// The line of the taken contributor's file at which the carried edit stands.
std::int32_t carried_to(const merge_input &in, const carried_edit &c);

// A contributor's lines for a place: the file's lines first .. end - 1, or the base's where the
// contributor changed nothing in the place.
struct place_version {
    const text_lines *text = nullptr;
    std::int32_t first = 0;
    std::int32_t end = 0;
    bool of_base = false;
    std::string_view bytes() const { return text->range(first, end); }
};
place_version version_at(const merge_input &in, const merge_place &place, std::int32_t contributor);

// What the plan knows of the edit.
inline const edit_fact &fact_of(const merge_plan &plan, const place_edit &e) {
    return plan.facts[static_cast<std::size_t>(e.contributor)][static_cast<std::size_t>(e.edit)];
}

}  // namespace norvik

#endif

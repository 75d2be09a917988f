// Merges of texts in memory.
//
// The texts are held in memory with the merge; what is handed out are views into them and into the
// merged text.
#include "merge.h"

#include <algorithm>
#include <string>

#include "texts.h"

namespace norvik::face {
namespace {

constexpr std::uint32_t all_flags = norvik_ignore_blanks | norvik_apply_adjacent | norvik_strict;
constexpr std::uint32_t longest_marker = 1000;

std::uint32_t conflict_of(conflict_reason reason) {
    switch (reason) {
        case conflict_reason::none:
            return norvik_conflict_none;
        case conflict_reason::differ:
            return norvik_conflict_differ;
        case conflict_reason::moved:
            return norvik_conflict_moved;
        case conflict_reason::ambiguous:
            return norvik_conflict_ambiguous;
        case conflict_reason::repeated:
            return norvik_conflict_repeated;
        case conflict_reason::unproved:
            break;
    }
    return norvik_conflict_unproved;
}

norvik_error *take_options(const norvik_merge_options &given, merge_options *out) {
    constexpr marker_style styles[] = {marker_style::diff3, marker_style::merge,
                                       marker_style::zdiff3};
    if ((given.flags & ~all_flags) != 0 || given.style >= std::size(styles) ||
        given.marker_size > longest_marker) {
        return refuse("an option of the merge is out of range");
    }
    out->ignore_blanks = (given.flags & norvik_ignore_blanks) != 0;
    out->apply_adjacent = (given.flags & norvik_apply_adjacent) != 0;
    out->strict = (given.flags & norvik_strict) != 0;
    out->markers.style = styles[given.style];
    if (given.marker_size != 0) {
        out->markers.size = static_cast<std::int32_t>(given.marker_size);
    }
    return nullptr;
}

norvik_error *merge(const norvik_text *texts, std::size_t count, const norvik_merge_options *given,
                    norvik_merge **out) {
    if (texts == nullptr || count < 2 || count > most_files) {
        return refuse("a merge takes a base and 1 to " + std::to_string(most_files - 1) + " texts");
    }
    norvik_merge_options chosen{};
    if (norvik_error *error = take(given, &chosen); error != nullptr) {
        return error;
    }
    auto result = std::make_unique<norvik_merge>();
    if (norvik_error *error = take_options(chosen, &result->options); error != nullptr) {
        return error;
    }
    std::vector<named_text> named;
    for (std::size_t i = 0; i < count; i++) {
        const bool has_name = chosen.names != nullptr && chosen.names[i] != nullptr;
        named.push_back({has_name ? chosen.names[i] : i == 0 ? "base" : std::to_string(i), {}});
        if (norvik_error *error = refuse_no_text(texts[i], named.back().name); error != nullptr) {
            return error;
        }
        named.back().bytes = view_of(texts[i]);
    }
    if (const auto done = merge_texts(named, &result->options, &result->run); !done) {
        return make_error(done.failure());
    }
    describe(result.get());
    *out = result.release();
    return nullptr;
}

norvik_place place_of(const merge_place &place, const placed_text &placed) {
    return {lines_of(place.base_first, place.base_end),
            lines_of(placed.first_line, placed.end_line), placed.conflict ? 1 : 0};
}

// The place of the plan, null when there is none.
const merge_place *find_place(const norvik_merge *merge, std::size_t region, std::size_t index) {
    if (norvik_place_at(merge, region, index) == nullptr) {
        return nullptr;
    }
    return &merge->run.plan.places[static_cast<std::size_t>(merge->plan_places[region][index])];
}

}  // namespace

void describe(norvik_merge *merge) {
    close_files(&merge->run.files);
    const merge_plan &plan = merge->run.plan;
    for (const merge_region &region : plan.regions) {
        if (region.places.empty()) {  // joined to another one
            continue;
        }
        const bool conflict = is_conflict(region);
        merge->regions.push_back({conflict_of(region.conflict),
                                  conflict ? 0 : static_cast<std::uint32_t>(region.taken) + 1,
                                  region.places.size()});
        merge->plan_places.push_back(region.places);
        std::vector<norvik_place> &places = merge->places.emplace_back();
        for (const std::int32_t place : region.places) {
            const auto i = static_cast<std::size_t>(place);
            places.push_back(place_of(plan.places[i], merge->run.merged.places[i]));
        }
    }
}

}  // namespace norvik::face

using namespace norvik;

norvik_error *norvik_merge_texts(const norvik_text *texts, std::size_t count,
                                 const norvik_merge_options *options, norvik_merge **out) {
    return face::giving(out, [&] { return face::merge(texts, count, options, out); });
}

norvik_text norvik_merged_text(const norvik_merge *merge) {
    return merge == nullptr ? norvik_text{} : face::as_text(merge->run.merged.text);
}

std::size_t norvik_conflict_count(const norvik_merge *merge) {
    const auto in_conflict = [](const norvik_region &region) { return region.conflict != 0; };
    return merge == nullptr ? 0
                            : static_cast<std::size_t>(std::count_if(
                                  merge->regions.begin(), merge->regions.end(), in_conflict));
}

std::size_t norvik_region_count(const norvik_merge *merge) {
    return merge == nullptr ? 0 : merge->regions.size();
}

const norvik_region *norvik_region_at(const norvik_merge *merge, std::size_t index) {
    return merge == nullptr ? nullptr : face::at(merge->regions, index);
}

const norvik_place *norvik_place_at(const norvik_merge *merge, std::size_t region,
                                    std::size_t index) {
    return merge == nullptr || region >= merge->places.size()
               ? nullptr
               : face::at(merge->places[region], index);
}

norvik_text norvik_place_text(const norvik_merge *merge, std::size_t region, std::size_t index,
                              std::size_t text, norvik_lines *lines) {
    const merge_place *place = face::find_place(merge, region, index);
    if (place == nullptr || text > merge->run.in.files.size()) {
        return {};
    }
    const place_version version =
        text == 0 ? place_version{merge->run.in.base, place->base_first, place->base_end, true}
                  : version_at(merge->run.in, *place, static_cast<std::int32_t>(text) - 1);
    if (lines != nullptr) {
        *lines = face::lines_of(version.first, version.end);
    }
    return face::as_text(version.bytes());
}

int norvik_place_changed_by(const norvik_merge *merge, std::size_t region, std::size_t index,
                            std::size_t contributor) {
    const merge_place *place = face::find_place(merge, region, index);
    const auto by_it = [&](const place_edit &edit) {
        return static_cast<std::size_t>(edit.contributor) + 1 == contributor;
    };
    return place != nullptr && std::any_of(place->edits.begin(), place->edits.end(), by_it) ? 1 : 0;
}

void norvik_merge_free(norvik_merge *merge) {
    delete merge;
}

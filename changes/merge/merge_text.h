// Writes the merged text of a plan: the base, the taken changes and the conflicts between markers.
#ifndef NORVIK_MERGE_TEXT_H
#define NORVIK_MERGE_TEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "merge_regions.h"

namespace norvik {

// What stands between the markers: the contributors' lines alone, the base's too, or the base's
// too but without the lines at either end that all contributors have.
enum class marker_style { merge, diff3, zdiff3 };

struct marker_options {
    marker_style style = marker_style::diff3;
    std::int32_t size = 7;  // characters of a marker
    std::string base_label;
    std::vector<std::string> labels;  // of the contributors
    // Spells a label with control bytes on one line; null: each of them becomes a '?'.
    std::string (*on_one_line)(std::string_view label) = nullptr;
};

// Where a place's text stands in the merged text.
struct placed_text {
    std::size_t from = 0;  // bytes
    std::size_t end = 0;
    std::int32_t first_line = 0;  // from 0
    std::int32_t end_line = 0;
    std::int32_t lead_lines = 0;  // before the first marker: lines that all sides begin with
    bool conflict = false;        // between markers
    bool answered = false;        // somebody decided it
};

struct merged_text {
    std::string text;
    std::vector<placed_text> places;  // as in the plan
    std::int32_t conflicts = 0;       // places between markers
    // Set when text would follow a last line without newline, which would join two lines: the
    // place that ends without. The merged text is then not finished.
    std::int32_t unended_place = -1;
};

// The merged text of the plan, conflicts between markers with the labels of `options`, of which
// there is one for every contributor.
merged_text write_merged(const merge_input &in, const merge_plan &plan,
                         const marker_options &options);

// The contributors that a conflict shows at a place, each distinct text once: sides[i] lists those
// that have it. Fewer than two sides: nothing to choose there.
std::vector<std::vector<std::int32_t>> conflict_sides(const merge_input &in,
                                                      const merge_region &region,
                                                      const merge_place &place);

// One place between markers, `sides` being of conflict_sides. `lead_lines` may be null.
std::string conflict_text(const merge_input &in, const merge_place &place,
                          const std::vector<std::vector<std::int32_t>> &sides,
                          const marker_options &options, std::int32_t *lead_lines = nullptr);

// The text of a place of a clean region, the edits that are carried there applied.
std::string clean_text(const merge_input &in, const merge_region &region, const merge_place &place);

}  // namespace norvik

#endif

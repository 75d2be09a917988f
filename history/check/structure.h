// Two plain passes over a container's weave: is it whole, and what does one version say.
//
// Both find line ends by memory search and look closer only at lines that begin with `^`, so they
// run at nearly the speed of reading the file.
#ifndef NORVIK_STRUCTURE_H
#define NORVIK_STRUCTURE_H

#include <functional>
#include <optional>
#include <span>
#include <string_view>

#include "container_view.h"

namespace norvik {

// Is the container whole: the first fault that check_container finds without digests is returned.
// What is sound at first sight (weave_soundness.h) costs one pass, O(bytes); all else is looked at
// as closely.
[[nodiscard]] std::optional<damage> scan_structure(const container_view &view);

using format::in_lineage;

// Receives the text of a version in order; returns false to end the walk.
using text_sink = std::function<bool(std::string_view piece)>;

// The text of the version with that lineage, by one counter of lines to pass over, as the library
// reconstructs it. Pieces are as long as the container allows (whole stretches of lines) and point
// into it. Returns the damage at the first record that cannot be read; what has been handed over by
// then stands. One pass, O(bytes + records x log of the lineage's length).
[[nodiscard]] std::optional<damage> walk_version(const container_view &view,
                                                 std::span<const version_id> lineage,
                                                 const text_sink &sink);

}  // namespace norvik

#endif

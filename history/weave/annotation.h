// Which version brought each line of a version, and which one deleted the lines that it has lost.
#ifndef NORVIK_ANNOTATION_H
#define NORVIK_ANNOTATION_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "annotation_tag.h"
#include "container_view.h"
#include "record_line.h"

namespace norvik {

// Which lines of the container an annotation holds.
enum class annotated_lines {
    own,      // those that the version has
    lineage,  // also those that its line of versions has lost
    all,      // also those of other branches and of later versions
};

// Lines that follow each other and are all the same to the version. `bytes` points into the
// container; unless `marked` they are text as they stand, each with its newline.
struct annotated_stretch {
    format::annotation_tag tag = format::tag_own;
    bool marked = false;      // one line, behind a mark of its own
    version_id run;           // the version that inserted the lines
    version_id deleter;       // the version that deleted them, for format::tag_deleted
    std::string_view bytes;   // the container's lines as they stand
    std::uint64_t lines = 0;  // that they are, 1 at least
    // Of the first in the version's text, from 1; for format::tag_own, else 0.
    std::uint64_t number = 0;
};

// The lines of a version in their order, deleted versions named as they were: one pass,
// O(bytes + records x log of the lineage's length). A failure tells a branch that cannot be
// followed, or the first record or line that fits nowhere; sound containers have none.
[[nodiscard]] result<std::vector<annotated_stretch>> annotate_version(const container_view &view,
                                                                      version_id version,
                                                                      annotated_lines which);

// Calls `take` with the text of each line of a stretch. A line that the container stores without
// its newline gets one with `keep_newline`.
template <typename Take>
void for_each_line(const annotated_stretch &stretch, bool keep_newline, const Take &take) {
    if (stretch.marked) {
        take(text_of(stretch.bytes, keep_newline));
        return;
    }
    for (std::string_view rest = stretch.bytes; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n') + 1);
        take(line.empty() ? rest : line);
        rest.remove_prefix(line.empty() ? rest.size() : line.size());
    }
}

}  // namespace norvik

#endif

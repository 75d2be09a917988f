// An annotation by lines where long ones are stored as rows of pieces (line_pieces.h).
#ifndef NORVIK_JOINED_LINES_H
#define NORVIK_JOINED_LINES_H

#include <deque>
#include <string>
#include <vector>

#include "annotation.h"

namespace norvik {

// As annotate_version, but each long line that the version has is one stretch of one line: it is of
// the newest version that inserted a piece of it or deleted one from it, and pieces that it has
// lost are not told. The long lines are kept in `texts`, into which the stretches point. Containers
// without such lines cost nothing more, those with them a second pass.
[[nodiscard]] result<std::vector<annotated_stretch>> annotate_lines(const container_view &view,
                                                                    version_id version,
                                                                    annotated_lines which,
                                                                    std::deque<std::string> *texts);

}  // namespace norvik

#endif

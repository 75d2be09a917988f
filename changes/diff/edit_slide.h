// Where an edit stands when it could stand at several places: whole insertions and deletions slide
// over equal lines; a change has one place.
#ifndef NORVIK_EDIT_SLIDE_H
#define NORVIK_EDIT_SLIDE_H

#include <vector>

#include "edit.h"
#include "text_lines.h"

namespace norvik {

// Moves a whole insertion or deletion by one line, down or up, where both texts stay what they
// are; false when it cannot move there. The line that it passes must be the same in both texts.
bool slide_down_one(const text_lines &base, const text_lines &file, edit *e);
bool slide_up_one(const text_lines &base, const text_lines &file, edit *e);

// Brings the edits of one file to the form that does not depend on how the lines were matched: an
// insertion or deletion that can come to stand at another edit is joined to it (a row that was
// changed among equal rows stays one change), any other stands at the last of its places. Edits
// are in order and do not touch, before and after. Cost: the edits and the lines passed.
void settle_edits(const text_lines &base, const text_lines &file, std::vector<edit> *edits);

}  // namespace norvik

#endif

// Is the weave one that check-ins, branches and deletions leave: at nearly the speed of reading it.
#ifndef NORVIK_WEAVE_SOUNDNESS_H
#define NORVIK_WEAVE_SOUNDNESS_H

#include "container_view.h"

namespace norvik {

// True when check_container finds no fault, but for a version that the first branch claims to be
// made off, which no text needs. False when there may be one: a weave that is too intricate for
// this pass gets false, sound or not. One pass, O(bytes + records x deletions open at once, of
// which it bears few).
[[nodiscard]] bool is_plainly_sound(const container_view &view);

}  // namespace norvik

#endif

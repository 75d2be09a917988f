// Makes the pairs of lines that the difference stream found as many as there can be.
//
// The stream pairs lines that are unique in both texts, and their neighbours; where lines repeat,
// a pair may stand in the way of several others. Long runs of lines that differ among each other
// are beyond doubt and stay. What lies between two such runs is a window. Where the same line has
// no partner on either side, and no stretch of many distinct lines stands between the two, the runs
// near it are dropped and their lines are matched once more (gap_match.h); elsewhere, and where
// that is too large, the runs stay, and what lies between them is matched. An equal line at the
// edge of a run that is right belongs to it in some longest pairing, so a window begins and ends at
// the edges of such runs.
#ifndef NORVIK_WINDOW_MATCH_H
#define NORVIK_WINDOW_MATCH_H

#include <vector>

#include "edit.h"
#include "text_lines.h"

namespace norvik {

// `runs` rise in both texts, before and after; what was dropped is added to `dropped`. Cost: the
// runs, the lines without partner, and the windows that are matched again.
void match_windows(const text_lines &base, const text_lines &file, line_equality equality,
                   std::vector<line_run> *runs, std::vector<line_run> *dropped);

}  // namespace norvik

#endif

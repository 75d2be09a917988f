// A text that is compared or merged: a file that is open, and its lines.
#ifndef NORVIK_LINED_TEXT_H
#define NORVIK_LINED_TEXT_H

#include "text_file.h"
#include "text_lines.h"

namespace norvik {

struct lined_text : text_file {
    text_lines lines;  // views of its bytes, after read_lines
};

// Maps the text and finds its lines; a second call does nothing.
result<> read_lines(lined_text *text);

}  // namespace norvik

#endif

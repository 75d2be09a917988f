// Lets the user change a text in an editor.
#ifndef NORVIK_EDIT_TEXT_H
#define NORVIK_EDIT_TEXT_H

#include <string>

#include "exit_status.h"

namespace norvik {

// Puts `text` into a private file, runs $VISUAL, $EDITOR or vi on it and reads it back; 0, or
// status_trouble after a message with the text as it was.
[[nodiscard]] exit_status edit_text(std::string *text);

}  // namespace norvik

#endif

// Lets the user change a text in an editor.
#ifndef TDM_HOST_EDIT_TEXT_H
#define TDM_HOST_EDIT_TEXT_H

#include <string>

namespace host {

// Puts `text` into a private file, runs $VISUAL, $EDITOR or vi on it and reads it back; 0, or
// status_trouble after a message with the text as it was.
[[nodiscard]] int edit_text(std::string *text);

}  // namespace host

#endif

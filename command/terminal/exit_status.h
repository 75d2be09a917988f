// What a command's exit status says, the same for every command.
#ifndef NORVIK_EXIT_STATUS_H
#define NORVIK_EXIT_STATUS_H

namespace norvik {

enum exit_status : int {
    status_done = 0,      // done; equal, clean, sound
    status_negative = 1,  // a negative answer: differences, conflicts, damage, nothing to store
    status_trouble = 2,   // wrong usage or trouble; a message has been printed
};

}  // namespace norvik

#endif

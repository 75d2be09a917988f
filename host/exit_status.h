// What a command's exit status says, the same for every command.
#ifndef TDM_HOST_EXIT_STATUS_H
#define TDM_HOST_EXIT_STATUS_H

namespace host {

enum exit_status : int {
    status_done = 0,      // done; equal, clean, sound
    status_negative = 1,  // a negative answer: differences, conflicts, damage, nothing to store
    status_trouble = 2,   // wrong usage or trouble; a message has been printed
};

}  // namespace host

#endif

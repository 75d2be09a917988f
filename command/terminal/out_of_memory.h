// What the command still says and does when there is no memory left: nothing of it needs any.
//
// As a rule std::bad_alloc unwinds to the frame, and the owners on its way leave nothing behind.
// Where no exception can be made or none may pass (before main, out of a destructor), the command
// ends where it stands, as it does by a signal: its temporary files go.
#ifndef NORVIK_OUT_OF_MEMORY_H
#define NORVIK_OUT_OF_MEMORY_H

#include "exit_status.h"

namespace norvik {

// Says that an allocation has failed; one whose caller can do without is forgotten again when the
// run ends well.
void note_out_of_memory() noexcept;

// Says that the command has put a file in place: what fails from now on does not undo that.
void note_replaced() noexcept;

// Forgets both, before another run.
void forget_notes() noexcept;

[[nodiscard]] bool is_out_of_memory() noexcept;

// Whether a file has been put in place.
[[nodiscard]] bool is_replaced() noexcept;

// Prints "tdm: out of memory" and the words after it, as one line.
void say_without_memory(const char *words) noexcept;

// Ends a run for which there was no memory: does what watch_memory was given for that, otherwise
// prints "tdm: out of memory", and whether a file has been replaced all the same. The exit status.
[[nodiscard]] exit_status end_without_memory() noexcept;

// Notes failed allocations of C++ from now on, and ends the command in order where it would abort
// for want of memory. `otherwise` (may be null) does what is left to do then, unless a file has
// been replaced already, and gives the exit status.
void watch_memory(exit_status (*otherwise)()) noexcept;

}  // namespace norvik

#endif

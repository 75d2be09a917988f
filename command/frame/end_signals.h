// What the command still does when a signal ends it: its temporary files go.
#ifndef NORVIK_END_SIGNALS_H
#define NORVIK_END_SIGNALS_H

namespace norvik {

// From now on SIGINT, SIGTERM and SIGHUP remove the files that are to go
// (end_removal.h) before they end the command as they
// always do; those that are ignored stay so. A mapped file that another program cuts short (SIGBUS)
// ends the command with a message and status_trouble.
void watch_end_signals();

}  // namespace norvik

#endif

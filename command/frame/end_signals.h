// What the command still does when a signal ends it: its temporary files go.
#ifndef NORVIK_END_SIGNALS_H
#define NORVIK_END_SIGNALS_H

namespace norvik {

// From now on SIGINT, SIGTERM and SIGHUP remove the files below before they end the command as they
// always do; those that are ignored stay so. A mapped file that another program cuts short (SIGBUS)
// ends the command with a message and status_trouble.
void watch_end_signals();

// Names a file to be removed when a signal comes. The path is not copied: it must stay where it is
// until it is taken back. A few at a time find room; what finds none is left to the next writer.
void remove_at_end_signal(const char *path);
void keep_at_end_signal(const char *path);

// Removes those files at once, for any other sudden end.
void remove_files_now();

}  // namespace norvik

#endif

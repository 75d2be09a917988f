// The files that go with a process that ends suddenly, by a signal or without memory.
#ifndef NORVIK_END_REMOVAL_H
#define NORVIK_END_REMOVAL_H

namespace norvik {

// Names a file to be removed at such an end. The path is not copied: it must stay where it is until
// it is taken back. A few at a time find room; what finds none is left to the next writer.
void remove_at_end(const char *path);
// Takes the path back, by its address; nothing when it found no room.
void keep_at_end(const char *path);

// Removes those files now, and the private files (private_file.h). A signal handler may call it.
void remove_files_now();

}  // namespace norvik

#endif

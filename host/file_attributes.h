// Carries a file's owner, group, mode, access control list and other extended attributes over to
// the file that will take its place.
#ifndef TDM_HOST_FILE_ATTRIBUTES_H
#define TDM_HOST_FILE_ATTRIBUTES_H

#include <sys/stat.h>

#include <string>

namespace host {

// Sets what `source` (described by `status`) has on `target`, by descriptor only. `name` is used in
// messages. What cannot be kept stops it with status_trouble, after a message, unless `force`; then
// it is told and, where the group was lost, the group gets no more rights than everybody has.
[[nodiscard]] int copy_attributes(int source, const struct stat &status, int target,
                                  const std::string &name, bool force);

// Gives a file that did not exist before the mode that the umask leaves; 0 or status_trouble.
[[nodiscard]] int set_new_file_mode(int target, const std::string &name);

}  // namespace host

#endif

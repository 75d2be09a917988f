// The files that an import is given, with their times.
#ifndef NORVIK_IMPORT_LIST_H
#define NORVIK_IMPORT_LIST_H

#include <string>
#include <vector>

#include "exit_status.h"
#include "version_import.h"

namespace norvik {

// Appends the items of a list file ("-": standard input): a name, a blank and a time a line. 0, or
// status_trouble after a message that names the line.
[[nodiscard]] exit_status read_import_list(const std::string &name,
                                           std::vector<import_item> &items);

}  // namespace norvik

#endif

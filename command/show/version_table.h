// Versions as a plain table for people.
#ifndef NORVIK_VERSION_TABLE_H
#define NORVIK_VERSION_TABLE_H

#include <vector>

#include "container_view.h"

namespace norvik {

// Records of one container, which must outlive the list.
using version_list = std::vector<const version_record *>;

// Prints one line a version, under a heading, in the order of the list: its name, date and
// identifier; with the first of each branch the version that the branch was made off.
void print_version_table(const container_view &view, const version_list &versions);

}  // namespace norvik

#endif

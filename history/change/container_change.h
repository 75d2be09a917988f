// A container being changed: locked, seen to be sound, and replaced only when the new one is proven
// to be the old one with nothing but what was asked for.
#ifndef NORVIK_CONTAINER_CHANGE_H
#define NORVIK_CONTAINER_CHANGE_H

#include <string>

#include "container_view.h"
#include "file_replace.h"

namespace norvik {

// The old container, locked and open, and the replacement of it.
struct container_change {
    explicit container_change(const replace_options &options) : replacement(options) {}

    // Locks the container `name` and opens it; what is damaged is refused.
    result<> open(const std::string &name);

    // Says what a text that is stored was read from: a container without any text can then be read
    // by no more than its first one.
    void stores(const granted_rights &rights);

    file_replacement replacement;
    container_view old;
};

}  // namespace norvik

#endif

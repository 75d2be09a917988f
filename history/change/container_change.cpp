#include "container_change.h"

#include "structure.h"

namespace norvik {

result<> container_change::open(const std::string &name) {
    if (auto locked = replacement.lock(name); !locked) {
        return locked;
    }
    auto opened = open_container(replacement.file().descriptor.get(), name);
    if (!opened) {
        return opened.failure();
    }
    old = std::move(*opened);
    if (const std::optional<damage> found = scan_structure(old)) {
        failure why = damaged(old, *found);
        why.follows = "is damaged; nothing is built on it";
        return why;
    }
    return {};
}

void container_change::stores(const granted_rights &rights) {
    replacement.made_from(rights);
    if (old.bytes.view().size() == old.weave_offset) {
        replacement.narrow_to("its first text");
    }
}

}  // namespace norvik

#include <algorithm>

#include "structure.h"
#include "targets.h"

namespace fuzz {

// Both readers give the same text of every version, and of what the scan passes neither refuses.
void reader(std::string_view bytes) {
    const held_container input(bytes);
    if (!input.opened) {
        return;
    }
    const norvik::container_view &view = input.view;
    const norvik::container_check check = norvik::check_container(view, false, {});
    const bool sound = check.faults.empty();
    require(!sound || (!bytes.empty() && !norvik::scan_structure(view)), "sound, but not scanned");
    for (const norvik::version_record &version : view.versions) {
        if (norvik::find_version_by_oid(view, version.oid) != &version ||
            norvik::find_version(view, version.id) != &version) {
            continue;
        }
        const auto ours = walked_text(view, version.id);
        const auto theirs = library_text(input, version.oid);
        // A damaged header they may take apart differently, and the command refuses it.
        require(!view.header_damages.empty() || !ours || !theirs || *ours == *theirs,
                "the readers differ");
        require(!sound || (ours && theirs), "sound, but a reader refuses");
        if (sound) {
            const auto &total = check.scan.totals[position_of(check.scan.tree, version.id)];
            require(total.lines == split(*ours).size() && total.bytes == ours->size(),
                    "the scan of all versions counts otherwise");
        }
    }
}

}  // namespace fuzz

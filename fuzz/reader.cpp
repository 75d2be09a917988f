// Both readers give the same text of every version, and of what the scan passes neither refuses.
#include "structure.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const fuzz::held_container input(fuzz::bytes_of(data, size));
    if (!input.opened) {
        return 0;
    }
    const host::container_view &view = input.view;
    const bool passes = !view.bytes.view().empty() && !host::scan_structure(view);
    const host::container_check check = host::check_container(view, false, {});
    fuzz::require(passes || !check.faults.empty(), "sound, but refused by the scan");
    for (const host::version_record &version : view.versions) {
        if (host::find_version_by_oid(view, version.oid) != &version ||
            host::find_version(view, version.id) != &version) {
            continue;
        }
        const auto ours = fuzz::walked_text(view, version.id);
        const auto theirs = fuzz::library_text(input.file.path(), version.oid);
        // A damaged header they may take apart differently, and the command refuses it.
        fuzz::require(!view.header_damages.empty() || !ours || !theirs || *ours == *theirs,
                      "the readers differ");
        fuzz::require(!check.faults.empty() || (ours && theirs), "sound, but a reader refuses");
        if (check.faults.empty()) {
            const host::text_step &total =
                check.scan.totals[host::position_of(check.scan.tree, version.id)];
            fuzz::require(total.lines == fuzz::split(*ours).size() && total.bytes == ours->size(),
                          "the scan of all versions counts otherwise");
        }
    }
    return 0;
}

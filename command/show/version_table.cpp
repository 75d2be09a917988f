// Each branch's first line says where it came off. Two passes over the versions: one measures the
// names.
#include "version_table.h"

#include <algorithm>
#include <string>

#include "columns.h"
#include "escaped_text.h"
#include "output.h"
#include "row_scan.h"
#include "time_text.h"

namespace norvik {

void print_version_table(const container_view &view, const version_list &versions) {
    const auto shown_name = [&view](const version_record *version) {
        return escape_name(version_name(view, version->id));
    };
    std::size_t width = 7;
    for (const version_record *version : versions) {
        width = std::max(width, count_columns(shown_name(version)));
    }
    const std::set<version_id> long_lined = versions_with_rows(view);
    output_writer &out = standard_output();
    const int column = static_cast<int>(width);
    out.printf("%-*s  %-20s  %-32s  %s\n", column, "VERSION", "DATE", "IDENTIFIER", "OFF");
    std::uint64_t branch = UINT64_MAX;
    for (const version_record *version : versions) {
        std::string note;
        if (version->id.branch != branch) {
            branch = version->id.branch;
            const branch_record *record = find_branch(view, branch);
            note = record == nullptr || branch == 0 ? "" : version_name(view, record->parent);
        }
        if (version->deleted) {
            note += note.empty() ? "(deleted)" : " (deleted)";
        }
        if (long_lined.contains(version->id)) {
            note += note.empty() ? "(long lines)" : " (long lines)";
        }
        const std::string line = widened(shown_name(version), width) + "  " +
                                 time_text(version->time) + "  " + escape_name(version->oid);
        out.write(note.empty() ? line + "\n" : line + "  " + escape_name(note) + "\n");
    }
}

}  // namespace norvik

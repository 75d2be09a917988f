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
    const norvik::container_check check =
        norvik::check_container(view, norvik::fingerprints::none, {});
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

// Annotated text without its annotation is the plain text, and names versions that are there. Names
// are as many as a line's kind has, parted by commas, which they may hold themselves.
void annotate(std::string_view bytes) {
    const held_container input(bytes);
    if (!input.opened || !is_sound(input.view)) {
        return;
    }
    std::vector<std::string> known{std::string(32, '0')};
    for (const norvik::version_record &version : input.view.versions) {
        known.emplace_back(version.oid);
    }
    const auto stripped = [&](const std::string &annotated) {
        std::string text;
        for (const std::string &line : split(annotated)) {
            const size_t blank = line.find(' ', 2);
            require(blank != line.npos && std::string("IDU").find(line[0]) != line.npos &&
                        line[1] == ' ',
                    "an annotated line of no known form");
            const std::string names = line.substr(2, blank - 2);
            require(std::any_of(known.begin(), known.end(),
                                [&](const std::string &name) {
                                    return names == name ||
                                           (line[0] == 'D' && names.starts_with(name + ","));
                                }),
                    "an unknown version is named");
            text += line[0] == 'I' ? line.substr(blank + 1) : "";
        }
        return text;
    };
    for (auto &[id, text] : texts_of(input)) {
        const std::string ended = text + (text.empty() || text.back() == '\n' ? "" : "\n");
        for (const uint32_t flags : {1u, 3u, 5u, 7u}) {
            const auto annotated = library_text(input, find_version(input.view, id)->oid, flags);
            require(annotated && stripped(*annotated) == ended,
                    "the annotated text is another one");
        }
    }
}

}  // namespace fuzz

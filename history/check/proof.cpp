// Both weaves are compared in large blocks of memory; where they part, a new record must stand in
// the new one, is passed with its lines, and the comparison goes on behind it. O(bytes of both);
// besides the new header's records no memory.
#include "proof.h"

#include <vector>

#include "container_check.h"
#include "record_line.h"
#include "record_text.h"
#include "structure.h"
#include "text_ends.h"

namespace norvik {

namespace {

std::size_t line_length(std::string_view text) {
    const std::size_t newline = text.find('\n');
    return newline == std::string_view::npos ? text.size() : newline + 1;
}

// The length of the new records at the start of `text`, with the lines that they insert; 0 when
// something else stands there. Within a new run only newer runs and deletions stand, so that its
// end is where all lines counted by new insertions have been passed.
std::size_t added_length(std::string_view text, const added_records &added) {
    std::size_t length = 0;
    std::uint64_t lines = 0;
    do {
        const std::string_view line = text.substr(length, line_length(text.substr(length)));
        const char kind = format::kind_of(line);
        run_fields run;
        if (format::counts_lines(kind)) {
            if (decode_run(line, &run) == spelling::malformed || run.branch != added.branch ||
                run.version < added.first) {
                return 0;
            }
            lines += kind == format::kind_insert ? run.count : 0;
        } else if (line.empty() || lines == 0 || !holds_text(kind)) {
            return 0;
        } else {
            lines--;
        }
        length += line.size();
    } while (lines > 0);
    return length;
}

// Whether `fresh` without the new records and lines is `old`. No such record stands in the old
// weave, so the two part inside the next one at the latest: what is equal is compared in large
// blocks, and only the line where they part is looked at.
bool differs_by_additions_only(std::string_view old, std::string_view fresh,
                               const added_records &added) {
    for (;;) {
        const std::size_t common = common_beginning(old, fresh);
        if (common == old.size() && common == fresh.size()) {
            return true;
        }
        const std::size_t before =
            common == 0 ? std::string_view::npos : fresh.rfind('\n', common - 1);
        const std::size_t start = before == std::string_view::npos ? 0 : before + 1;
        const std::size_t length = added_length(fresh.substr(start), added);
        if (length == 0) {
            return false;
        }
        old.remove_prefix(start);
        fresh.remove_prefix(start + length);
    }
}

failure refused(const container_view &view, const char *reason) {
    return refusal(view.name, std::string("the new container is refused: ") + reason);
}

std::string_view take_line(std::string_view *rest) {
    const std::string_view line = rest->substr(0, rest->find('\n') + 1);
    rest->remove_prefix(line.size());
    return line;
}

// The record without its notes and its newline.
std::string_view fields_of(std::string_view line, const version_record &version) {
    const std::size_t behind = version.notes.empty() ? 1 : version.notes.size() + 2;
    return line.substr(0, line.size() - behind);
}

bool differs_in_notes_only(const container_view &old, const container_view &fresh,
                           const std::set<version_id> &touched) {
    if (old.versions.size() != fresh.versions.size() || old.weave_line != fresh.weave_line ||
        old.bytes.view().substr(old.weave_offset) !=
            fresh.bytes.view().substr(fresh.weave_offset)) {
        return false;
    }
    std::string_view old_header = old.bytes.view().substr(0, old.weave_offset);
    std::string_view new_header = fresh.bytes.view().substr(0, fresh.weave_offset);
    std::size_t next = 0;
    for (std::uint64_t line = 1; line < old.weave_line; line++) {
        const std::string_view before = take_line(&old_header);
        const std::string_view after = take_line(&new_header);
        if (next == old.versions.size() || old.versions[next].line != line) {
            if (before != after) {
                return false;
            }
            continue;
        }
        const version_record &version = old.versions[next];
        const version_record &now = fresh.versions[next++];
        const bool same = touched.contains(version.id) && !version.deleted
                              ? fields_of(before, version) == fields_of(after, now)
                              : before == after;
        if (now.line != line || !same) {
            return false;
        }
    }
    return old_header.empty() && new_header.empty();
}

}  // namespace

std::string status_record_text(const container_view &old, bool adds_branch) {
    return status_line(old.highest_branch + (adds_branch ? 1 : 0));
}

std::string_view behind_status(const container_view &old) {
    std::string_view bytes = old.bytes.view();
    bytes.remove_prefix(line_length(bytes));
    return bytes;
}

bool version_equals(const container_view &view, version_id id, std::string_view text) {
    std::vector<version_id> lineage;
    if (!lineage_of(view, id, &lineage)) {
        return false;
    }
    std::string_view rest = text;
    bool equal = true;
    const auto broken = walk_version(view, lineage, [&](std::string_view piece) {
        equal = rest.starts_with(piece);
        rest.remove_prefix(equal ? piece.size() : 0);
        return equal;
    });
    return equal && rest.empty() && !broken;
}

result<container_view> prove_addition(const container_view &old, int descriptor,
                                      const added_records &added) {
    auto fresh = open_container(descriptor, old.name, "the new container cannot be read");
    if (!fresh) {
        return fresh;
    }
    std::string_view bytes = fresh->bytes.view();
    if (!fresh->header_damages.empty() || !bytes.starts_with(added.header)) {
        return refused(old, "its header is not as it should be");
    }
    // What is taken for new below must be nothing that the old one has.
    for (const version_record &version : old.versions) {
        if (version.id.branch == added.branch && version.id.number >= added.first) {
            return refused(old, "a version of it has a number that is not new");
        }
    }
    bytes.remove_prefix(added.header.size());
    if (!differs_by_additions_only(behind_status(old), bytes, added)) {
        return refused(old, "it does not keep what the old one holds");
    }
    // New records can be too many and change no text yet, as a deletion within one.
    if (scan_structure(*fresh)) {
        return refused(old, "it is not sound");
    }
    return fresh;
}

result<container_view> prove_records(const container_view &old, int descriptor,
                                     const std::set<version_id> &touched) {
    auto fresh = open_container(descriptor, old.name, "the new container cannot be read");
    if (!fresh) {
        return fresh;
    }
    if (!differs_in_notes_only(old, *fresh, touched)) {
        return refusal(old.name,
                       "the new container is refused: it does not keep what the old one "
                       "holds");
    }
    if (const auto faults = check_container(*fresh, fingerprints::bytes, {}).faults;
        !faults.empty()) {
        failure why = damaged(*fresh, faults.front().what);
        why.follows = "the new container is not sound; nothing is changed";
        return why;
    }
    return fresh;
}

}  // namespace norvik

// The passes over the header and the weave give faults with ranges of versions; a sum over the ends
// of these ranges tells which versions are in doubt: O(faults + versions).
#include "container_check.h"

#include <algorithm>
#include <map>
#include <string>

#include "header_check.h"
#include "row_scan.h"

namespace norvik {
namespace {

// Whether nobody can read the version or build on it any more.
bool is_buried(const container_view &view, version_id id) {
    const version_record *version = find_version(view, id);
    if (version == nullptr || !version->deleted) {
        return false;
    }
    const version_record *newest = newest_version(view, id.branch);
    return newest != nullptr && newest->id.number > id.number;
}

// An unterminated line is the last one of every version that holds it, or a piece of a line that
// cannot be stored whole. Where it is neither, a record may be wrong that gives lines to versions,
// or the mark, and any text may be another one. A purge takes pieces out of buried versions.
void check_unterminated(const container_view &view, container_check *check) {
    if (std::ranges::none_of(check->scan.totals, has_inner_open_line)) {
        return;
    }
    const std::vector<std::uint64_t> rows = find_short_rows(view, check->scan.tree);
    std::map<std::uint64_t, std::vector<version_id>> by_line;
    const std::vector<version_id> &versions = check->scan.tree.versions;
    for (std::size_t i = 0; i < versions.size(); i++) {
        if (rows[i] != 0 && !is_buried(view, versions[i])) {
            by_line[rows[i]].push_back(versions[i]);
        }
    }
    for (const auto &[line, broken] : by_line) {
        std::string names = version_name(view, broken.front());
        if (broken.size() > 1) {
            names += " and of " + std::to_string(broken.size() - 1) + " more";
        }
        check->faults.push_back(
            {{line, "a line without newline that is not the last one of " + names},
             all_versions(check->scan.tree),
             false});
    }
}

// A version record whose number has become another one reads as a lost one and a version without
// lines of its own.
void check_without_records(const container_view &view, container_check *check) {
    for (const version_record &version : view.versions) {
        const std::uint32_t position = position_of(check->scan.tree, version.id);
        const change_counts &changes = check->scan.changes[position];
        if (!version.deleted && version.id != version_id{0, 0} && changes.added == 0 &&
            changes.deleted == 0) {
            check->faults.push_back(
                {{version.line, version_name(view, version.id) +
                                    " has no lines of its own; it may be a lost version"},
                 {position, position + 1},
                 false,
                 true});
        }
    }
}

void mark_doubts(const std::vector<weave_fault> &faults, bool drop_stray,
                 std::vector<bool> *in_doubt) {
    std::vector<std::int64_t> changes(in_doubt->size() + 1);
    for (const weave_fault &fault : faults) {
        if (!(drop_stray && fault.stray)) {
            changes[fault.doubt.first]++;
            changes[fault.doubt.end]--;
        }
    }
    std::int64_t doubts = 0;
    for (std::size_t i = 0; i < in_doubt->size(); i++) {
        doubts += changes[i];
        (*in_doubt)[i] = (*in_doubt)[i] || doubts > 0;
    }
}

}  // namespace

container_check check_container(const container_view &view, fingerprints of,
                                const scan_progress &told) {
    container_check check{scan_weave(view, of, told), {}, {}, {}};
    check.in_doubt.resize(check.scan.tree.versions.size());
    check.faults = check_header(view, check.scan.tree);
    check.faults.insert(check.faults.end(), check.scan.faults.begin(), check.scan.faults.end());
    check_unterminated(view, &check);
    if (!check.scan.unlisted.empty()) {
        check_without_records(view, &check);
    }
    if (of == fingerprints::bytes) {
        const std::vector<weave_fault> sums = check_sums(view, check.scan);
        check.faults.insert(check.faults.end(), sums.begin(), sums.end());
    }
    std::stable_sort(
        check.faults.begin(), check.faults.end(),
        [](const weave_fault &a, const weave_fault &b) { return a.what.line < b.what.line; });
    check.in_other_doubt = check.in_doubt;
    mark_doubts(check.faults, false, &check.in_doubt);
    mark_doubts(check.faults, true, &check.in_other_doubt);
    return check;
}

bool is_trusted(const container_check &check, const version_record &version, bool drop_stray) {
    const version_tree &tree = check.scan.tree;
    const std::uint32_t position = position_of(tree, version.id);
    const auto branch = tree.branches.find(version.id.branch);
    const std::vector<bool> &in_doubt = drop_stray ? check.in_other_doubt : check.in_doubt;
    return !version.deleted && position != no_position && !in_doubt[position] &&
           branch != tree.branches.end() && branch->second.rooted &&
           (version.id.branch == 0 || branch->second.record != nullptr);
}

}  // namespace norvik

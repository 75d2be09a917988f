// The header's records are kept in lists in the order of the file; what is asked for often has a
// hash table, made at the first question. A branch by its name and the newest version cost a pass
// over the records.
#include "container_view.h"

#include <algorithm>

#include "header_reader.h"

namespace norvik {
namespace {

void index_ids(const container_view &view) {
    view.by_id.reserve(view.versions.size());
    for (std::size_t i = 0; i < view.versions.size(); i++) {
        const auto [entry, fresh] = view.by_id.try_emplace(view.versions[i].id, i);
        // Of two records of a number the live one counts, of two alike the first.
        if (!fresh && view.versions[entry->second].deleted && !view.versions[i].deleted) {
            entry->second = i;
        }
    }
}

void index_oids(const container_view &view) {
    view.by_oid.reserve(view.versions.size());
    for (std::size_t i = 0; i < view.versions.size(); i++) {
        if (!view.versions[i].deleted) {
            view.by_oid.try_emplace(view.versions[i].oid, i);
        }
    }
}

void index_branches(const container_view &view) {
    for (std::size_t i = 0; i < view.branches.size(); i++) {
        if (!view.branches[i].deleted) {
            view.branch_by_number.try_emplace(view.branches[i].number, i);
        }
    }
}

}  // namespace

result<container_view> open_container(int descriptor, const std::string &name,
                                      std::string_view otherwise) {
    container_view view;
    view.name = name;
    std::error_code error = view.rights.add(descriptor);
    error = error ? error : view.bytes.load(descriptor);
    if (error) {
        return system_failure(name, otherwise, error);
    }
    read_header(view.bytes.view(), &view);
    return view;
}

const version_record *find_version(const container_view &view, version_id id) {
    if (view.by_id.empty()) {
        index_ids(view);
    }
    const auto found = view.by_id.find(id);
    return found == view.by_id.end() ? nullptr : &view.versions[found->second];
}

const version_record *find_version_by_oid(const container_view &view, std::string_view oid) {
    if (view.by_oid.empty()) {
        index_oids(view);
    }
    const auto found = view.by_oid.find(oid);
    return found == view.by_oid.end() ? nullptr : &view.versions[found->second];
}

result<const branch_record *> default_branch(const container_view &view) {
    if (const branch_record *found = find_branch(view, default_branch_name)) {
        return found;
    }
    const auto live = [](const branch_record &branch) { return !branch.deleted; };
    if (std::count_if(view.branches.begin(), view.branches.end(), live) == 1) {
        return &*std::find_if(view.branches.begin(), view.branches.end(), live);
    }
    return refusal(view.name, "which branch? there are several and none is called " +
                                  std::string(default_branch_name));
}

const branch_record *find_branch(const container_view &view, std::string_view oid) {
    for (const branch_record &branch : view.branches) {
        if (!branch.deleted && branch.oid == oid) {
            return &branch;
        }
    }
    return nullptr;
}

const branch_record *find_branch(const container_view &view, std::uint64_t number) {
    if (view.branch_by_number.empty()) {
        index_branches(view);
    }
    const auto found = view.branch_by_number.find(number);
    return found == view.branch_by_number.end() ? nullptr : &view.branches[found->second];
}

const version_record *newest_version(const container_view &view, std::uint64_t branch) {
    const version_record *newest = nullptr;
    for (const version_record &version : view.versions) {
        if (!version.deleted && version.id.branch == branch &&
            (newest == nullptr || version.id.number > newest->id.number)) {
            newest = &version;
        }
    }
    return newest;
}

std::optional<std::uint64_t> next_version_number(const container_view &view, std::uint64_t branch) {
    std::optional<std::uint64_t> used;
    const auto use = [&](version_id id) {
        if (id.branch == branch) {
            used = std::max(used.value_or(0), id.number);
        }
    };
    for (const version_record &version : view.versions) {
        use(version.id);
    }
    for (const branch_record &other : view.branches) {
        if (other.number != 0) {
            use(other.parent);
        }
    }
    if (!used) {
        return 0;
    }
    return *used < highest_number ? std::optional(*used + 1) : std::nullopt;
}

std::optional<std::uint64_t> next_branch_number(const container_view &view) {
    const std::uint64_t used = view.highest_branch;
    const bool named = std::all_of(view.branches.begin(), view.branches.end(),
                                   [&](const branch_record &b) { return b.number <= used; }) &&
                       std::all_of(view.versions.begin(), view.versions.end(),
                                   [&](const version_record &v) { return v.id.branch <= used; });
    return named && used < highest_number ? std::optional(used + 1) : std::nullopt;
}

bool lineage_of(const container_view &view, version_id id, std::vector<version_id> *lineage) {
    lineage->assign(1, id);
    // One pass is enough: a branch's record stands above that of the branch it was made off.
    for (const branch_record &branch : view.branches) {
        const std::uint64_t current = lineage->back().branch;
        if (current == 0) {
            break;
        }
        if (!branch.deleted && branch.number == current) {
            if (branch.parent.branch >= current) {
                return false;
            }
            lineage->push_back(branch.parent);
        }
    }
    return lineage->back().branch == 0;
}

std::string branch_name(const container_view &view, std::uint64_t number) {
    const branch_record *branch = find_branch(view, number);
    return branch == nullptr ? "#" + std::to_string(number) : std::string(branch->oid);
}

std::string version_name(std::string_view branch, std::uint64_t number) {
    return std::string(branch) + "@" + std::to_string(number);
}

std::string version_name(const container_view &view, version_id id) {
    return version_name(branch_name(view, id.branch), id.number);
}

failure damaged(const container_view &view, const damage &found) {
    return {failure_kind::damaged, view.name, found.line, found.reason, {}, {}};
}

}  // namespace norvik

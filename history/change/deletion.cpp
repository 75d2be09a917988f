// The library deletes; the proof does not trust it. What became of each version is read off the two
// headers: O(records x log records) besides the proof, and for a version that is hidden a pass over
// the branches.
#include "deletion.h"

#include <norviktdm/tdm.h>

#include <algorithm>

#include "version_names.h"

namespace norvik {
namespace {

result<> add_branch(const container_view &view, const std::string &name,
                    deletion_request *request) {
    const branch_record *branch = find_branch(view, name);
    if (branch == nullptr) {
        return refusal(view.name, "has no branch " + name);
    }
    if (branch->number == 0) {
        return refusal(view.name, "the first branch, " + name + ", cannot be deleted");
    }
    request->branches.insert(branch->number);
    for (const version_record &version : view.versions) {
        if (version.id.branch == branch->number && !version.deleted) {
            request->versions.insert(version.id);
        }
    }
    return {};
}

result<> add_version(const container_view &view, const std::string &text,
                     deletion_request *request) {
    const auto version = resolve_version(view, text);
    if (!version) {
        return version.failure();
    }
    const version_id id = (*version)->id;
    if (id == version_id{0, 0}) {
        return refusal(view.name, version_name(view, id) +
                                      " cannot be deleted: nothing could be added any more");
    }
    request->versions.insert(id);
    return {};
}

// Branches that stay and hang on one that goes.
result<> refuse_hanging(const container_view &view, const deletion_request &request) {
    for (const std::uint64_t number : request.branches) {
        std::vector<std::string> in_the_way;
        for (const branch_record &branch : view.branches) {
            if (!branch.deleted && branch.number != 0 && branch.parent.branch == number &&
                !request.branches.contains(branch.number)) {
                in_the_way.push_back(std::string(branch.oid) + " (off " +
                                     version_name(view, branch.parent) + ")");
            }
        }
        if (!in_the_way.empty()) {
            return refusal(view.name, "branch " + branch_name(view, number) +
                                          " cannot be deleted while other branches hang on it: " +
                                          in_words(in_the_way));
        }
    }
    return {};
}

// The branches made off this version or a newer one of its branch.
std::vector<const branch_record *> hanging_branches(const container_view &view, version_id from) {
    std::vector<const branch_record *> found;
    for (const branch_record &branch : view.branches) {
        if (!branch.deleted && branch.number != 0 && branch.parent.branch == from.branch &&
            branch.parent.number >= from.number) {
            found.push_back(&branch);
        }
    }
    return found;
}

// The live versions of a container in order of branch and number.
std::vector<const version_record *> live_in_order(const container_view &view) {
    std::vector<const version_record *> live;
    for (const version_record &version : view.versions) {
        if (!version.deleted) {
            live.push_back(&version);
        }
    }
    std::sort(live.begin(), live.end(),
              [](const version_record *a, const version_record *b) { return a->id < b->id; });
    return live;
}

// The first of them that is of the branch and not below `from`; null for none.
const version_record *first_from(const std::vector<const version_record *> &live, version_id from) {
    const auto found = std::lower_bound(
        live.begin(), live.end(), from,
        [](const version_record *version, version_id id) { return version->id < id; });
    return found == live.end() || (*found)->id.branch != from.branch ? nullptr : *found;
}

version_fate fate_of(const container_view &after,
                     const std::vector<const version_record *> &live_after,
                     const version_record &version) {
    if (find_version(after, version.id) != nullptr) {
        return {&version, fate::hidden, first_from(live_after, version.id),
                hanging_branches(after, version.id)};
    }
    return {&version, version.deleted ? fate::gone_at_last : fate::gone, nullptr, {}};
}

}  // namespace

std::string in_words(std::vector<std::string> names) {
    constexpr std::size_t most = 5;
    if (names.size() > most) {
        const std::size_t more = names.size() - most;
        names.resize(most);
        names.push_back(std::to_string(more) + " more");
    }
    std::string text;
    for (std::size_t i = 0; i < names.size(); i++) {
        text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    }
    return text;
}

result<deletion_request> resolve_deletion(const container_view &view,
                                          const std::vector<std::string> &versions,
                                          const std::vector<std::string> &branches) {
    deletion_request request;
    for (const std::string &name : branches) {
        if (const auto added = add_branch(view, name, &request); !added) {
            return added.failure();
        }
    }
    for (const std::string &text : versions) {
        if (const auto added = add_version(view, text, &request); !added) {
            return added.failure();
        }
    }
    if (const auto free = refuse_hanging(view, request); !free) {
        return free.failure();
    }
    return request;
}

result<> delete_into(const container_view &view, const std::string &container_path,
                     const deletion_request &request, const std::string &new_path) {
    std::vector<std::string> oids;
    for (const version_record &version : view.versions) {
        if (request.versions.contains(version.id)) {
            oids.emplace_back(version.oid);
        }
    }
    for (const branch_record &branch : view.branches) {
        if (request.branches.contains(branch.number)) {
            oids.emplace_back(branch.oid);
        }
    }
    std::vector<const char *> names;
    names.reserve(oids.size());
    for (const std::string &oid : oids) {
        names.push_back(oid.c_str());
    }
    const int failed = tdm_delete_versions_and_branches(container_path.c_str(), new_path.c_str(),
                                                        static_cast<std::int32_t>(names.size()),
                                                        names.data(), 0, nullptr);
    return failed == 0 ? result<>() : refusal(view.name, "nothing is deleted");
}

namespace {

failure refused(const container_view &view, const weave_fault &fault) {
    failure why = damaged(view, fault.what);
    why.follows = "is unsound";
    why.way_out = remedy::see_faults;
    why.outcome = "nothing is built on it";
    return why;
}

}  // namespace

result<container_check> require_soundness(const container_view &view) {
    container_check check = check_container(view, fingerprints_to_check(view), {});
    const auto fault = std::ranges::find(check.faults, false, &weave_fault::is_sum);
    if (fault != check.faults.end()) {
        return refused(view, *fault);
    }
    return check;
}

result<> require_sums(const container_view &view, const container_check &check,
                      const deletion_request &request) {
    for (const weave_fault &fault : check.faults) {
        for (std::uint32_t i = fault.doubt.first; i < fault.doubt.end; i++) {
            const version_record *version = find_version(view, check.scan.tree.versions[i]);
            if (version != nullptr && request.survives(*version)) {
                return refused(view, fault);
            }
        }
        if (fault.doubt.empty()) {
            return refused(view, fault);
        }
    }
    return {};
}

result<> prove_survivors(const container_view &before, const container_view &after,
                         const deletion_request &request) {
    if (const auto faults = check_container(after, fingerprints::none, {}).faults;
        !faults.empty()) {
        failure why = damaged(after, faults.front().what);
        why.follows = "the new container is not sound; nothing is changed";
        return why;
    }
    const auto survives = [&](const version_record &version) { return request.survives(version); };
    auto same = compare_survivors(before, after, survives);
    if (!same) {
        same.failure().outcome = "nothing is changed";
    }
    return same;
}

deletion_fates fates_of(const container_view &before, const container_view &after,
                        const deletion_request &request) {
    deletion_fates fates;
    const std::vector<const version_record *> live_before = live_in_order(before);
    const std::vector<const version_record *> live_after = live_in_order(after);
    for (const version_record &version : before.versions) {
        const bool goes = request.versions.contains(version.id);
        if (goes || (version.deleted && find_version(after, version.id) == nullptr)) {
            fates.versions.push_back(fate_of(after, live_after, version));
        }
    }
    for (const branch_record &branch : before.branches) {
        if (branch.deleted) {
            continue;
        }
        if (find_branch(after, branch.number) == nullptr) {
            fates.branches.push_back({&branch, fate::gone, {}});
        } else if (first_from(live_before, {branch.number, 0}) != nullptr &&
                   first_from(live_after, {branch.number, 0}) == nullptr) {
            fates.branches.push_back(
                {&branch, fate::emptied, hanging_branches(after, {branch.number, 0})});
        }
    }
    return fates;
}

}  // namespace norvik

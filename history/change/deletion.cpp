#include "deletion.h"

#include <norviktdm/tdm.h>

#include <algorithm>

#include "container_change.h"
#include "container_check.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "output.h"

namespace norvik {
namespace {

std::string shown(const container_view &view, version_id id) {
    return escape_name(version_name(view, id));
}

std::string joined(std::vector<std::string> words) {
    constexpr std::size_t most = 5;
    if (words.size() > most) {
        const std::size_t more = words.size() - most;
        words.resize(most);
        words.push_back(std::to_string(more) + " more");
    }
    std::string text;
    for (std::size_t i = 0; i < words.size(); i++) {
        text += (i == 0 ? "" : i + 1 == words.size() ? " and " : ", ") + words[i];
    }
    return text;
}

int add_branch(const container_view &view, const std::string &name, deletion_request *request) {
    const branch_record *branch = find_branch(view, name);
    if (branch == nullptr) {
        say_of_file(view.name, "has no branch " + escape_name(name));
        return status_trouble;
    }
    if (branch->number == 0) {
        say_of_file(view.name, "the first branch, " + escape_name(name) + ", cannot be deleted");
        return status_trouble;
    }
    request->branches.insert(branch->number);
    for (const version_record &version : view.versions) {
        if (version.id.branch == branch->number && !version.deleted) {
            request->versions.insert(version.id);
        }
    }
    return status_done;
}

int add_version(const container_view &view, const std::string &text, deletion_request *request) {
    const version_record *version = require_version(view, text);
    if (version == nullptr) {
        return status_trouble;
    }
    if (version->id == version_id{0, 0}) {
        say_of_file(view.name, shown(view, version->id) +
                                   " cannot be deleted: nothing could be added any more");
        return status_trouble;
    }
    request->versions.insert(version->id);
    return status_done;
}

// Branches that stay and hang on one that goes.
int refuse_hanging(const container_view &view, const deletion_request &request) {
    for (const uint64_t number : request.branches) {
        std::vector<std::string> in_the_way;
        for (const branch_record &branch : view.branches) {
            if (!branch.deleted && branch.number != 0 && branch.parent.branch == number &&
                !request.branches.contains(branch.number)) {
                in_the_way.push_back(escape_name(branch.oid) + " (off " +
                                     shown(view, branch.parent) + ")");
            }
        }
        if (!in_the_way.empty()) {
            say_of_file(view.name, "branch " + escape_name(branch_name(view, number)) +
                                       " cannot be deleted while other branches hang on it: " +
                                       joined(in_the_way));
            return status_trouble;
        }
    }
    return status_done;
}

// The branches made off this version or a newer one of its branch.
std::vector<std::string> hanging_branches(const container_view &view, version_id from) {
    std::vector<std::string> names;
    for (const branch_record &branch : view.branches) {
        if (!branch.deleted && branch.number != 0 && branch.parent.branch == from.branch &&
            branch.parent.number >= from.number) {
            names.push_back("branch " + escape_name(branch.oid));
        }
    }
    return names;
}

// What still needs the lines of a deleted version.
std::string dependents(const container_view &after, const version_record &kept) {
    std::vector<std::string> needed_by;
    const version_record *next = nullptr;
    for (const version_record &version : after.versions) {
        if (!version.deleted && version.id.branch == kept.id.branch &&
            version.id.number > kept.id.number &&
            (next == nullptr || version.id.number < next->id.number)) {
            next = &version;
        }
    }
    if (next != nullptr) {
        needed_by.push_back(shown(after, next->id));
    }
    const std::vector<std::string> branches = hanging_branches(after, kept.id);
    needed_by.insert(needed_by.end(), branches.begin(), branches.end());
    return joined(needed_by);
}

std::string describe_version(const container_view &before, const container_view &after,
                             const version_record &version, telling mood) {
    const std::string name = shown(before, version.id);
    const version_record *kept = find_version(after, version.id);
    const bool done = mood == telling::done;
    if (kept == nullptr && version.deleted) {
        return name + ", deleted before: its lines " +
               (done ? "are gone from the file now" : "would be gone from the file");
    }
    const std::string start = name + (done ? ": deleted, " : ": would be deleted, ");
    return kept == nullptr
               ? start + "its lines " + (done ? "are" : "would be") + " gone from the file"
               : start + "but its lines " + (done ? "are still" : "would stay") +
                     " in the file, for " + dependents(after, *kept);
}

}  // namespace

int resolve_deletion(const container_view &view, const std::vector<std::string> &versions,
                     const std::vector<std::string> &branches, deletion_request *request) {
    for (const std::string &name : branches) {
        if (add_branch(view, name, request) != status_done) {
            return status_trouble;
        }
    }
    for (const std::string &text : versions) {
        if (add_version(view, text, request) != status_done) {
            return status_trouble;
        }
    }
    return refuse_hanging(view, *request);
}

int delete_into(const container_view &view, const std::string &container_path,
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
    const int result = tdm_delete_versions_and_branches(container_path.c_str(), new_path.c_str(),
                                                        static_cast<int32_t>(names.size()),
                                                        names.data(), 0, nullptr);
    if (result != 0) {
        say_of_file(view.name, "nothing is deleted");
    }
    return result == 0 ? status_done : status_trouble;
}

int require_soundness(const container_view &view) {
    const container_check check = check_container(view, false, {});
    if (check.faults.empty()) {
        return status_done;
    }
    (void)tell(damaged(view, check.faults.front().what));
    say_of_file(view.name, "is unsound ('tdm verify' tells more); nothing is built on it");
    return status_trouble;
}

int prove_survivors(const container_view &before, const container_view &after,
                    const deletion_request &request) {
    if (const auto faults = check_container(after, false, {}).faults; !faults.empty()) {
        (void)tell(damaged(after, faults.front().what));
        say_of_file(before.name, "the new container is not sound; nothing is changed");
        return status_trouble;
    }
    const auto survives = [&](const version_record &version) { return request.survives(version); };
    auto same = compare_survivors(before, after, survives);
    if (!same) {
        same.failure().reason += "; nothing is changed";
    }
    return told(same);
}

std::vector<std::string> describe_deletion(const container_view &before,
                                           const container_view &after,
                                           const deletion_request &request, telling mood) {
    const bool done = mood == telling::done;
    std::vector<std::string> sentences;
    for (const version_record &version : before.versions) {
        const bool goes = request.versions.contains(version.id);
        if (goes || (version.deleted && find_version(after, version.id) == nullptr)) {
            sentences.push_back(describe_version(before, after, version, mood));
        }
    }
    for (const branch_record &branch : before.branches) {
        const std::string name = "branch " + escape_name(branch.oid);
        if (branch.deleted) {
            continue;
        }
        if (find_branch(after, branch.number) == nullptr) {
            sentences.push_back(name + (done ? ": removed, none of its versions is left"
                                             : ": would be removed with all its versions"));
        } else if (newest_version(before, branch.number) != nullptr &&
                   newest_version(after, branch.number) == nullptr) {
            sentences.push_back(name + (done ? ": stays" : ": would stay") +
                                " without versions, for " +
                                joined(hanging_branches(after, {branch.number, 0})));
        }
    }
    return sentences;
}

void tell_plan(const std::vector<std::string> &sentences) {
    for (const std::string &sentence : sentences) {
        say("%s", sentence.c_str());
    }
}

done_report report_of_change(const std::string &container, const std::string &what,
                             const std::vector<std::string> &sentences) {
    done_report report;
    for (const std::string &sentence : sentences) {
        report.words += sentence + "\n";
    }
    report.done = escape_name(container) + ": " + what + " is done";
    return report;
}

}  // namespace norvik

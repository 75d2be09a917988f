#include "checkin_base.h"

#include <algorithm>
#include <vector>

#include "command_declaration.h"
#include "container_change.h"
#include "escaped_text.h"
#include "output.h"
#include "structure.h"
#include "time_text.h"
#include "usage_error.h"

namespace norvik {

namespace {

constexpr std::size_t most_told = 10;  // versions that came since

std::string shown_name(const container_view &view, version_id id) {
    return escape_name(version_name(view, id));
}

// The version that a text must have been made from: that which a new branch is made off, or the
// newest of the branch, for want of one its branch point.
const version_record *newest_for(const container_view &view, const checkin_plan &plan) {
    if (plan.adds_branch) {
        return find_version(view, plan.predecessor);
    }
    const version_record *newest = newest_version(view, plan.id.branch);
    const branch_record *branch = find_branch(view, plan.id.branch);
    if (newest == nullptr && branch != nullptr && branch->number != 0) {
        newest = find_version(view, branch->parent);
    }
    return newest == nullptr || newest->deleted ? nullptr : newest;
}

// The version whose text a branch without versions of its own has.
version_id origin_of(const container_view &view, version_id id) {
    for (const branch_record *branch = nullptr; id.number == 0 && id.branch != 0;) {
        branch = find_branch(view, id.branch);
        if (branch == nullptr || branch->parent.branch >= id.branch) {
            break;
        }
        id = branch->parent;
    }
    return id;
}

const version_record *base_on_file(const container_view &view, const std::string &file,
                                   const std::string &named) {
    const version_record *found = find_version_by_oid(view, named);
    if (found == nullptr) {
        const bool deleted = std::any_of(view.versions.begin(), view.versions.end(),
                                         [&](const version_record &v) { return v.oid == named; });
        say_of_file(file, "was made from version " + escape_name(named) +
                              (deleted ? ", which is deleted" : ", which is not one") + " of " +
                              escape_name(view.name) + "; what came since cannot be told");
    }
    return found;
}

// The versions that `newest` has and the base has not, newest first.
std::vector<const version_record *> came_since(const container_view &view,
                                               const checkin_base &found) {
    std::vector<version_id> known;
    std::vector<version_id> now;
    std::vector<const version_record *> since;
    if (!lineage_of(view, found.base->id, &known) || !lineage_of(view, found.newest->id, &now)) {
        return since;
    }
    for (const version_record &version : view.versions) {
        if (!version.deleted && in_lineage(now, version.id) && !in_lineage(known, version.id)) {
            since.push_back(&version);
        }
    }
    return since;
}

}  // namespace

void base_options::declare(command_declaration &command) {
    command.value("--base", "VERSION", base, "Store only when this is the newest version");
    command.flag("--no-base", no_base, "Whatever FILE was made from, store it as the next version");
    command.flag("--merge", merge, "Merge FILE with what came since, and store that");
    command.flag("--update", update, "With --merge: write the merged text to FILE");
}

int base_options::check_usage(const std::string &file) const {
    const char *wrong = no_base && !base.empty() ? "--base and --no-base exclude each other"
                        : no_base && merge       ? "--merge and --no-base exclude each other"
                        : update && !merge       ? "--update needs --merge"
                        : update && file == "-"  ? "--update needs a FILE to write to, not -"
                                                 : nullptr;
    return wrong == nullptr ? int{status_done} : usage_error("checkin", wrong);
}

int find_checkin_base(const container_view &view, const checkin_plan &plan,
                      const base_options &options, const std::string &file,
                      const std::string &named, checkin_base *out) {
    out->newest = newest_for(view, plan);
    if (!options.base.empty()) {
        out->base = require_version(view, options.base);
        if (out->base == nullptr) {
            return status_trouble;
        }
    } else if (!options.no_base && !named.empty()) {
        out->base = base_on_file(view, file, named);
    }
    if (options.merge && out->base == nullptr) {
        say_of_file(file, "does not say what it was made from (--base VERSION says it)");
        return status_trouble;
    }
    out->current = out->base == nullptr || out->newest == nullptr ||
                   origin_of(view, out->base->id) == origin_of(view, out->newest->id);
    return status_done;
}

int refuse_outdated(const container_view &view, const checkin_base &found,
                    const std::string &file) {
    say_of_file(file, "was made from " + shown_name(view, found.base->id) + ", not from " +
                          shown_name(view, found.newest->id) + "; nothing is stored");
    const std::vector<const version_record *> since = came_since(view, found);
    if (!since.empty()) {
        say("%zu %s came since:", since.size(), since.size() == 1 ? "version" : "versions");
    }
    for (std::size_t i = 0; i < std::min(since.size(), most_told); i++) {
        say("  %s  %s", shown_name(view, since[i]->id).c_str(), time_text(since[i]->time).c_str());
    }
    if (since.size() > most_told) {
        say("  and %zu more", since.size() - most_told);
    }
    say("--merge stores both together, --no-base stores FILE all the same");
    return status_negative;
}

}  // namespace norvik

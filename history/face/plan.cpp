// Deletions, purges and repairs: planned first, carried out when somebody has agreed.
//
// No plan keeps a lock. Whether the container is still the one that was planned for is looked at
// when the plan is carried out.
#include <fcntl.h>
#include <sys/stat.h>

#include <deque>
#include <optional>

#include "change.h"
#include "container_plan.h"
#include "container_repair.h"
#include "file_state.h"
#include "memory_file.h"
#include "system_calls.h"
#include "texts.h"

namespace norvik::face {

// A repair that is decided, with the damaged container.
struct held_repair {
    owned_descriptor input;
    struct stat found {};
    container_view view;
    repair_plan plan;
    std::string new_path;
};

}  // namespace norvik::face

struct norvik_plan {
    std::string path;
    norvik::replace_options options;
    // One of them.
    std::optional<norvik::purge_plan> removal;  // of a deletion too, whose lines are none
    std::optional<norvik::face::held_repair> repair;

    std::deque<std::string> strings;  // that the lists point to
    std::vector<norvik_fate> fates;
    std::vector<norvik_kept_line> lines;
};

namespace norvik::face {
namespace {

const char *keep(norvik_plan *plan, std::string text) {
    return plan->strings.emplace_back(std::move(text)).c_str();
}

void add_fate(norvik_plan *plan, std::string name, bool is_branch, norvik_fate_kind kind,
              const damage &why = {}) {
    plan->fates.push_back({keep(plan, std::move(name)), is_branch ? 1 : 0,
                           static_cast<std::uint32_t>(kind), why.line, keep(plan, why.reason)});
}

norvik_fate_kind kind_of(fate what) {
    return what == fate::hidden    ? norvik_fate_hidden
           : what == fate::emptied ? norvik_fate_emptied
                                   : norvik_fate_gone;
}

void list_fates(norvik_plan *plan) {
    const container_view &before = plan->removal->before;
    const deletion_fates fates = fates_of(before, plan->removal->after, plan->removal->request);
    for (const version_fate &version : fates.versions) {
        add_fate(plan, version_name(before, version.version->id), false, kind_of(version.what));
    }
    for (const branch_fate &branch : fates.branches) {
        add_fate(plan, std::string(branch.branch->oid), true, kind_of(branch.what));
    }
}

void list_lines(norvik_plan *plan, const kept_lines &lines, bool copies) {
    for (const kept_line &line : lines.first) {
        std::string holders;
        for (const version_id id : line.holders) {
            holders += (holders.empty() ? "" : ", ") + version_name(plan->removal->before, id);
        }
        plan->lines.push_back({as_text(line.text), keep(plan, std::move(holders)),
                               line.holder_count, copies ? 1 : 0});
    }
}

norvik_error *take_names(const char *const *names, std::size_t count,
                         std::vector<std::string> *out) {
    for (std::size_t i = 0; i < count; i++) {
        if (names == nullptr || names[i] == nullptr) {
            return refuse("there is a name missing");
        }
        out->emplace_back(names[i]);
    }
    return nullptr;
}

// Plans in the locked container by `make`; the lock goes with the call.
template <typename Make>
norvik_error *plan_removal(const char *path, const norvik_change_options *change, norvik_plan **out,
                           const Make &make) {
    if (path == nullptr) {
        return refuse("there is no path");
    }
    auto plan = std::make_unique<norvik_plan>();
    plan->path = path;
    if (norvik_error *error = take_change(change, &plan->options); error != nullptr) {
        return error;
    }
    container_change locked(plan->options);
    norvik_error *error = error_of(locked.open(plan->path));
    error = error != nullptr ? error : error_of(make(&locked, &plan->removal.emplace()));
    locked.replacement.unlock();
    if (error != nullptr) {
        return error;
    }
    plan->removal->bytes = {};  // it is mapped; another thread may have the plan
    list_fates(plan.get());
    list_lines(plan.get(), plan->removal->lines.held, false);
    list_lines(plan.get(), plan->removal->lines.copies, true);
    *out = plan.release();
    return nullptr;
}

norvik_error *plan_deleting(const char *path, const std::vector<std::string> &versions,
                            const std::vector<std::string> &branches,
                            const norvik_change_options *change, norvik_plan **out) {
    if (versions.empty() && branches.empty()) {
        return refuse("neither a version nor a branch is named");
    }
    return plan_removal(path, change, out, [&](container_change *locked, purge_plan *plan) {
        return plan_deletion(locked, versions, branches, plan);
    });
}

result<> plan_purging(container_change *locked, const char *version, purge_plan *plan) {
    auto planned = plan_purge(locked, version, plan);
    if (planned && plan->takes_nothing_out()) {
        return refusal(plan->before.name, "nothing can be purged, surviving versions hold all of " +
                                              version_name(plan->before, plan->version));
    }
    return planned;
}

result<> judge(const std::string &path, bool drop_stray, held_repair *repair) {
    repair->input = owned_descriptor(sys::open(path.c_str(), sys::read_at_once));
    if (!repair->input.is_open() || sys::fstat(repair->input.get(), &repair->found) != 0) {
        return system_failure(path, "cannot be read", last_error());
    }
    // The plan may be looked at for long: a mapping of a file that is cut meanwhile would end the
    // process.
    memory_file copy;
    granted_rights rights;
    std::error_code error = rights.add(repair->input.get());
    error = error ? error : copy.create(path);
    error = error ? error : copy.copy_from(repair->input.get());
    if (error) {
        return system_failure(path, "cannot be read", error);
    }
    auto opened = open_container(copy.descriptor(), path);
    if (!opened) {
        return opened.failure();
    }
    repair->view = std::move(*opened);
    repair->view.rights = rights;
    repair->plan = norvik::plan_repair(repair->view, drop_stray);
    if (repair->plan.saves_nothing()) {
        failure why = damaged(repair->view, repair->plan.check.faults.front().what);
        why.follows = "nothing can be saved";
        return why;
    }
    return {};
}

void list_repair(norvik_plan *plan) {
    const held_repair &repair = *plan->repair;
    const repair_verdict &verdict = repair.plan.verdict;
    for (const version_record *version : verdict.saved) {
        const std::vector<version_id> &renamed = verdict.renamed;
        const bool new_name =
            std::find(renamed.begin(), renamed.end(), version->id) != renamed.end();
        add_fate(plan, version_name(repair.view, version->id), false,
                 new_name ? norvik_fate_renamed : norvik_fate_saved);
    }
    for (const lost_version &lost : verdict.lost) {
        add_fate(plan, version_name(repair.view, lost.id), false, norvik_fate_lost, lost.why);
    }
}

norvik_error *plan_repairing(const char *path, const char *new_path, std::uint32_t flags,
                             const norvik_change_options *change, norvik_plan **out) {
    if (path == nullptr || new_path == nullptr ||
        (flags & ~std::uint32_t{norvik_drop_stray}) != 0) {
        return refuse("there is no path, or an unknown flag of a repair");
    }
    auto plan = std::make_unique<norvik_plan>();
    plan->path = path;
    norvik_error *error = take_change(change, &plan->options);
    held_repair &repair = plan->repair.emplace();
    repair.new_path = new_path;
    error =
        error != nullptr ? error : error_of(judge(path, (flags & norvik_drop_stray) != 0, &repair));
    if (error != nullptr) {
        return error;
    }
    list_repair(plan.get());
    *out = plan.release();
    return nullptr;
}

bool is_as_found(const held_repair &repair) {
    struct stat now {};
    return sys::fstat(repair.input.get(), &now) == 0 && is_same_state(now, repair.found);
}

result<> write_repaired(const norvik_plan &plan) {
    const held_repair &repair = *plan.repair;
    file_replacement replacement(plan.options);
    replacement.made_from(repair.view.rights);
    auto done = replacement.lock_output(repair.new_path);
    done = done ? replacement.refuse_same(plan.path) : std::move(done);
    if (!done) {
        return done;
    }
    const auto last_look = [&repair](result<> proven) {
        if (proven && !is_as_found(repair)) {
            failure why = refusal(repair.view.name, "was changed by somebody else meanwhile");
            why.kind = failure_kind::changed;
            return result<>(std::move(why));
        }
        return proven;
    };
    return write_repair(repair.view, repair.plan, &replacement, last_look);
}

result<> remove_planned(const norvik_plan &plan) {
    container_change change(plan.options);
    auto opened = open_as_planned(plan.path, *plan.removal, &change);
    return opened ? carry_out(*plan.removal, &change.replacement) : opened;
}

}  // namespace
}  // namespace norvik::face

using namespace norvik;

norvik_error *norvik_plan_deletion(const char *path, const char *const *versions,
                                   std::size_t version_count, const char *const *branches,
                                   std::size_t branch_count, const norvik_change_options *change,
                                   norvik_plan **out) {
    return face::giving(out, [&] {
        std::vector<std::string> version_names;
        std::vector<std::string> branch_names;
        norvik_error *error = face::take_names(versions, version_count, &version_names);
        error = error != nullptr ? error : face::take_names(branches, branch_count, &branch_names);
        return error != nullptr
                   ? error
                   : face::plan_deleting(path, version_names, branch_names, change, out);
    });
}

norvik_error *norvik_plan_purge(const char *path, const char *version,
                                const norvik_change_options *change, norvik_plan **out) {
    return face::giving(out, [&] {
        return version == nullptr
                   ? face::refuse("there is no version")
                   : face::plan_removal(path, change, out,
                                        [&](container_change *locked, purge_plan *plan) {
                                            return face::plan_purging(locked, version, plan);
                                        });
    });
}

norvik_error *norvik_plan_repair(const char *path, const char *new_path, std::uint32_t flags,
                                 const norvik_change_options *change, norvik_plan **out) {
    return face::giving(out,
                        [&] { return face::plan_repairing(path, new_path, flags, change, out); });
}

std::size_t norvik_fate_count(const norvik_plan *plan) {
    return plan == nullptr ? 0 : plan->fates.size();
}

const norvik_fate *norvik_fate_at(const norvik_plan *plan, std::size_t index) {
    return plan == nullptr ? nullptr : face::at(plan->fates, index);
}

std::size_t norvik_kept_line_count(const norvik_plan *plan) {
    return plan == nullptr ? 0 : plan->lines.size();
}

const norvik_kept_line *norvik_kept_line_at(const norvik_plan *plan, std::size_t index) {
    return plan == nullptr ? nullptr : face::at(plan->lines, index);
}

norvik_error *norvik_carry_out(norvik_plan *plan, norvik_outcome **out) {
    return face::changing(out, [&]() -> norvik_error * {
        if (plan == nullptr) {
            return face::refuse("there is no plan");
        }
        auto outcome = std::make_unique<norvik_outcome>();
        const auto done = plan->removal ? face::remove_planned(*plan) : face::write_repaired(*plan);
        return done ? face::give(std::move(outcome), out) : face::make_error(done.failure());
    });
}

void norvik_plan_free(norvik_plan *plan) {
    delete plan;
}

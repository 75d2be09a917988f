// A verdict on every version, the weave rewritten for those that are saved, a header of their
// records, and a proof against the old container. What is kept of a fault is its range of versions;
// O(faults + versions) to give each version its first reason (union-find over positions), the new
// container whole in memory.
#include "container_repair.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "record_text.h"
#include "survivor_proof.h"
#include "weave_rewrite.h"

namespace norvik {
namespace {

// The first fault that puts each version in doubt, by position. A version is passed only once: each
// position leads to the next one that has no reason yet.
std::vector<damage> first_reasons(const container_check &check, bool drop_stray) {
    const std::size_t count = check.in_doubt.size();
    std::vector<damage> reasons(count, damage{0, "its branch cannot be followed"});
    std::vector<std::size_t> next(count + 1);
    std::iota(next.begin(), next.end(), std::size_t{0});
    const auto open_from = [&next](std::size_t i) {
        while (next[i] != i) {
            next[i] = next[next[i]];
            i = next[i];
        }
        return i;
    };
    for (const weave_fault &fault : check.faults) {
        if (drop_stray && fault.stray) {
            continue;
        }
        for (std::size_t i = open_from(fault.doubt.first); i < fault.doubt.end; i = open_from(i)) {
            reasons[i] = fault.what;
            next[i] = i + 1;
        }
    }
    return reasons;
}

// A header record as it is to be written.
struct header_line {
    version_id id;  // of a branch: its number and 0
    bool branch = false;
    version_id parent;       // of a branch
    std::uint64_t line = 0;  // where it stood; 0 for a record that was lost
    std::string text;
};

// Whether every record stands where its readers look for it: the versions of a branch from the
// newest down and then the branch, a branch above the version that it was made off.
bool is_in_order(const std::vector<header_line> &lines) {
    std::map<std::uint64_t, std::uint64_t> lowest;  // version of each branch so far
    std::set<version_id> passed;
    std::set<std::uint64_t> closed;
    for (const header_line &line : lines) {
        if (line.line == 0 || closed.contains(line.id.branch)) {
            return false;
        }
        if (line.branch) {
            closed.insert(line.id.branch);
            if (line.id.branch != 0 &&
                (closed.contains(line.parent.branch) || passed.contains(line.parent))) {
                return false;
            }
            continue;
        }
        const auto [entry, fresh] = lowest.try_emplace(line.id.branch, line.id.number);
        if (!fresh && entry->second <= line.id.number) {
            return false;
        }
        entry->second = line.id.number;
        passed.insert(line.id);
    }
    return true;
}

// Newest branch first, in a branch the newest version first and the branch last. Branches are
// numbered in the order in which they were made, so that this is in order, too.
bool stands_before(const header_line &a, const header_line &b) {
    if (a.id.branch != b.id.branch) {
        return a.id.branch > b.id.branch;
    }
    return a.branch != b.branch ? b.branch : a.id.number > b.id.number;
}

// Whether an encoder takes the identifier.
bool is_writable(std::string_view oid) {
    return !oid.empty() && oid.size() <= longest_written_oid &&
           std::all_of(oid.begin(), oid.end(), [](char byte) {
               return static_cast<unsigned char>(byte) > ' ' && byte != 0x7f;
           });
}

class header_writer {
public:
    header_writer(const container_view &view, const container_check &check,
                  const repair_verdict &verdict, std::set<version_id> owners)
        : view_(view), tree_(check.scan.tree), verdict_(verdict), owners_(std::move(owners)) {
        owners_.insert(version_id{0, 0});  // every container begins with it
        needed_.insert(0);
        for (const version_record &version : view.versions) {
            oids_[version.oid]++;
        }
        find_needed_branches();
    }

    void append_to(std::string &out) {
        for (const version_record &version : view_.versions) {
            add_version(version);
        }
        for (const version_id &id : owners_) {
            if (!seen_.contains(id)) {
                add_lost_version(id);
            }
        }
        for (const std::uint64_t number : needed_) {
            add_branch(number);
        }
        std::stable_sort(
            lines_.begin(), lines_.end(),
            [](const header_line &a, const header_line &b) { return a.line < b.line; });
        if (!is_in_order(lines_)) {
            std::stable_sort(lines_.begin(), lines_.end(), stands_before);
        }
        out += status_line(highest_branch());
        for (const header_line &line : lines_) {
            out += line.text;
        }
        const std::string element(is_writable(view_.element_oid) ? view_.element_oid
                                                                 : lost_element);
        out += element_line(element);
    }

private:
    // Branches of saved versions, and those that they hang on.
    void find_needed_branches() {
        for (const version_record *version : verdict_.saved) {
            for (std::uint64_t number = version->id.branch; needed_.insert(number).second;) {
                number = tree_.branches.at(number).record->parent.branch;
            }
        }
        for (const std::uint64_t number : needed_) {
            if (number != 0) {
                points_.insert(tree_.branches.at(number).record->parent);
            }
        }
    }

    void add_version(const version_record &version) {
        const version_id id = version.id;
        const bool alive = verdict_.alive[position_of(tree_, id)];
        const bool kept = alive || owners_.contains(id) || points_.contains(id);
        if (kept && seen_.insert(id).second) {
            const bool good = is_writable(version.oid) && (alive || oids_[version.oid] == 1);
            lines_.push_back(
                {id,
                 false,
                 {},
                 version.line,
                 (alive ? "" : std::string(format::comment_prefix)) +
                     version_line(good ? version.oid : lost_identifier(id), id, version.time,
                                  good ? version.notes : std::string_view())});
        }
    }

    // The version's record is lost, its lines are needed.
    void add_lost_version(version_id id) {
        lines_.push_back(
            {id,
             false,
             {},
             0,
             std::string(format::comment_prefix) + version_line(lost_identifier(id), id, 0)});
    }

    void add_branch(std::uint64_t number) {
        const branch_record *record = tree_.branches.at(number).record;
        const version_id parent = record == nullptr || number == 0 ? version_id{} : record->parent;
        const bool good = record != nullptr && is_writable(record->oid);
        const std::string name =
            good ? std::string(record->oid) : "lost-branch-" + written_number(number);
        const bool same = good && record->parent == parent;
        lines_.push_back(
            {{number, 0},
             true,
             parent,
             record == nullptr ? 0 : record->line,
             branch_line(name, number, parent, same ? record->notes : std::string_view())});
    }

    std::uint64_t highest_branch() const {
        std::uint64_t highest = view_.highest_branch;
        for (const auto &[number, branch] : tree_.branches) {
            highest = std::max(highest, number);
        }
        return highest;
    }

    const container_view &view_;
    const version_tree &tree_;
    const repair_verdict &verdict_;
    std::set<version_id> owners_;
    std::set<std::uint64_t> needed_;
    std::set<version_id> points_;
    std::set<version_id> seen_;
    std::unordered_map<std::string_view, int> oids_;
    std::vector<header_line> lines_;
};

// That the new container, called `name`, is sound and has every saved version with its text.
result<> prove_repaired(const container_view &view, const repair_plan &plan,
                        const std::string &name, int descriptor) {
    const std::vector<const version_record *> &all_saved = plan.verdict.saved;
    const auto opened = open_container(descriptor, name, "the new container cannot be read");
    if (!opened) {
        return opened.failure();
    }
    const container_view &repaired = *opened;
    if (const auto faults = check_container(repaired, fingerprints_to_check(repaired), {}).faults;
        !faults.empty()) {
        failure why = damaged(repaired, faults.front().what);
        why.follows = "what could be saved does not make a sound container";
        return why;
    }
    if (repaired.element_oid != view.element_oid && repaired.element_oid != lost_element) {
        return refusal(view.name, "the element would be another one");
    }
    const std::unordered_set<const version_record *> saved(all_saved.begin(), all_saved.end());
    for (const version_record *version : all_saved) {
        const version_record *found = find_version(repaired, version->id);
        if (found == nullptr || found->deleted || found->time != version->time ||
            (found->oid != version->oid && found->oid != lost_identifier(version->id)) ||
            (found->oid == version->oid && found->notes != version->notes)) {
            return refusal(view.name, "a version that could be saved is missing");
        }
    }
    return compare_texts(
        view, plan.check.scan.tree,
        [&saved](const version_record &version) { return saved.contains(&version); }, repaired,
        [](const version_record &version) { return !version.deleted; });
}

}  // namespace

bool repair_verdict::worth_writing() const {
    return std::any_of(saved.begin(), saved.end(), [](const version_record *version) {
        return version->id != version_id{0, 0};
    });
}

std::string lost_identifier(version_id id) {
    return "lost-" + written_number(id.branch) + "-" + written_number(id.number);
}

repair_verdict judge_versions(const container_view &view, const container_check &check,
                              bool drop_stray) {
    repair_verdict verdict;
    verdict.alive.resize(check.in_doubt.size());
    const std::vector<damage> reasons = first_reasons(check, drop_stray);
    for (const version_record &version : view.versions) {
        const std::uint32_t position = position_of(check.scan.tree, version.id);
        if (is_trusted(check, version, drop_stray) && !verdict.alive[position]) {
            verdict.alive[position] = true;
            verdict.saved.push_back(&version);
            if (!is_writable(version.oid)) {
                verdict.renamed.push_back(version.id);
            }
        } else if (!version.deleted) {
            verdict.lost.push_back({version.id, reasons[position]});
        }
    }
    for (const auto &[id, records] : check.scan.unlisted) {
        verdict.lost.push_back({id, {0, "its record in the header is lost"}});
    }
    return verdict;
}

std::string repaired_container(const container_view &view, const container_check &check,
                               const repair_verdict &verdict) {
    const survivor_set survivors(verdict.alive);
    const rewrite_plan plan{[](std::string_view) { return true; }, true};
    const weave_rewrite weave(view, check.scan.tree, survivors, plan);
    std::string out;
    header_writer(view, check, verdict, weave.owners()).append_to(out);
    weave.write([&out](std::string_view piece) { out += piece; });
    return out;
}

bool repair_plan::saves_nothing() const {
    return !verdict.worth_writing() && !check.faults.empty();
}

repair_plan plan_repair(const container_view &view, bool drop_stray) {
    repair_plan plan;
    plan.check = check_container(view, fingerprints_to_check(view), {});
    plan.verdict = judge_versions(view, plan.check, drop_stray);
    return plan;
}

result<> write_repair(const container_view &view, const repair_plan &plan, file_replacement *output,
                      const std::function<result<>(result<> proven)> &last_look) {
    const std::string &name = output->file().name;
    if (auto begun = output->begin(); !begun) {
        return begun;
    }
    if (auto written = output->write(repaired_container(view, plan.check, plan.verdict));
        !written) {
        return written;
    }
    return output->commit(
        [&](int descriptor) { return last_look(prove_repaired(view, plan, name, descriptor)); });
}

}  // namespace norvik

// New containers, branches and versions.
//
// What the caller gives is judged before a file is touched; then a container that is to change
// stays locked until the call returns.
#include "change.h"

#include <ctime>

#include "checkin_decision.h"
#include "new_branch.h"
#include "random_digits.h"
#include "texts.h"
#include "version_names.h"
#include "version_store.h"

namespace norvik::face {
namespace {

constexpr std::uint32_t all_change_flags = norvik_break_links | norvik_force | norvik_dry_run;
constexpr double default_wait = 10.0;  // seconds

norvik_error *make_version(std::uint64_t time, new_version *out) {
    auto oid = random_digits();
    if (oid) {
        *out = {std::move(*oid), time_or_now(time)};
    }
    return error_of(oid);
}

std::unique_ptr<norvik_outcome> stored(const std::string &branch, std::uint64_t number,
                                       const new_version &fresh) {
    auto outcome = std::make_unique<norvik_outcome>();
    outcome->version = version_name(branch, number);
    outcome->oid = fresh.oid;
    return outcome;
}

norvik_error *create(const char *path, const norvik_create_options *given,
                     const norvik_change_options *change, norvik_outcome **out) {
    norvik_create_options chosen{};
    replace_options options;
    norvik_error *error = path == nullptr ? refuse("there is no path") : take(given, &chosen);
    error = error != nullptr ? error : take_change(change, &options);
    const std::string branch(chosen.branch == nullptr ? default_branch_name : chosen.branch);
    new_version fresh;
    if (error == nullptr) {
        error = error_of(check_new_branch_name(nullptr, branch));
    }
    error = error != nullptr ? error : make_version(chosen.time, &fresh);
    if (error != nullptr) {
        return error;
    }
    const auto element = random_digits();
    if (!element) {
        return make_error(element.failure());
    }
    file_replacement replacement(options);
    if (const auto locked = replacement.lock_output(path, true); !locked) {
        return make_error(locked.failure());
    }
    auto outcome = stored(branch, 0, fresh);
    const auto done = store_element(&replacement, *element, branch, fresh);
    return done ? give(std::move(outcome), out) : make_error(done.failure());
}

norvik_error *create_branch(const char *path, const char *name, const char *from,
                            std::uint64_t time, const norvik_change_options *change_options,
                            norvik_outcome **out) {
    replace_options options;
    new_version fresh;
    norvik_error *error = path == nullptr || name == nullptr || from == nullptr
                              ? refuse("there is no path, name or version")
                              : take_change(change_options, &options);
    error = error != nullptr ? error : make_version(time, &fresh);
    if (error != nullptr) {
        return error;
    }
    container_change change(options);
    error = error_of(change.open(path));
    error = error != nullptr ? error : error_of(check_new_branch_name(&change.old, name));
    if (error != nullptr) {
        return error;
    }
    const auto point = resolve_version(change.old, from);
    if (!point) {
        return make_error(point.failure());
    }
    auto outcome = stored(name, 0, fresh);
    const auto done = store_branch(&change, name, **point, fresh);
    return done ? give(std::move(outcome), out) : make_error(done.failure());
}

// One check-in, from its locked container on.
class checkin {
public:
    checkin(const norvik_checkin_options &chosen, const replace_options &options)
        : chosen_(chosen),
          name_(chosen.name == nullptr ? "text" : chosen.name),
          change_(options),
          outcome_(std::make_unique<norvik_outcome>()) {}

    norvik_error *run(const char *path, std::string_view text) {
        norvik_error *error = make_version(chosen_.time, &fresh_);
        error = error != nullptr ? error : error_of(change_.open(path));
        error = error != nullptr ? error : decide(text);
        if (error != nullptr) {
            return error;
        }
        switch (decided_.answer) {
            case checkin_answer::store:
                return store(decided_.merged ? outcome_->merge->text() : text);
            case checkin_answer::same:
                return answer(norvik_answer_same, decided_.found.newest->id);
            case checkin_answer::outdated:
                for (const version_record *version : came_since(change_.old, decided_.found)) {
                    outcome_->since.push_back(version_name(change_.old, version->id));
                }
                return answer(norvik_answer_outdated, decided_.found.newest->id);
            case checkin_answer::conflict:
                break;
        }
        return answer(norvik_answer_conflict, decided_.found.newest->id);
    }

    std::unique_ptr<norvik_outcome> take_outcome() { return std::move(outcome_); }

private:
    bool allows_same() const { return (chosen_.flags & norvik_allow_same) != 0; }

    norvik_error *decide(std::string_view text) {
        const bool merges = (chosen_.flags & norvik_merge_newest) != 0;
        const checkin_request request{
            {std::string(view_of(chosen_.branch)), std::string(view_of(chosen_.from))},
            {std::string(view_of(chosen_.base)), {}, merges, name_},
            allows_same()};
        auto merge = std::make_unique<norvik_merge>();
        auto decided = decide_checkin(change_.old, request, text, {}, merge.get());
        if (!decided) {
            return make_error(decided.failure());
        }
        decided_ = std::move(*decided);
        if (decided_.merged) {
            describe(merge.get());
            outcome_->merge = std::move(merge);
        }
        return nullptr;
    }

    norvik_error *answer(norvik_answer what, version_id about) {
        outcome_->answer = what;
        outcome_->version = version_name(change_.old, about);
        outcome_->oid = find_version(change_.old, about)->oid;
        return nullptr;
    }

    norvik_error *store(std::string_view text) {
        const checkin_plan &plan = decided_.plan;
        outcome_->version = version_name(plan.branch, plan.id.number);
        outcome_->oid = fresh_.oid;
        const auto stored = store_version(&change_, plan, fresh_, {text, name_}, allows_same());
        if (!stored) {
            return make_error(stored.failure());
        }
        return *stored ? nullptr : answer(norvik_answer_same, plan.predecessor);
    }

    const norvik_checkin_options &chosen_;
    std::string name_;
    container_change change_;
    std::unique_ptr<norvik_outcome> outcome_;
    new_version fresh_;
    checkin_decision decided_;
};

norvik_error *check_in(const char *path, norvik_text text, const norvik_checkin_options *given,
                       const norvik_change_options *change, norvik_outcome **out) {
    norvik_checkin_options chosen{};
    replace_options options;
    norvik_error *error = path == nullptr ? refuse("there is no path") : take(given, &chosen);
    error = error != nullptr ? error : take_change(change, &options);
    if (error != nullptr) {
        return error;
    }
    if ((chosen.flags & ~std::uint32_t{norvik_allow_same | norvik_merge_newest}) != 0 ||
        (chosen.from != nullptr && chosen.branch == nullptr)) {
        return refuse("unknown flags of a check-in, or a new branch without a name");
    }
    const char *const name = chosen.name == nullptr ? "text" : chosen.name;
    error = refuse_no_text(text, name, true);
    if (error != nullptr) {
        return error;
    }
    checkin work(chosen, options);
    error = work.run(path, view_of(text));
    return error != nullptr ? error : give(work.take_outcome(), out);
}

}  // namespace

norvik_error *take_change(const norvik_change_options *given, replace_options *out) {
    norvik_change_options chosen{};
    if (norvik_error *error = take(given, &chosen); error != nullptr) {
        return error;
    }
    if ((chosen.flags & ~all_change_flags) != 0) {
        return refuse("unknown flags of a change");
    }
    out->lock_timeout = chosen.lock_wait == 0  ? default_wait
                        : chosen.lock_wait < 0 ? 0
                                               : chosen.lock_wait / 1000.0;
    out->waits_in_queue = false;
    out->break_links = (chosen.flags & norvik_break_links) != 0;
    out->force = (chosen.flags & norvik_force) != 0;
    out->dry_run = (chosen.flags & norvik_dry_run) != 0;
    out->quiet = chosen.notice == nullptr;
    if (chosen.notice != nullptr) {
        out->tell = [notice = chosen.notice, user = chosen.user](const failure &what) {
            norvik_error *const said = make_error(what);
            notice(user, said);
            norvik_error_free(said);
        };
    }
    return nullptr;
}

std::uint64_t time_or_now(std::uint64_t time) {
    return time != 0 ? time : static_cast<std::uint64_t>(std::time(nullptr));
}

norvik_error *give(std::unique_ptr<norvik_outcome> outcome, norvik_outcome **out) {
    if (out != nullptr) {
        *out = outcome.release();
    }
    return nullptr;
}

}  // namespace norvik::face

using namespace norvik;

norvik_error *norvik_create(const char *path, const norvik_create_options *options,
                            const norvik_change_options *change, norvik_outcome **out) {
    return face::changing(out, [&] { return face::create(path, options, change, out); });
}

norvik_error *norvik_checkin(const char *path, norvik_text text,
                             const norvik_checkin_options *options,
                             const norvik_change_options *change, norvik_outcome **out) {
    return face::giving(out, [&] { return face::check_in(path, text, options, change, out); });
}

norvik_error *norvik_create_branch(const char *path, const char *name, const char *from,
                                   std::uint64_t time, const norvik_change_options *change,
                                   norvik_outcome **out) {
    return face::changing(out,
                          [&] { return face::create_branch(path, name, from, time, change, out); });
}

// Two locks, with the plan made under the first and carried out under the second: in between the
// file may have changed, which the second look compares byte for byte. Memory for the new
// container, whole.
#include "container_plan.h"

#include <algorithm>

#include "file_state.h"
#include "version_names.h"

namespace norvik {

namespace {

result<> create_memory(container_plan *plan) {
    const std::error_code error = plan->bytes.create(plan->before.name);
    return error ? result<>(
                       system_failure(plan->before.name, "no memory for the new container", error))
                 : result<>();
}

result<container_check> begin_plan(container_change *change, container_plan *plan) {
    plan->before = std::move(change->old);
    plan->found = change->replacement.file().status;
    auto check = require_soundness(plan->before);
    const auto created = check ? create_memory(plan) : result<>();
    return created ? std::move(check) : created.failure();
}

bool is_named(const container_view &view, const version_record &version, const std::string &text) {
    return version_name(view, version.id) == text || version.oid == text;
}

// The deleted versions that are still in the file and that `text` names or, when it names none, is
// the beginning of whose identifiers.
std::vector<const version_record *> find_deleted(const container_view &view,
                                                 const std::string &text) {
    std::vector<const version_record *> found;
    for (const version_record &version : view.versions) {
        if (version.deleted && is_named(view, version, text)) {
            return {&version};
        }
        if (version.deleted && text.size() >= shortest_prefix && version.oid.starts_with(text)) {
            found.push_back(&version);
        }
    }
    return found;
}

// A live version by its name or its branch's comes first, then a deleted one by its name; what is
// the beginning of several identifiers names nothing.
result<> find_version_to_purge(const std::string &text, purge_plan *plan) {
    const container_view &view = plan->before;
    const auto live = find_versions_by_prefix(view, text);
    const auto deleted = find_deleted(view, text);
    const auto named = resolve_version(view, text);
    const version_record *resolved = named ? *named : nullptr;
    const bool by_prefix = std::find(live.begin(), live.end(), resolved) != live.end() &&
                           !is_named(view, *resolved, text);
    const bool has_deleted = !deleted.empty() && (resolved == nullptr || by_prefix);
    if (has_deleted && !is_named(view, *deleted.front(), text) &&
        live.size() + deleted.size() > 1) {
        return refusal(view.name,
                       "several versions begin with " + text + ", deleted ones among them");
    }
    if (has_deleted) {
        plan->version = deleted.front()->id;
        return {};
    }
    auto request = resolve_deletion(view, {text}, {});
    if (!request) {
        return request.failure();
    }
    plan->request = std::move(*request);
    plan->version = *plan->request.versions.begin();
    return {};
}

}  // namespace

result<> plan_deletion(container_change *change, const std::vector<std::string> &versions,
                       const std::vector<std::string> &branches, container_plan *plan) {
    const auto check = begin_plan(change, plan);
    if (!check) {
        return check.failure();
    }
    auto request = resolve_deletion(plan->before, versions, branches);
    if (!request) {
        return request.failure();
    }
    plan->request = std::move(*request);
    if (auto sums = require_sums(plan->before, *check, plan->request); !sums) {
        return sums;
    }
    if (auto done = delete_into(plan->before, change->replacement.old_path(), plan->request,
                                plan->bytes.path());
        !done) {
        return done;
    }
    auto after = open_container(plan->bytes.descriptor(), plan->before.name,
                                "the new container cannot be read");
    if (!after) {
        return after.failure();
    }
    plan->after = std::move(*after);
    return prove_survivors(plan->before, plan->after, plan->request);
}

result<> plan_purge(container_change *change, const std::string &version, purge_plan *plan) {
    const auto check = begin_plan(change, plan);
    if (!check) {
        return check.failure();
    }
    if (auto found = find_version_to_purge(version, plan); !found) {
        return found;
    }
    if (auto sums = require_sums(plan->before, *check, plan->request); !sums) {
        return sums;
    }
    return purge_into(plan->before, change->replacement.old_path(), plan->version, plan->request,
                      plan->bytes.descriptor(), &plan->after, &plan->lines);
}

result<> open_as_planned(const std::string &name, const container_plan &plan,
                         container_change *change) {
    if (auto opened = change->open(name); !opened) {
        return opened;
    }
    // A mapping of a file that was written to in place is no picture of it as it was.
    if (!is_same_state(change->replacement.file().status, plan.found) ||
        change->old.bytes.view() != plan.before.bytes.view()) {
        failure why = refusal(name, "was changed by somebody else meanwhile");
        why.kind = failure_kind::changed;
        return why;
    }
    return {};
}

result<> carry_out(const container_plan &plan, file_replacement *replacement) {
    if (auto begun = replacement->begin(); !begun) {
        return begun;
    }
    const std::string_view bytes = plan.after.bytes.view();
    if (auto written = replacement->write(bytes); !written) {
        return written;
    }
    return replacement->commit([&](int descriptor) -> result<> {
        // What the bytes say was proven with the plan; they only have to be the same.
        file_bytes written;
        if (const std::error_code error = written.load(descriptor)) {
            return system_failure(plan.before.name, "the new container cannot be read", error);
        }
        return written.view() == bytes
                   ? result<>()
                   : refusal(plan.before.name,
                             "the new container does not read back as written; nothing is changed");
    });
}

}  // namespace norvik

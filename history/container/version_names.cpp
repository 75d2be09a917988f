// One form after the other is tried, the surest first. Each costs a pass over the header's records
// at most.
#include "version_names.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "time_text.h"

namespace norvik {
namespace {

using named_version = result<const version_record *>;

named_version newest_of(const container_view &view, const branch_record &branch) {
    const version_record *newest = newest_version(view, branch.number);
    if (newest == nullptr) {
        return refusal(view.name, "branch " + std::string(branch.oid) + " has no versions");
    }
    return newest;
}

// `BRANCH@N`, deleted versions included; split at the last @, since a branch's name may hold one.
const version_record *version_by_name(const container_view &view, std::string_view text) {
    const std::size_t at = text.rfind('@');
    if (at == std::string_view::npos || at + 1 == text.size()) {
        return nullptr;
    }
    std::uint64_t number = 0;
    const char *last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + at + 1, last, number);
    const branch_record *branch = find_branch(view, text.substr(0, at));
    if (error != std::errc{} || end != last || branch == nullptr) {
        return nullptr;
    }
    return find_version(view, {branch->number, number});
}

// The living versions of a branch, the highest number first.
std::vector<const version_record *> versions_of(const container_view &view, std::uint64_t branch) {
    std::vector<const version_record *> found;
    for (const version_record &version : view.versions) {
        if (!version.deleted && version.id.branch == branch) {
            found.push_back(&version);
        }
    }
    std::sort(found.begin(), found.end(), [](const version_record *a, const version_record *b) {
        return a->id.number > b->id.number;
    });
    return found;
}

named_version step_back(const container_view &view, const version_record &from,
                        std::uint64_t steps) {
    const auto all = versions_of(view, from.id.branch);
    const auto at =
        static_cast<std::size_t>(std::find(all.begin(), all.end(), &from) - all.begin());
    if (steps < all.size() - at) {
        return all[at + steps];
    }
    return refusal(view.name, "there are only " + std::to_string(all.size() - at - 1) +
                                  " versions before " + version_name(view, from.id) +
                                  " on its branch");
}

named_version version_at(const container_view &view, std::uint64_t branch, std::uint64_t time) {
    for (const version_record *version : versions_of(view, branch)) {
        if (version->time <= time) {
            return version;
        }
    }
    return refusal(view.name, "branch " + branch_name(view, branch) + " has no version as old as " +
                                  time_text(time));
}

// A name that is taken apart; nothing when it is none of these forms.
std::optional<named_version> relative_version(const container_view &view, std::string_view text) {
    const std::size_t brace = text.rfind("@{");
    if (text.ends_with('}') && brace != text.npos) {
        std::uint64_t time = 0;
        const std::string_view when = text.substr(brace + 2, text.size() - brace - 3);
        if (!parse_time(when, time)) {
            return refusal(view.name, "'" + std::string(when) +
                                          "' is no time: give @SECONDS since "
                                          "1970 or 2024-05-01T12:30:00Z (or +02:00)");
        }
        const auto from = resolve_version(view, text.substr(0, brace));
        return from ? version_at(view, (*from)->id.branch, time) : from;
    }
    const std::size_t tilde = text.rfind('~');
    if (tilde == text.npos) {
        return std::nullopt;
    }
    std::uint64_t steps = 1;
    const char *const last = text.data() + text.size();
    const char *const first = text.data() + tilde + 1;
    const auto [end, error] = std::from_chars(first, last, steps);
    if (first != last && (error != std::errc{} || end != last)) {
        return std::nullopt;
    }
    const auto from = resolve_version(view, text.substr(0, tilde));
    return from ? step_back(view, **from, steps) : from;
}

}  // namespace

std::vector<const version_record *> find_versions_by_prefix(const container_view &view,
                                                            std::string_view prefix) {
    std::vector<const version_record *> found;
    if (prefix.size() < shortest_prefix) {
        return found;
    }
    for (const version_record &version : view.versions) {
        if (!version.deleted && version.oid.starts_with(prefix)) {
            found.push_back(&version);
        }
    }
    return found;
}

result<const version_record *> resolve_version(const container_view &view, std::string_view text) {
    if (text.empty()) {
        const auto branch = default_branch(view);
        return branch ? newest_of(view, **branch) : branch.failure();
    }
    const version_record *named = version_by_name(view, text);
    if (named != nullptr && !named->deleted) {
        return named;
    }
    if (const branch_record *branch = find_branch(view, text)) {
        return newest_of(view, *branch);
    }
    if (const version_record *exact = find_version_by_oid(view, text)) {
        return exact;
    }
    if (auto relative = relative_version(view, text)) {
        return std::move(*relative);
    }
    const auto matches = find_versions_by_prefix(view, text);
    if (matches.size() == 1) {
        return matches.front();
    }
    const std::string shown(text);
    if (!matches.empty()) {
        return refusal(view.name, "several versions begin with " + shown);
    }
    std::string reason =
        named != nullptr ? "version " + shown + " is deleted" : "there is no version " + shown;
    if (text.size() < shortest_prefix && text.find('@') == text.npos) {
        reason += " (the beginning of an identifier has " + std::to_string(shortest_prefix) +
                  " characters at least)";
    }
    return refusal(view.name, reason);
}

}  // namespace norvik

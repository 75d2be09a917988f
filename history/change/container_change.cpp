#include "container_change.h"
#include "failure_words.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "container_limits.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "output.h"
#include "random_digits.h"
#include "structure.h"

namespace norvik {

namespace {

bool breaks_an_oid(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value <= ' ' || value == 0x7f || byte == '@';
}

}  // namespace

int check_structure(const container_view &view) {
    const std::optional<damage> found = scan_structure(view);
    return found ? tell(damaged(view, *found)) : int{status_done};
}

const version_record *require_version(const container_view &view, std::string_view text) {
    const auto version = resolve_version(view, text);
    if (!version) {
        (void)tell(version.failure());
        return nullptr;
    }
    return *version;
}

const branch_record *require_branch(const container_view &view, std::string_view name) {
    const branch_record *branch = find_branch(view, name);
    if (branch == nullptr) {
        say_of_file(view.name, "has no branch " + escape_name(name));
    }
    return branch;
}

int check_new_branch_name(const container_view *view, const std::string &name) {
    constexpr size_t longest_name = format::longest_written_oid;
    const std::string shown = "branch name '" + escape_name(name) + "' ";
    if (name.empty() || name.size() > longest_name) {
        say("%shas %zu bytes; 1 to %zu are allowed", shown.c_str(), name.size(), longest_name);
        return status_trouble;
    }
    if (std::any_of(name.begin(), name.end(), breaks_an_oid)) {
        say("%sholds a blank, a control byte or an '@'", shown.c_str());
        return status_trouble;
    }
    const bool identifies = view != nullptr && (find_version_by_oid(*view, name) != nullptr ||
                                                view->element_oid == name);
    if (identifies || is_random_digits(name)) {
        say("%slooks like an identifier", shown.c_str());
        return status_trouble;
    }
    if (view != nullptr && find_branch(*view, name) != nullptr) {
        say_of_file(view->name, "branch " + escape_name(name) + " exists already");
        return status_trouble;
    }
    return status_done;
}

int new_branch_number(const container_view &view, uint64_t *number) {
    const std::optional<uint64_t> next = next_branch_number(view);
    if (!next) {
        say_of_file(view.name, "no number is left for a new branch (see 'tdm verify')");
        return status_trouble;
    }
    *number = *next;
    return status_done;
}

done_report report_of_versions(const std::string &branch, uint64_t first, uint64_t last) {
    const auto name = [&branch](uint64_t number) { return branch + "@" + std::to_string(number); };
    done_report report;
    for (uint64_t number = first; number <= last; number++) {
        report.words += name(number) + "\n";
    }
    report.done = escape_name(name(first)) +
                  (first == last ? "" : " to " + escape_name(name(last))) +
                  (first == last ? " is stored" : " are stored");
    return report;
}

void tell_versions(const command_context &context, done_report &&report) {
    if (context.quiet) {
        return;
    }
    if (!context.dry_run) {
        tell_done(std::move(report));
        return;
    }
    for (std::string_view rest = report.words; !rest.empty();) {
        const std::string_view name = rest.substr(0, rest.find('\n'));
        say("%s would be the new version", escape_name(name).c_str());
        rest.remove_prefix(name.size() + 1);
    }
}

int container_change::open(const std::string &name) {
    int status = told(replacement.lock(name));
    if (status != status_done) {
        return status;
    }
    status = told(open_container(replacement.file().descriptor.get(), name), &old);
    if (status != status_done) {
        return status;
    }
    status = check_structure(old);
    if (status != status_done) {
        say_of_file(name, "is damaged; nothing is built on it");
    }
    return status;
}

void container_change::stores(const granted_rights &rights) {
    replacement.made_from(rights);
    if (old.bytes.view().size() == old.weave_offset) {
        replacement.narrow_to("its first text");
    }
}

}  // namespace norvik

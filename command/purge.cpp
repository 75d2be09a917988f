// tdm purge: removes a version and every line that it alone has brought.
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "confirm.h"
#include "container_change.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "memory_file.h"
#include "output.h"
#include "purge.h"

namespace norvik {

namespace {

struct purge_options {
    std::string container;
    std::string version;
    bool dry_run = false;
    bool yes = false;
};

std::string lines_text(uint64_t count) {
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

bool is_named(const container_view &view, const version_record &version, const std::string &text) {
    return version_name(view, version.id) == text || version.oid == text;
}

// The deleted versions that are still in the file and that `text` names or, when it names none, is
// the beginning of whose identifiers.
std::vector<const version_record *> find_deleted(const container_view &view,
                                                 const std::string &text) {
    constexpr std::size_t shortest_prefix = 4;
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
int find_version_to_purge(const container_view &view, const std::string &text, version_id *id,
                          deletion_request *request) {
    const auto live = find_versions_by_prefix(view, text);
    const auto deleted = find_deleted(view, text);
    const auto named = resolve_version(view, text);
    const version_record *resolved = named ? *named : nullptr;
    const bool by_prefix = std::find(live.begin(), live.end(), resolved) != live.end() &&
                           !is_named(view, *resolved, text);
    const bool has_deleted = !deleted.empty() && (resolved == nullptr || by_prefix);
    if (has_deleted && is_named(view, *deleted.front(), text)) {
        *id = deleted.front()->id;
        return status_done;
    }
    if (has_deleted && live.size() + deleted.size() > 1) {
        say_of_file(view.name, "several versions begin with " + escape_name(text) +
                                   ", deleted ones among them");
        return status_trouble;
    }
    if (has_deleted) {
        *id = deleted.front()->id;
        return status_done;
    }
    const int status = resolve_deletion(view, {text}, {}, request);
    if (status == status_done) {
        *id = *request->versions.begin();
    }
    return status;
}

using sentences = std::vector<std::string>;

void list(const container_view &view, const kept_lines &lines, sentences *out) {
    for (const kept_line &line : lines.first) {
        std::string names;
        for (const version_id id : line.holders) {
            names += (names.empty() ? "" : ", ") + escape_name(version_name(view, id));
        }
        if (line.holder_count > line.holders.size()) {
            names += " and " + std::to_string(line.holder_count - line.holders.size()) + " more";
        }
        out->push_back("  " + names + ": " + escape_text(line.text));
    }
    if (lines.count > lines.first.size()) {
        out->push_back("  and " + lines_text(lines.count - lines.first.size()) + " more");
    }
}

sentences describe(const container_view &before, const container_view &after,
                   const deletion_request &request, version_id id, const purge_result &result,
                   telling mood) {
    const bool done = mood == telling::done;
    const std::string name = escape_name(version_name(before, id));
    sentences out;
    for (const std::string &sentence : describe_deletion(before, after, request, mood)) {
        if (!sentence.starts_with(name + ":")) {
            out.push_back(sentence);
        }
    }
    const uint64_t gone = result.inserted - result.held.count;
    out.push_back(name + (done ? ": deleted; of " : ": would be deleted; of ") +
                  lines_text(result.inserted) + " that it inserted " + std::to_string(gone) +
                  (!done       ? " would be"
                   : gone == 1 ? " is"
                               : " are") +
                  " gone from the file");
    const std::string would = done ? "" : "would be ";
    if (result.held.count != 0) {
        out.push_back(std::string(done ? "not" : "would not be") +
                      " purged, because these versions hold them:");
        list(before, result.held, &out);
    }
    if (result.copies.count != 0) {
        out.push_back(would + "purged, but these versions have lines of the same text:");
        list(before, result.copies, &out);
    }
    return out;
}

struct purge_work {
    const command_context &context;
    const purge_options &options;
    const container_change &change;
    version_id id;
    deletion_request request;

    // Purges into an open file, and says what would come out and asks where that is wanted;
    // `report` is for the time when it is done.
    int write_to(int descriptor, done_report *report) const {
        container_view after;
        purge_result result;
        if (purge_into(change.old, change.replacement.old_path(), id, request, descriptor, &after,
                       &result) != status_done) {
            return status_trouble;
        }
        if (result.inserted != 0 && result.inserted == result.held.count) {
            say_of_file(change.old.name, "nothing can be purged, surviving versions hold " +
                                             lines_text(result.inserted) + " that " +
                                             escape_name(version_name(change.old, id)) +
                                             " inserted; nothing is changed");
            sentences holders;
            list(change.old, result.held, &holders);
            tell_plan(holders);
            return status_negative;
        }
        const auto in = [&](telling mood) {
            return describe(change.old, after, request, id, result, mood);
        };
        *report = report_of_change(change.old.name, "the purge", in(telling::done));
        if (options.dry_run || !options.yes || !context.quiet) {
            tell_plan(in(telling::planned));
        }
        return options.dry_run || options.yes
                   ? int{status_done}
                   : confirm(context, "Purge " + version_name(change.old, id) + "?");
    }
};

int run_purge(const command_context &context, const purge_options &options) {
    container_change change(context);
    purge_work work{context, options, change, {}, {}};
    if (change.open(options.container) != status_done ||
        require_soundness(change.old) != status_done ||
        find_version_to_purge(change.old, options.version, &work.id, &work.request) !=
            status_done) {
        return status_trouble;
    }
    done_report report;
    if (options.dry_run) {
        memory_file memory;
        const std::error_code error = memory.create(change.old.name);
        return !error ? work.write_to(memory.descriptor(), &report)
                      : say_errno(options.container, "no memory for the purge", error);
    }
    if (told(change.replacement.begin()) != status_done) {
        return status_trouble;
    }
    int status = work.write_to(change.replacement.temporary_descriptor(), &report);
    if (status == status_done) {
        status = told(change.replacement.commit({}));
    }
    if (status == status_done && !context.quiet) {
        tell_done(std::move(report));
    }
    return status;
}

}  // namespace

void register_purge(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<purge_options>();
    command.take("CONTAINER", options->container, "The container to change");
    command.take("VERSION", options->version,
                 "The version that brought the secret; one that is deleted already will do");
    command.flag("--dry-run", options->dry_run, "Say what would be done; write nothing");
    command.flag("--yes", options->yes, "Do not ask");
    add_replace_options(command, context, "Go on when the file's owner or group cannot be kept");
    command.details =
        "Deletes VERSION and takes every line out of the file that it inserted and no surviving\n"
        "version holds, and copies of these lines in other deleted versions. Lines that\n"
        "surviving versions hold are listed with them and stay: delete those versions first.\n"
        "Before the container is replaced, every surviving version is compared byte for byte,\n"
        "and the new file is searched for the lines that went. Backups and copies of the old\n"
        "container still have them.";
    command.exit_codes =
        "0 purged; 1 nothing can be purged, or the answer was no; 2 wrong usage or trouble.";
    command.examples = {"tdm purge notes.tdm main@3 --dry-run", "tdm purge notes.tdm main@3 --yes"};
    command.run = [&context, options] { return run_purge(context, *options); };
}

}  // namespace norvik

// tdm checkin: the next version of a branch.
//
// The file is read first, with its mark; then the container is locked, and the place of the new
// version and its base are found. A text that was made from an older version is refused or merged.
// Where something is stored, the container is replaced first, and the file marked or updated then.

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "change_words.h"
#include "checkin_decision.h"
#include "checkin_options.h"
#include "command_context.h"
#include "command_declaration.h"
#include "container_change.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "merge_words.h"
#include "output.h"
#include "random_digits.h"
#include "time_text.h"
#include "version_store.h"
#include "working_file.h"

namespace norvik {

namespace {

constexpr std::size_t most_told = 10;  // versions that came since

struct checkin_operands {
    std::string container;
    std::string file;
    checkin_options stored;
    base_options base;
};

struct checkin_run {
    checkin_run(const command_context &frame, const checkin_operands &chosen)
        : context(frame), options(chosen), change(frame), file(frame) {}

    const command_context &context;
    const checkin_operands &options;
    container_change change;
    working_file file;
    checkin_decision decided;
    checkin_merge merge;
    std::string oid;  // the new version's
    std::uint64_t time = 0;
};

exit_status nothing_to_store(const container_change &change, version_id same) {
    say_of_file(change.old.name, "nothing to store: the text is that of " +
                                     escape_name(version_name(change.old, same)) +
                                     " (--allow-same stores it all the same)");
    return status_negative;
}

// Stores `text` as the next version, up to telling its name.
exit_status store_text(checkin_run &run, std::string_view text) {
    run.change.stores(run.file.input().rights());
    done_report report = report_of_versions(run.decided.plan.branch, run.decided.plan.id.number,
                                            run.decided.plan.id.number);
    const auto stored =
        store_version(&run.change, run.decided.plan, {run.oid, run.time, run.options.stored.plain},
                      {text, run.options.file}, run.options.stored.allow_same);
    if (!stored) {
        const exit_status status = tell(stored.failure());
        if (stored.failure().line != 0) {
            say_of_file(run.change.old.name, "nothing is checked in");
        }
        return status;
    }
    if (!*stored) {
        return nothing_to_store(run.change, run.decided.plan.predecessor);
    }
    tell_versions(run.context, std::move(report));
    return status_done;
}

// Stores the file's own text. A file that equals the newest version is as good as made from it.
exit_status store_file(checkin_run &run) {
    const std::size_t conflict = find_conflict(run.file.input().text());
    const exit_status status = store_text(run, run.file.input().text());
    if (status == status_done) {
        run.file.set_base(run.oid);
        if (conflict != 0 && !run.context.quiet) {
            say_of_line(run.file.name(), conflict,
                        std::string("a conflict between markers ") +
                            (run.context.dry_run ? "would be" : "is") + " stored with the text");
        }
    } else if (status == status_negative && run.decided.found.newest != nullptr &&
               run.decided.found.newest->id == run.decided.plan.predecessor) {
        run.file.set_base(run.decided.found.newest->oid);
    }
    return status;
}

// Leaves the conflicts in the file, which is then made from the newest version, or tells them.
exit_status refuse_conflicts(checkin_run &run) {
    const bool update = run.options.base.update;
    say_conflicts(run.merge.run, run.merge.options, update ? run.file.name() : "<merged>");
    if (!update) {
        say_of_file(run.file.name(),
                    run.options.file == "-"
                        ? "nothing is stored"
                        : "nothing is stored (--update leaves the conflicts in it)");
        return status_negative;
    }
    const std::string newest(run.decided.found.newest->oid);
    if (run.file.prepare(run.merge.text(), newest, run.change.old.rights) != status_done ||
        run.file.replace() != status_done) {
        return status_trouble;
    }
    say_of_file(run.file.name(), run.context.dry_run
                                     ? "would get the conflicts between markers; nothing is stored"
                                     : "has the conflicts between markers; nothing is stored");
    return status_negative;
}

// Says what a merge has made of the file, where nothing else does; standard input is none.
void tell_of_file(const checkin_run &run, bool replaced, bool same_as_newest) {
    const bool dry = run.context.dry_run;
    if (run.context.quiet || run.options.file == "-") {
        return;
    }
    if (!replaced) {
        say_of_file(run.file.name(), std::string(dry ? "would keep" : "keeps") +
                                         " its own text, without what came since (--update)");
    } else if (same_as_newest && !dry) {
        say_of_file(run.file.name(),
                    "is updated to the text of " +
                        escape_name(version_name(run.change.old, run.decided.found.newest->id)));
    }
}

// With what others have stored. The container is replaced first: should the file then not be, its
// text is in the new version all the same, and the next merge finds that. The other way round a
// merged text could be in no version. Whatever can refuse the file's replacement is tried before
// anything is stored.
exit_status store_merged(checkin_run &run) {
    if (!run.context.quiet) {
        say_of_file(run.file.name(),
                    (run.context.dry_run ? "would be merged with " : "is merged with ") +
                        escape_name(version_name(run.change.old, run.decided.found.newest->id)));
    }
    const std::string &text = run.merge.text();
    const bool same_as_file = text == run.file.input().text();
    const bool replaces = run.options.base.update && !same_as_file;
    const version_record &newest = *run.decided.found.newest;
    const bool same_as_newest = run.decided.answer == checkin_answer::same;
    const std::string base(same_as_newest ? newest.oid : std::string_view(run.oid));
    if (replaces && run.file.prepare(text, base, run.change.old.rights) != status_done) {
        return status_trouble;
    }
    const exit_status status =
        same_as_newest ? nothing_to_store(run.change, newest.id) : store_text(run, text);
    if (status == status_trouble) {
        return status;
    }
    if (same_as_file) {
        run.file.set_base(base);
        return status;
    }
    if (replaces && run.file.replace() != status_done) {
        const std::string name = version_name(run.decided.plan.branch, run.decided.plan.id.number);
        say_of_file(
            run.file.name(),
            "is not updated" + (same_as_newest ? "" : ", but " + escape_name(name) + " is stored"));
        return status_trouble;
    }
    tell_of_file(run, replaces, same_as_newest);
    return status;
}

// Says what has come since, and what may be done.
exit_status refuse_outdated(const container_view &view, const checkin_base &found,
                            const std::string &file) {
    const auto shown = [&view](const version_record *version) {
        return escape_name(version_name(view, version->id));
    };
    say_of_file(file, "was made from " + shown(found.base) + ", not from " + shown(found.newest) +
                          "; nothing is stored");
    const std::vector<const version_record *> since = came_since(view, found);
    if (!since.empty()) {
        say("%zu %s came since:", since.size(), since.size() == 1 ? "version" : "versions");
    }
    for (std::size_t i = 0; i < std::min(since.size(), most_told); i++) {
        say("  %s  %s", shown(since[i]).c_str(), time_text(since[i]->time).c_str());
    }
    if (since.size() > most_told) {
        say("  and %zu more", since.size() - most_told);
    }
    say("--merge stores both together, --no-base stores FILE all the same");
    return status_negative;
}

// The file holds what the newest version does, though others have stored since it was made.
exit_status leave_same(checkin_run &run) {
    const version_record &newest = *run.decided.found.newest;
    const exit_status status = nothing_to_store(run.change, newest.id);
    run.file.set_base(newest.oid);
    return status;
}

exit_status decide(checkin_run &run) {
    const base_options &base = run.options.base;
    const checkin_request request{
        run.options.stored.target,
        {base.base, base.no_base ? std::string() : run.file.base(), base.merge, run.file.name()},
        run.options.stored.allow_same};
    run.merge.options.markers.on_one_line = escape_name;
    const auto tell_notice = [](const failure &notice) { (void)tell(notice); };
    return told(
        decide_checkin(run.change.old, request, run.file.input().text(), tell_notice, &run.merge),
        &run.decided);
}

exit_status carry_out(checkin_run &run) {
    switch (run.decided.answer) {
        case checkin_answer::store:
            return run.decided.merged ? store_merged(run) : store_file(run);
        case checkin_answer::same:
            return run.decided.merged ? store_merged(run) : leave_same(run);
        case checkin_answer::outdated:
            return refuse_outdated(run.change.old, run.decided.found, run.file.name());
        case checkin_answer::conflict:
            break;
    }
    return refuse_conflicts(run);
}

exit_status run_checkin(const command_context &context, const checkin_operands &options) {
    checkin_run run(context, options);
    if (options.base.check_usage(options.file) != status_done ||
        options.stored.time.get(run.time) != status_done ||
        run.file.read(options.file) != status_done ||
        told(random_digits(), &run.oid) != status_done ||
        told(run.change.open(options.container)) != status_done ||
        (options.file != "-" &&
         told(run.change.replacement.refuse_same(options.file)) != status_done) ||
        decide(run) != status_done) {
        return status_trouble;
    }
    return carry_out(run);
}

}  // namespace

void register_checkin(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<checkin_operands>();
    command.take("CONTAINER", options->container, "The container to change");
    command.take("FILE", options->file, "The new version's text; - is standard input");
    options->base.declare(command);
    options->stored.declare(command, context);
    command.details =
        "FILE, when 'tdm checkout -o' or an earlier check-in has left it, names in its extended\n"
        "attribute user.tdm.base the version that it was made from, and that is --base where the\n"
        "option is not given: what others have stored since is then told, with exit code 1, and\n"
        "not undone. This is a help and no lock: not every file system keeps the attribute, and "
        "an\n"
        "editor that writes a new file drops it. A new branch (--from) needs a FILE that was made\n"
        "from the version it starts off. After conflicts FILE, with --update, holds them between\n"
        "markers and counts as made from the newest version: resolve them and check it in.\n"
        "\n"
        "Prints the name of the new version. The new container is compared with the old one\n"
        "and with FILE before it takes the old one's place; killed at any moment, the command\n"
        "leaves the old container or the new one, whole.";
    command.exit_codes =
        "0 stored; 1 nothing to store, or not stored: the base is not the newest version, or its\n"
        "merge has conflicts; 2 wrong usage or trouble, nothing is changed unless it says so.";
    command.examples = {"tdm checkin notes.tdm notes.txt",
                        "tdm checkin notes.tdm notes.txt --merge --update",
                        "tdm checkin notes.tdm draft.txt --branch draft --from main@3"};
    command.run = [&context, options] { return run_checkin(context, *options); };
}

}  // namespace norvik

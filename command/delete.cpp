// tdm delete: removes versions and whole branches.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "confirm.h"
#include "container_change.h"
#include "deletion.h"
#include "failure_words.h"
#include "memory_file.h"
#include "output.h"
#include "usage_error.h"

namespace norvik {

namespace {

struct delete_options {
    std::string container;
    std::vector<std::string> versions;
    std::vector<std::string> branches;
    bool dry_run = false;
    bool yes = false;
};

// Deletes in memory, so that nothing is written beside the container.
int rehearse(const container_change &change, const deletion_request &request) {
    memory_file memory;
    if (const std::error_code error = memory.create(change.old.name); error) {
        return say_errno(change.old.name, "no memory for the new container", error);
    }
    const int status =
        delete_into(change.old, change.replacement.old_path(), request, memory.path());
    container_view after;
    if (status != status_done) {
        return status;
    }
    if (told(open_container(memory.descriptor(), change.old.name,
                            "the new container cannot be read"),
             &after) != status_done ||
        prove_survivors(change.old, after, request) != status_done) {
        return status_trouble;
    }
    tell_plan(describe_deletion(change.old, after, request, telling::planned));
    return status_done;
}

int prove_and_ask(const command_context &context, const delete_options &options,
                  const container_change &change, const deletion_request &request, int descriptor,
                  done_report *report) {
    container_view after;
    if (told(open_container(descriptor, change.old.name, "the new container cannot be read"),
             &after) != status_done ||
        prove_survivors(change.old, after, request) != status_done) {
        return status_trouble;
    }
    *report = report_of_change(change.old.name, "the deletion",
                               describe_deletion(change.old, after, request, telling::done));
    if (!options.yes || !context.quiet) {
        tell_plan(describe_deletion(change.old, after, request, telling::planned));
    }
    const std::size_t count = request.versions.size();
    return options.yes ? int{status_done}
                       : confirm(context, "Delete " + std::to_string(count) +
                                              (count == 1 ? " version?" : " versions?"));
}

int run_delete(const command_context &context, const delete_options &options) {
    if (options.versions.empty() && options.branches.empty()) {
        return usage_error("delete", "no VERSION and no --branch given");
    }
    container_change change(context);
    deletion_request request;
    if (change.open(options.container) != status_done ||
        require_soundness(change.old) != status_done ||
        resolve_deletion(change.old, options.versions, options.branches, &request) != status_done) {
        return status_trouble;
    }
    if (options.dry_run) {
        return rehearse(change, request);
    }
    if (told(change.replacement.begin()) != status_done ||
        delete_into(change.old, change.replacement.old_path(), request,
                    change.replacement.temporary_path()) != status_done) {
        return status_trouble;
    }
    done_report report;
    const int status = told(change.replacement.commit(saying([&](int descriptor) {
        return prove_and_ask(context, options, change, request, descriptor, &report);
    })));
    if (status == status_done && !context.quiet) {
        tell_done(std::move(report));
    }
    return status;
}

}  // namespace

void register_delete(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<delete_options>();
    command.take("CONTAINER", options->container, "The container to change");
    command.take_list("VERSION", options->versions, false,
                      "BRANCH@N, BRANCH (its newest) or an identifier");
    command.values("--branch", "NAME", options->branches,
                   "Delete this branch and all its versions");
    command.flag("--dry-run", options->dry_run, "Say what would be done; write nothing");
    command.flag("--yes", options->yes, "Do not ask");
    add_replace_options(command, context, "Go on when the file's owner or group cannot be kept");
    command.details =
        "Says for every version whether its lines are gone from the file or stay because\n"
        "another version or branch is built on them ('tdm purge' removes those that nothing\n"
        "shows). Before the container is replaced, every version that stays is read from the\n"
        "old and from the new one and compared byte for byte, with the version that brought\n"
        "each line. Asks on a terminal; elsewhere --yes is needed.";
    command.exit_codes = "0 deleted; 1 the answer was no; 2 wrong usage or trouble.";
    command.examples = {"tdm delete notes.tdm main@3 --dry-run",
                        "tdm delete notes.tdm --branch draft --yes"};
    command.run = [&context, options] { return run_delete(context, *options); };
}

}  // namespace norvik

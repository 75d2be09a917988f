// tdm purge: removes a version and every line that it alone has brought.
//
// As a deletion, with one answer more: where survivors hold all lines there is nothing to purge,
// and nothing is asked.

#include <memory>
#include <string>

#include "asked_change.h"
#include "change_words.h"
#include "command_context.h"
#include "command_declaration.h"
#include "container_plan.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "output.h"

namespace norvik {

namespace {

struct purge_options {
    std::string container;
    std::string version;
    asked_options asked;
};

// Plans the purge, where there is anything to purge.
exit_status plan(const purge_options &options, container_change *change, purge_plan *out) {
    if (told(plan_purge(change, options.version, out)) != status_done) {
        return status_trouble;
    }
    if (!out->takes_nothing_out()) {
        return status_done;
    }
    say_of_file(options.container, "nothing can be purged, surviving versions hold " +
                                       lines_text(out->lines.inserted) + " that " +
                                       escape_name(version_name(out->before, out->version)) +
                                       " inserted; nothing is changed");
    // They are named, so that those versions can be deleted first.
    tell_plan(describe_held(*out));
    return status_negative;
}

std::string question(const purge_plan &plan) {
    return "Purge " + escape_name(version_name(plan.before, plan.version)) + "?";
}

exit_status run_purge(const command_context &context, const purge_options &options) {
    asked_change<purge_plan> purge(context, options.container,
                                   [&options](container_change *change, purge_plan *out) {
                                       return plan(options, change, out);
                                   });
    return purge.run(options.asked, describe_purge, question, "the purge");
}

}  // namespace

void register_purge(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<purge_options>();
    command.take("CONTAINER", options->container, "The container to change");
    command.take("VERSION", options->version,
                 "The version that brought the secret; one that is deleted already will do");
    options->asked.declare(command, context);
    command.details =
        "Deletes VERSION and takes every line out of the file that it inserted and no surviving\n"
        "version holds, and copies of these lines in other deleted versions. A line of a version\n"
        "deleted before that VERSION is the last to hold goes with it, too, and so do the notes\n"
        "of deleted versions whose records stay for others. Lines that surviving versions hold\n"
        "are listed with them and stay: delete those versions first. Before the container is\n"
        "replaced, every surviving version is compared byte for byte, and the new file is\n"
        "searched for the lines that went. Backups and copies of the old container still have\n"
        "them.";
    command.exit_codes =
        "0 purged; 1 nothing can be purged, or the answer was no; 2 wrong usage or trouble.";
    command.examples = {"tdm purge notes.tdm main@3 --dry-run", "tdm purge notes.tdm main@3 --yes"};
    command.run = [&context, options] { return run_purge(context, *options); };
}

}  // namespace norvik

// tdm delete: removes versions and whole branches.
//
// The plan is shown, agreed to, and only then carried out (asked_change.h), which compares every
// version that stays.

#include <memory>
#include <string>
#include <vector>

#include "asked_change.h"
#include "change_words.h"
#include "command_context.h"
#include "command_declaration.h"
#include "container_plan.h"
#include "failure_words.h"
#include "usage_error.h"

namespace norvik {

namespace {

struct delete_options {
    std::string container;
    std::vector<std::string> versions;
    std::vector<std::string> branches;
    asked_options asked;
};

std::string question(const container_plan &plan) {
    const std::size_t count = plan.request.versions.size();
    return "Delete " + std::to_string(count) + (count == 1 ? " version?" : " versions?");
}

exit_status run_delete(const command_context &context, const delete_options &options) {
    if (options.versions.empty() && options.branches.empty()) {
        return usage_error("delete", "no VERSION and no --branch given");
    }
    asked_change<container_plan> deletion(
        context, options.container, [&options](container_change *change, container_plan *plan) {
            return told(plan_deletion(change, options.versions, options.branches, plan));
        });
    return deletion.run(options.asked, describe_deletion, question, "the deletion");
}

}  // namespace

void register_delete(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<delete_options>();
    command.take("CONTAINER", options->container, "The container to change");
    command.take_list("VERSION", options->versions, false,
                      "BRANCH@N, BRANCH (its newest) or an identifier");
    command.values("--branch", "NAME", options->branches,
                   "Delete this branch and all its versions");
    options->asked.declare(command, context);
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

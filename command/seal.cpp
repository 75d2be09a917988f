// tdm seal: digests for the versions that have none.
#include "seal.h"

#include <memory>
#include <string>

#include "change_words.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_change.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "output.h"

namespace norvik {

namespace {

std::string versions_text(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " version" : " versions");
}

exit_status run_seal(const command_context &context, const std::string &container) {
    container_change change(context);
    if (told(change.open(container)) != status_done) {
        return status_trouble;
    }
    const auto plan = plan_seal(change.old);
    if (!plan) {
        return told(result<>(plan.failure()));
    }
    for (const damage &fault : plan->faults) {
        (void)tell(damaged(change.old, fault));
    }
    if (!plan->faults.empty()) {
        say_of_file(container, "nothing is sealed: it is damaged");
        return status_negative;
    }
    if (plan->versions.empty()) {
        if (!context.quiet) {
            say_of_file(container, "every version has a digest");
        }
        return status_done;
    }
    const std::string count = versions_text(plan->versions.size());
    if (context.dry_run && !context.quiet) {
        say_of_file(container, count + " would get a digest");
    }
    done_report report = report_of_change(container, "the sealing", {"sealed: " + count});
    const exit_status status = told(seal_container(change.old, *plan, &change.replacement));
    if (status == status_done && !context.dry_run && !context.quiet) {
        tell_done(std::move(report));
    }
    return status;
}

}  // namespace

void register_seal(command_declaration &command, command_context &context) {
    const auto container = std::make_shared<std::string>();
    command.take("CONTAINER", *container, "The container to change");
    add_dry_run_option(command, context);
    add_replace_options(command, context);
    command.details =
        "Gives a digest to every version that has none, because the library or an earlier\n"
        "release stored it: from then on 'tdm verify' sees every changed byte of its text, its\n"
        "record and its notes. What the container holds now is taken for right, so that a\n"
        "container which is damaged is refused, and one in which a version does not agree with\n"
        "the digest that it has. Nothing but the records that get a digest is changed.";
    command.exit_codes =
        "0 every version has a digest; 1 a version does not agree with its digest, nothing is\n"
        "changed; 2 wrong usage or trouble.";
    command.examples = {"tdm seal notes.tdm", "tdm seal --dry-run notes.tdm"};
    command.run = [&context, container] { return run_seal(context, *container); };
}

}  // namespace norvik

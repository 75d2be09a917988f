// tdm repair: what can be saved from a damaged container.
//
// The damaged container is only read. What is written must read back as planned, and the damaged
// one still be as it was found, before the new one gets its name.

#include <memory>
#include <string>
#include <utility>

#include "change_words.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "container_repair.h"
#include "failure_words.h"
#include "file_replace.h"
#include "output.h"
#include "usage_error.h"

namespace norvik {

namespace {

struct repair_options {
    std::string container;
    std::string output;
    bool drop_stray = false;
};

exit_status run_repair(const command_context &context, const repair_options &options) {
    if (options.output.empty()) {
        return usage_error("repair", "-o FILE is missing: the damaged container is left alone");
    }
    if (options.output == "-") {
        return usage_error("repair", "a container is a file, never standard output (./- is one)");
    }
    container_reading input;
    const container_view &view = input.view;
    if (open_to_judge(options.container, &input) != status_done) {
        return status_trouble;
    }
    file_replacement replacement(context);
    replacement.made_from(view.rights);
    if (told(replacement.lock_output(options.output)) != status_done ||
        told(replacement.refuse_same(options.container)) != status_done) {
        return status_trouble;
    }
    const repair_plan plan = plan_repair(view, options.drop_stray);
    const repair_verdict &verdict = plan.verdict;
    for (const weave_fault &fault : plan.check.faults) {
        (void)tell(damaged(view, fault.what));
    }
    if (plan.saves_nothing()) {
        tell_plan(describe_lost(view, verdict, telling::done));
        say_of_file(view.name, "nothing can be saved; nothing is written");
        return unless_changed(input, status_negative);
    }
    done_report report = report_of_change(options.output, "the repair",
                                          describe_repair(view, verdict, telling::done));
    if (context.dry_run) {
        tell_plan(describe_repair(view, verdict, telling::planned));
    }
    const auto last_look = [&](const result<> &proven) {
        return said(unless_changed(input, told(proven)));
    };
    if (told(write_repair(view, plan, &replacement, last_look)) != status_done) {
        return status_trouble;
    }
    if (!context.dry_run && !context.quiet) {
        tell_done(std::move(report));
    }
    // What was damaged in the header may have been a version that nobody knows of any more.
    return verdict.lost.empty() && view.header_damages.empty() ? status_done : status_negative;
}

}  // namespace

void register_repair(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<repair_options>();
    command.take("CONTAINER", options->container, "The damaged container; it is left alone");
    command.value("-o,--output", "NEW", options->output, "The new container");
    command.flag("--drop-stray", options->drop_stray,
                 "Lines that belong to no run are nobody's: leave them out");
    add_dry_run_option(command, context);
    add_replace_options(command, context, "Replace an existing NEW");
    command.details =
        "Writes a new container with every version whose text is in no doubt and lists the\n"
        "others with the fault that puts them in doubt. Nothing is guessed: where a fault could\n"
        "have hidden or shown a line of a version, the version counts as lost. A damaged insert\n"
        "or delete record can have done that to any version, and so can lines outside every\n"
        "run, unless you say with --drop-stray that they belong to none. What is lost here may\n"
        "still be read as it stands, by 'tdm checkout --damaged'. Damages that 'tdm verify' "
        "cannot\n"
        "see are not seen here.";
    command.exit_codes =
        "0 every version is saved; 1 some are lost, or nothing can be saved; 2 wrong usage or\n"
        "trouble.";
    command.examples = {"tdm repair notes.tdm -o saved.tdm",
                        "tdm repair notes.tdm -o saved.tdm --drop-stray"};
    command.run = [&context, options] { return run_repair(context, *options); };
}

}  // namespace norvik

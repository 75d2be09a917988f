// tdm branch: a branch off an existing version.
//
// The container is locked before the name and the version are looked up, so that both still hold
// when the branch is stored.

#include <memory>
#include <string>
#include <utility>

#include "change_words.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_change.h"
#include "container_limits.h"
#include "failure_words.h"
#include "named_version.h"
#include "new_branch.h"
#include "random_digits.h"
#include "time_option.h"
#include "version_store.h"

namespace norvik {

namespace {

struct branch_options {
    std::string container;
    std::string name;
    std::string version;
    time_option time;
    bool plain = false;
};

exit_status run_branch(const command_context &context, const branch_options &options) {
    container_change change(context);
    new_version fresh;
    fresh.plain = options.plain;
    if (options.time.get(fresh.time) != status_done ||
        told(random_digits(), &fresh.oid) != status_done ||
        told(change.open(options.container)) != status_done ||
        told(check_new_branch_name(&change.old, options.name)) != status_done) {
        return status_trouble;
    }
    const version_record *point = require_version(change.old, options.version);
    if (point == nullptr) {
        return status_trouble;
    }
    done_report report = report_of_versions(options.name, 0, 0);
    const exit_status status = told(store_branch(&change, options.name, *point, fresh));
    if (status == status_done) {
        tell_versions(context, std::move(report));
    }
    return status;
}

}  // namespace

void register_branch(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<branch_options>();
    command.take("CONTAINER", options->container, "The container to change");
    static const std::string name_rule = "The new branch: 1 to " +
                                         std::to_string(format::longest_written_oid) +
                                         " bytes, no blanks, no '@'";
    command.take("NAME", options->name, name_rule.c_str());
    command.take("VERSION", options->version, "The version that the branch is made off");
    options->time.declare(command);
    add_plain_option(command, options->plain);
    add_dry_run_option(command, context);
    add_replace_options(command, context);
    command.details = "Version 0 of the new branch has the text of VERSION.";
    command.exit_codes = "0 made; 2 wrong usage or trouble, nothing is changed unless it says so.";
    command.examples = {"tdm branch notes.tdm draft main@3", "tdm branch notes.tdm fix main"};
    command.run = [&context, options] { return run_branch(context, *options); };
}

}  // namespace norvik

// tdm create: the container of a new element, with its empty version 0.

#include <memory>
#include <string>
#include <utility>

#include "change_words.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "failure_words.h"
#include "file_replace.h"
#include "new_branch.h"
#include "random_digits.h"
#include "time_option.h"
#include "version_store.h"

namespace norvik {

namespace {

struct create_options {
    std::string container;
    std::string branch{default_branch_name};
    time_option time;
    bool plain = false;
};

exit_status run_create(const command_context &context, const create_options &options) {
    new_version fresh;
    fresh.plain = options.plain;
    std::string element;
    if (told(check_new_branch_name(nullptr, options.branch)) != status_done ||
        options.time.get(fresh.time) != status_done ||
        told(random_digits(), &element) != status_done ||
        told(random_digits(), &fresh.oid) != status_done) {
        return status_trouble;
    }
    file_replacement replacement(context);
    if (told(replacement.lock_output(options.container, true)) != status_done) {
        return status_trouble;
    }
    done_report report = report_of_versions(options.branch, 0, 0);
    const exit_status status = told(store_element(&replacement, element, options.branch, fresh));
    if (status == status_done) {
        tell_versions(context, std::move(report));
    }
    return status;
}

}  // namespace

void register_create(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<create_options>();
    command.take("CONTAINER", options->container, "The file to create; it must not exist");
    command.value("--branch", "NAME", options->branch,
                  "The name of the first branch (default main)");
    options->time.declare(command);
    add_plain_option(command, options->plain);
    add_dry_run_option(command, context);
    command.details = "The new element has one version, number 0, which is empty.";
    command.exit_codes = "0 created; 2 wrong usage or trouble, nothing is left behind.";
    command.examples = {"tdm create notes.tdm", "tdm create notes.tdm --branch trunk"};
    command.run = [&context, options] { return run_create(context, *options); };
}

}  // namespace norvik

// tdm branch: a branch off an existing version.
#include <norviktdm/tdm.h>

#include <memory>
#include <string>
#include <utility>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_change.h"
#include "failure_words.h"
#include "output.h"
#include "proof.h"
#include "random_digits.h"
#include "time_option.h"

namespace norvik {

namespace {

struct branch_options {
    std::string container;
    std::string name;
    std::string version;
    time_option time;
};

int write_branch(const container_change &change, const branch_options &options,
                 const version_record &point, const version_record &fresh) {
    const std::string parent(find_branch(change.old, point.id.branch)->oid);
    const std::string oid(fresh.oid);
    const int result = tdm_create_branch(
        fresh.time, options.name.c_str(), oid.c_str(), change.replacement.temporary_path().c_str(),
        parent.c_str(), nullptr, point.id.number, change.replacement.old_path().c_str());
    if (result != 0) {
        say_of_file(options.container, "the branch is not made");
    }
    return result == 0 ? status_done : status_trouble;
}

int run_branch(const command_context &context, const branch_options &options) {
    container_change change(context);
    uint64_t time = 0;
    std::string oid;
    if (options.time.get(time) != status_done || told(random_digits(), &oid) != status_done ||
        change.open(options.container) != status_done ||
        check_new_branch_name(&change.old, options.name) != status_done) {
        return status_trouble;
    }
    const version_record *point = require_version(change.old, options.version);
    uint64_t number = 0;
    if (point == nullptr || new_branch_number(change.old, &number) != status_done) {
        return status_trouble;
    }
    const version_record fresh{oid, {number, 0}, time};
    const branch_record branch{options.name, number, point->id};
    if (told(change.replacement.begin()) != status_done ||
        write_branch(change, options, *point, fresh) != status_done) {
        return status_trouble;
    }
    const added_records added{number, 0,
                              status_record_text(change.old, true) + version_record_text(fresh) +
                                  branch_record_text(branch)};
    done_report report = report_of_versions(options.name, 0, 0);
    const int status = told(change.replacement.commit([&](int descriptor) -> result<> {
        const auto view = prove_addition(change.old, descriptor, added);
        return view ? result<>() : view.failure();
    }));
    if (status == status_done) {
        tell_versions(context, std::move(report));
    }
    return status;
}

}  // namespace

void register_branch(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<branch_options>();
    command.take("CONTAINER", options->container, "The container to change");
    command.take("NAME", options->name, "The new branch: 1 to 99 bytes, no blanks, no '@'");
    command.take("VERSION", options->version, "The version that the branch is made off");
    options->time.declare(command);
    add_dry_run_option(command, context);
    add_replace_options(command, context, "Go on when the file's owner or group cannot be kept");
    command.details = "Version 0 of the new branch has the text of VERSION.";
    command.exit_codes = "0 made; 2 wrong usage or trouble, nothing is changed unless it says so.";
    command.examples = {"tdm branch notes.tdm draft main@3", "tdm branch notes.tdm fix main"};
    command.run = [&context, options] { return run_branch(context, *options); };
}

}  // namespace norvik

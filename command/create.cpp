// tdm create: the container of a new element, with its empty version 0.
#include <norviktdm/tdm.h>

#include <memory>
#include <string>
#include <utility>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_change.h"
#include "failure_words.h"
#include "file_replace.h"
#include "output.h"
#include "random_digits.h"
#include "record_text.h"
#include "time_option.h"

namespace norvik {

namespace {

struct create_options {
    std::string container;
    std::string branch = "main";
    time_option time;
};

// A new container is these four lines and nothing else.
int prove_new_container(const std::string &name, int descriptor, const create_options &options,
                        const std::string &element, const std::string &version, uint64_t time) {
    file_bytes bytes;
    const std::error_code error = bytes.load(descriptor);
    if (error) {
        return say_errno(name, "the new container cannot be read", error);
    }
    const std::string expected = status_line(0) + version_line(version, {0, 0}, time) +
                                 branch_line(options.branch, 0, {0, 0}) + element_line(element);
    if (bytes.view() != expected) {
        say_of_file(name, "the new container is refused: it does not read back as written");
        return status_trouble;
    }
    return status_done;
}

int run_create(const command_context &context, const create_options &options) {
    uint64_t time = 0;
    std::string element, version;
    if (check_new_branch_name(nullptr, options.branch) != status_done ||
        options.time.get(time) != status_done || told(random_digits(), &element) != status_done ||
        told(random_digits(), &version) != status_done) {
        return status_trouble;
    }
    file_replacement replacement(context);
    if (told(replacement.lock_output(options.container, true)) != status_done ||
        told(replacement.begin()) != status_done) {
        return status_trouble;
    }
    if (tdm_create_elem(time, element.c_str(), options.branch.c_str(), version.c_str(),
                        replacement.temporary_path().c_str()) != 0) {
        say_of_file(options.container, "is not created");
        return status_trouble;
    }
    const auto prove = [&](int descriptor) {
        return prove_new_container(options.container, descriptor, options, element, version, time);
    };
    done_report report = report_of_versions(options.branch, 0, 0);
    const int status = told(replacement.commit(saying(prove)));
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
    add_dry_run_option(command, context);
    command.details = "The new element has one version, number 0, which is empty.";
    command.exit_codes = "0 created; 2 wrong usage or trouble, nothing is left behind.";
    command.examples = {"tdm create notes.tdm", "tdm create notes.tdm --branch trunk"};
    command.run = [&context, options] { return run_create(context, *options); };
}

}  // namespace norvik

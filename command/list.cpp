// tdm list: branches and versions as a plain table.
//
// The header alone is shown; that the container is sound takes one pass over it, as for every
// reader.
#include <algorithm>
#include <memory>
#include <string>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "named_version.h"
#include "pager.h"
#include "version_json.h"
#include "version_table.h"

namespace norvik {

namespace {

struct list_options {
    std::string container;
    bool damaged = false;
    std::string branch;
};

// Branch by branch, each from its first version on.
version_list versions_in_order(const container_view &view, const branch_record *only) {
    version_list list;
    for (const version_record &version : view.versions) {
        if (only == nullptr || version.id.branch == only->number) {
            list.push_back(&version);
        }
    }
    const auto earlier = [](const version_record *a, const version_record *b) {
        return a->id < b->id;
    };
    std::stable_sort(list.begin(), list.end(), earlier);
    return list;
}

exit_status run_list(const command_context &context, const list_options &options) {
    container_reading input;
    const container_view &view = input.view;
    const branch_record *only = nullptr;
    if (open_sound_container(options.container, options.damaged, &input) != status_done ||
        find_only_branch(view, options.branch, &only) != status_done) {
        return status_trouble;
    }
    const version_list versions = versions_in_order(view, only);
    if (context.json) {
        print_list_json(view, only, versions);
        return unless_changed(input, status_done);
    }
    pager pages(context.no_pager);
    print_version_table(view, versions);
    pages.finish();
    return unless_changed(input, status_done);
}

}  // namespace

void register_list(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<list_options>();
    command.take("CONTAINER", options->container, "The container to read");
    command.value("--branch", "NAME", options->branch, "This branch only");
    add_json_option(command, context);
    add_damaged_option(command, options->damaged);
    command.details =
        "OFF is the version that a branch was made off. A version marked (deleted) is gone,\n"
        "but something still depends on it. One marked (long lines) has lines of more than 8000\n"
        "bytes: programs that use the library alone read it, list it and delete it, but store\n"
        "nothing after it.";
    command.exit_codes = "0 listed; 2 wrong usage or trouble.";
    command.examples = {"tdm list notes.tdm", "tdm list notes.tdm --branch draft --json"};
    command.run = [&context, options] { return run_list(context, *options); };
}

}  // namespace norvik

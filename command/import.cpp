// tdm import: many files, each the next version, in one run.
//
// The versions are woven into one weave in memory (version_import.h), which is written once, proven
// version by version and put in the container's place: all or nothing.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "change_words.h"
#include "checkin_options.h"
#include "command_context.h"
#include "command_declaration.h"
#include "container_change.h"
#include "failure_words.h"
#include "import_list.h"
#include "output.h"
#include "progress.h"
#include "text_file.h"
#include "usage_error.h"
#include "version_import.h"

namespace norvik {

namespace {

struct import_options {
    std::string container;
    std::vector<std::string> files;
    std::string list;
    checkin_options stored;
};

exit_status collect_items(const import_options &options, std::vector<import_item> *items) {
    std::uint64_t time = 0;
    if (options.files.empty() && !options.list.empty() && !options.stored.time.text.empty()) {
        return usage_error("import", "--time dates FILEs, and LIST has its own times");
    }
    if (options.stored.time.get(time) != status_done) {
        return status_trouble;
    }
    for (const std::string &file : options.files) {
        items->push_back({file, time});
    }
    if (!options.list.empty() && read_import_list(options.list, *items) != status_done) {
        return status_trouble;
    }
    std::vector<std::string> names{options.list};
    for (const import_item &item : *items) {
        names.push_back(item.path);
    }
    return items->empty() ? usage_error("import", "no files given")
                          : told(refuse_spent_input(names));
}

exit_status import_all(const command_context &context, const import_options &options,
                       version_import *work, const checkin_plan &plan, std::size_t items,
                       done_report *report) {
    // A step for each file that is woven, and one for each version that is proven.
    progress bar(context, "importing", items * 2);
    const auto at = [&bar](std::uint64_t done) { bar.at(done); };
    const auto tell_same = [&context](const failure &notice) {
        if (!context.quiet) {
            (void)tell(notice);
        }
    };
    if (told(work->weave(options.stored.allow_same, tell_same, at)) != status_done) {
        return status_trouble;
    }
    if (work->count() == 0) {
        say_of_file(options.container, "nothing to store");
        return status_negative;
    }
    *report = report_of_versions(plan.branch, plan.id.number, plan.id.number + work->count() - 1);
    return told(work->commit(at));
}

exit_status run_import(const command_context &context, const import_options &options) {
    std::vector<import_item> items;
    container_change change(context);
    checkin_plan plan;
    if (collect_items(options, &items) != status_done ||
        told(change.open(options.container)) != status_done ||
        told(plan_checkin(change.old, options.stored.target, items.size()), &plan) != status_done) {
        return status_trouble;
    }
    version_import work(&change, plan, items, options.stored.plain);
    done_report report;
    const exit_status status = import_all(context, options, &work, plan, items.size(), &report);
    if (status == status_done) {
        tell_versions(context, std::move(report));
    }
    return status;
}

}  // namespace

void register_import(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<import_options>();
    command.take("CONTAINER", options->container, "The container to change");
    command.take_list("FILE", options->files, false,
                      "The texts, oldest first; - is standard input");
    command.value("--from-list", "LIST", options->list,
                  "Take the files from LIST: a name, a blank and a time a line");
    options->stored.declare(command, context);
    command.details =
        "Each FILE becomes the next version; the container is the same as after checking them in\n"
        "one by one. All or nothing: the container is replaced once, when every version has been\n"
        "read back and compared. Prints the names of the new versions. What the files were made\n"
        "from ('tdm checkin') is not looked at, nor are they marked.";
    command.examples = {"tdm import notes.tdm old/notes-1.txt old/notes-2.txt",
                        "tdm import notes.tdm --from-list versions.list"};
    command.run = [&context, options] { return run_import(context, *options); };
}

}  // namespace norvik

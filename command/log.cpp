// tdm log: the tree of versions for people, with what each of them changed.
//
// All versions are counted in one pass over the container, whatever part of them is shown.
#include <unistd.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "named_version.h"
#include "pager.h"
#include "progress.h"
#include "terminal.h"
#include "version_json.h"
#include "version_log.h"
#include "weave_scan.h"

namespace norvik {

namespace {

struct log_options {
    std::string container;
    bool damaged = false;
    std::string branch;
    bool reverse = false;
    bool oneline = false;
    std::uint64_t most = UINT64_MAX;
};

version_log collect(const container_view &view, const weave_scan &scan, const branch_record *only,
                    std::uint64_t most) {
    std::unordered_map<version_id, std::vector<const branch_record *>, version_id_hash> hanging;
    for (const branch_record &branch : view.branches) {
        if (!branch.deleted && branch.number != 0) {
            hanging[branch.parent].push_back(&branch);
        }
    }
    version_log log;
    for (const version_record &version : view.versions) {
        if (log.size() == most) {
            break;
        }
        if (only == nullptr || version.id.branch == only->number) {
            const std::uint32_t position = position_of(scan.tree, version.id);
            const auto branches = hanging.find(version.id);
            log.push_back({&version, scan.changes[position], scan.totals[position],
                           branches == hanging.end() ? std::vector<const branch_record *>{}
                                                     : branches->second});
        }
    }
    return log;
}

exit_status run_log(const command_context &context, const log_options &options) {
    container_reading input;
    const container_view &view = input.view;
    const branch_record *only = nullptr;
    if (open_sound_container(options.container, options.damaged, &input) != status_done ||
        find_only_branch(view, options.branch, &only) != status_done) {
        return status_trouble;
    }
    progress bar(context, "reading", view.bytes.view().size());
    const weave_scan scan = scan_weave(
        view, fingerprints::none, [&](std::uint64_t bytes) { bar.at(view.weave_offset + bytes); });
    const version_log log = collect(view, scan, only, options.most);
    if (context.json) {
        print_log_json(view, only, log, options.reverse);
        return unless_changed(input, status_done);
    }
    const bool color = use_color(context.color, STDOUT_FILENO);
    const int width_of_terminal = terminal_width(STDOUT_FILENO);
    pager pages(context.no_pager);
    const int width = pages.to_terminal() ? width_of_terminal : 0;
    print_log(view, log,
              {!options.branch.empty(), options.reverse, options.oneline, color,
               static_cast<std::size_t>(width)});
    pages.finish();
    return unless_changed(input, status_done);
}

}  // namespace

void register_log(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<log_options>();
    command.take("CONTAINER", options->container, "The container to read");
    command.value("--branch", "NAME", options->branch, "This branch only");
    command.flag("--reverse", options->reverse, "Oldest version first");
    command.number("-n,--max-count", "N", {0, INT32_MAX}, options->most,
                   "At most N versions, the newest");
    command.flag("--oneline", options->oneline, "Shorter lines: no dates, nothing aligned");
    add_json_option(command, context);
    add_damaged_option(command, options->damaged);
    command.allow_one_of({"--oneline", "--json"});
    command.details =
        "Each line: the version, its identifier, its date, the lines it added and deleted\n"
        "against its predecessor, the lines it has in all. Lines are counted as the container\n"
        "stores the change; 'tdm show' and 'tdm diff' look closer and may need fewer. Names in\n"
        "brackets are the branches made off it. An x marks a version that is deleted but kept\n"
        "because something still depends on it. All versions are counted in one pass over the\n"
        "container. On a terminal long names are cut; their identifiers name the versions as well.";
    command.exit_codes = "0 listed; 2 wrong usage or trouble.";
    command.examples = {"tdm log notes.tdm", "tdm log notes.tdm --branch draft --oneline -n 5"};
    command.run = [&context, options] { return run_log(context, *options); };
}

}  // namespace norvik

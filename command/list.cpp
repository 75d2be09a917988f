// tdm list: branches and versions as a plain table.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "columns.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "escaped_text.h"
#include "json_text.h"
#include "named_version.h"
#include "output.h"
#include "pager.h"
#include "time_text.h"

namespace norvik {

namespace {

constexpr int list_schema = 1;

struct list_options {
    std::string container;
    bool damaged = false;
    std::string branch;
};

using version_list = std::vector<const version_record *>;

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

void print_table(const container_view &view, const version_list &versions) {
    const auto shown_name = [&view](const version_record *version) {
        return escape_name(version_name(view, version->id));
    };
    std::size_t width = 7;
    for (const version_record *version : versions) {
        width = std::max(width, count_columns(shown_name(version)));
    }
    output_writer &out = standard_output();
    const int column = static_cast<int>(width);
    out.printf("%-*s  %-20s  %-32s  %s\n", column, "VERSION", "DATE", "IDENTIFIER", "OFF");
    std::uint64_t branch = UINT64_MAX;
    for (const version_record *version : versions) {
        std::string note;
        if (version->id.branch != branch) {
            branch = version->id.branch;
            const branch_record *record = find_branch(view, branch);
            note = record == nullptr || branch == 0 ? "" : version_name(view, record->parent);
        }
        if (version->deleted) {
            note += note.empty() ? "(deleted)" : " (deleted)";
        }
        const std::string line = widened(shown_name(version), width) + "  " +
                                 time_text(version->time) + "  " + escape_name(version->oid);
        out.write(note.empty() ? line + "\n" : line + "  " + escape_name(note) + "\n");
    }
}

void describe_branch(json_writer &json, const container_view &view, const branch_record &branch) {
    json.begin_object();
    json.text("name", branch.oid);
    json.field("number", branch.number);
    if (branch.number == 0) {
        json.null("off");
    } else {
        json.text("off", version_name(view, branch.parent));
    }
    json.end();
}

void describe_version(json_writer &json, const container_view &view,
                      const version_record &version) {
    json.begin_object();
    json.text("name", version_name(view, version.id));
    json.text("branch", branch_name(view, version.id.branch));
    json.field("number", version.id.number);
    json.text("identifier", version.oid);
    json.field("time", version.time);
    json.text("date", time_text(version.time));
    json.field("deleted", version.deleted);
    json.end();
}

void print_machine_form(const container_view &view, const branch_record *only,
                        const version_list &versions) {
    json_writer json(list_schema);
    json.text("container", view.name);
    json.text("element", view.element_oid);
    json.begin_array("branches");
    for (auto branch = view.branches.rbegin(); branch != view.branches.rend(); ++branch) {
        if (!branch->deleted && (only == nullptr || only->number == branch->number)) {
            describe_branch(json, view, *branch);
        }
    }
    json.end();
    json.begin_array("versions");
    for (const version_record *version : versions) {
        describe_version(json, view, *version);
    }
    json.end();
    json.print();
}

exit_status run_list(const command_context &context, const list_options &options) {
    container_reading input;
    const container_view &view = input.view;
    if (open_sound_container(options.container, options.damaged, &input) != status_done) {
        return status_trouble;
    }
    const bool all = options.branch.empty();
    const branch_record *only = all ? nullptr : require_branch(view, options.branch);
    if (!all && only == nullptr) {
        return status_trouble;
    }
    const version_list versions = versions_in_order(view, only);
    if (context.json) {
        print_machine_form(view, only, versions);
        return unless_changed(input, status_done);
    }
    pager pages(context.no_pager);
    print_table(view, versions);
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
        "but something still depends on it.";
    command.exit_codes = "0 listed; 2 wrong usage or trouble.";
    command.examples = {"tdm list notes.tdm", "tdm list notes.tdm --branch draft --json"};
    command.run = [&context, options] { return run_list(context, *options); };
}

}  // namespace norvik

// tdm show: one version, its facts and what it changed.
//
// Two texts are read, compared as 'tdm diff' compares them, and shown beside what the records
// count, which takes one pass over the container.
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "comparison.h"
#include "container_reading.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "named_version.h"
#include "output.h"
#include "pager.h"
#include "time_text.h"
#include "unified_diff.h"
#include "version_text.h"
#include "version_tree.h"
#include "weave_scan.h"

namespace norvik {

namespace {

constexpr const char *yellow = "\x1b[33m";
constexpr const char *plain = "\x1b[m";

struct show_options {
    std::string container;
    bool damaged = false;
    std::string version;
    std::int32_t context = 3;
};

// A version and the one before it, with what has changed between them.
struct version_change {
    const version_record *version = nullptr;
    bool has_predecessor = false;
    version_id predecessor;
    std::vector<lined_text> texts;  // the predecessor's, the version's
    file_edits edits;
    change_counts stored;  // what the container's records count
};

exit_status read_change(const container_view &view, version_change *change) {
    const version_tree tree = build_version_tree(view);
    const version_id id = change->version->id;
    const std::uint32_t before = tree.parent[position_of(tree, id)];
    change->has_predecessor = before != no_position;
    change->texts.resize(2);
    exit_status status = told(hold_text("/dev/null", "", &change->texts[0]));
    if (change->has_predecessor) {
        change->predecessor = tree.versions[before];
        status = told(load_version_text(
            view, change->predecessor, version_name(view, change->predecessor), &change->texts[0]));
    }
    if (status != status_done || told(load_version_text(view, id, version_name(view, id),
                                                        &change->texts[1])) != status_done) {
        return status_trouble;
    }
    comparison compared;
    if (told(compare_files(&change->texts, "compare", false, after_compare::close_session,
                           &compared)) != status_done) {
        return status_trouble;
    }
    change->edits = edits_of(compared, change->texts, 1, {});
    const weave_scan scan = scan_weave(view, fingerprints::none, {});
    change->stored = scan.changes[position_of(scan.tree, id)];
    return status_done;
}

void print_fact(const char *name, const std::string &value) {
    standard_output().printf("%-12s %s\n", name, value.c_str());
}

std::string counts_text(const change_counts &counts) {
    return "+" + std::to_string(counts.added) + " -" + std::to_string(counts.deleted);
}

// The counts that the log gives. The difference below looks more closely at the lines than a
// check-in does and may be smaller; then its own counts stand beside them.
std::string lines_text(const version_change &change) {
    change_counts shown;
    for (const edit &e : change.edits.edits) {
        shown.added += static_cast<std::uint64_t>(e.file_end - e.file_first);
        shown.deleted += static_cast<std::uint64_t>(e.base_end - e.base_first);
    }
    const std::string stored = counts_text(change.stored);
    const std::string below = counts_text(shown);
    return std::to_string(change.texts[1].lines.count()) + " (" +
           (stored == below ? stored : stored + " stored, " + below + " shown") + ")";
}

void print_facts(const container_view &view, const version_change &change, bool color) {
    const version_record &version = *change.version;
    const std::string name = escape_name(version_name(view, version.id));
    print_fact("version", color ? yellow + name + plain : name);
    print_fact("identifier", escape_name(version.oid));
    print_fact("date", time_text(version.time));
    print_fact("predecessor", change.has_predecessor
                                  ? escape_name(version_name(view, change.predecessor))
                                  : "none");
    print_fact("lines", lines_text(change));
    for (const branch_record &branch : view.branches) {
        if (!branch.deleted && branch.number != 0 && branch.parent == version.id) {
            print_fact("branch off", escape_name(branch.oid));
        }
    }
}

exit_status run_show(const command_context &context, const show_options &options) {
    container_reading input;
    const container_view &view = input.view;
    if (open_sound_container(options.container, options.damaged, &input) != status_done) {
        return status_trouble;
    }
    version_change change;
    change.version = require_version(view, options.version);
    if (change.version == nullptr || read_change(view, &change) != status_done) {
        return status_trouble;
    }
    const bool color = use_color(context.color, STDOUT_FILENO);
    pager pages(context.no_pager);
    print_facts(view, change, color);
    if (!change.edits.edits.empty()) {
        const unified_options form{
            .context = options.context, .color = color, .escape = pages.to_terminal()};
        standard_output().put('\n');
        write_unified_header(standard_output(), form, change.texts[0].name, change.texts[1].name);
        write_unified(standard_output(), form, change.texts[0].lines, change.texts[1].lines,
                      change.edits);
    }
    pages.finish();
    return unless_changed(input, status_done);
}

}  // namespace

void register_show(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<show_options>();
    command.take("CONTAINER", options->container, "The container to read");
    command.take_optional("VERSION", options->version,
                          "BRANCH@N, BRANCH or an identifier (default: the newest)");
    command.number("-U,--unified", "N", {0, INT32_MAX}, options->context,
                   "Lines of context (default 3)");
    add_damaged_option(command, options->damaged);
    command.details =
        "Shows the version's facts and, as a unified diff, what it changed against the version\n"
        "before it on its branch, or against its branch point. The lines are counted as the\n"
        "container stores the change, like those of 'tdm log'. The diff below looks closer; where\n"
        "it counts otherwise, its counts stand beside them.";
    command.exit_codes = "0 shown; 2 wrong usage or trouble.";
    command.examples = {"tdm show notes.tdm", "tdm show notes.tdm main@3 -U0"};
    command.run = [&context, options] { return run_show(context, *options); };
}

}  // namespace norvik

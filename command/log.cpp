// tdm log: the tree of versions for people, with what each of them changed.
#include <unistd.h>

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
#include "progress.h"
#include "terminal.h"
#include "time_text.h"
#include "version_graph.h"
#include "weave_scan.h"

namespace norvik {

namespace {

constexpr int log_schema = 1;
constexpr std::size_t shortest_identifier = 8;

constexpr const char *yellow = "\x1b[33m";
constexpr const char *green = "\x1b[32m";
constexpr const char *red = "\x1b[31m";
constexpr const char *cyan = "\x1b[36m";
constexpr const char *plain = "\x1b[m";

struct log_options {
    std::string container;
    bool damaged = false;
    std::string branch;
    bool reverse = false;
    bool oneline = false;
    std::uint64_t most = UINT64_MAX;
};

struct logged_version {
    const version_record *record;
    change_counts change;
    text_step text;
    std::vector<const branch_record *> branches;  // made off it
};

using version_log = std::vector<logged_version>;

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

// How much of the identifiers tells every one from all others.
std::size_t identifier_length(const container_view &view) {
    std::vector<std::string_view> oids;
    for (const version_record &version : view.versions) {
        oids.push_back(version.oid);
    }
    std::sort(oids.begin(), oids.end());
    std::size_t length = shortest_identifier;
    for (std::size_t i = 1; i < oids.size(); i++) {
        const auto [a, b] =
            std::mismatch(oids[i - 1].begin(), oids[i - 1].end(), oids[i].begin(), oids[i].end());
        length = std::max(length, static_cast<std::size_t>(a - oids[i - 1].begin()) + 1);
    }
    return length;
}

bool is_ascii(const std::string &text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
}

class log_printer {
public:
    // `width` in columns of the terminal, 0 for none.
    log_printer(const container_view &view, const log_options &options, bool color, int width)
        : view_(view),
          options_(options),
          color_(color),
          width_(static_cast<std::size_t>(width)),
          graph_(view) {}

    void print(const version_log &log) {
        measure(log);
        std::vector<std::string> lines;
        std::vector<std::string> joins;
        for (const logged_version &version : log) {
            const std::string graph = graph_.next(*version.record, &joins);
            if (options_.branch.empty()) {
                lines.insert(lines.end(), joins.begin(), joins.end());
            }
            lines.push_back(
                (options_.branch.empty() ? graph : graph.substr(graph.find_first_of("*x"), 2)) +
                describe(version));
        }
        if (options_.reverse) {
            std::reverse(lines.begin(), lines.end());
        }
        for (const std::string &line : lines) {
            const bool join = options_.reverse && line.find_first_of("*x") == std::string::npos;
            standard_output().write((join ? turned_over(line) : line) + "\n");
        }
    }

private:
    void measure(const version_log &log) {
        identifier_ = identifier_length(view_);
        for (const logged_version &version : log) {
            name_ = std::max(name_, count_columns(shown_name(*version.record)));
        }
    }

    // On a terminal a long name loses the end of its branch's, so that the line may fit; the
    // identifier names the version all the same.
    std::string shown(const std::string &name) const {
        constexpr std::size_t others = 62;  // columns of a usual line without its name
        constexpr std::size_t least = 16;
        constexpr std::string_view cut = "...";
        const std::size_t most = width_ > others + least ? width_ - others : least;
        const std::string number = name.substr(std::min(name.rfind('@'), name.size()));
        const std::size_t end = cut.size() + number.size();
        if (width_ == 0 || name.size() <= most || end >= most || !is_ascii(name)) {
            return name;
        }
        return name.substr(0, most - end) + std::string(cut) + number;
    }

    std::string shown_name(const version_record &record) const {
        return shown(escape_name(version_name(view_, record.id)));
    }

    std::string in_color(const char *color, const std::string &text) const {
        return color_ ? color + text + plain : text;
    }

    std::string describe(const logged_version &version) const {
        const version_record &record = *version.record;
        const std::string name = shown_name(record);
        const std::string padding(options_.oneline ? 0 : name_ - count_columns(name), ' ');
        std::string line =
            in_color(yellow, name) + padding + " " + escape_name(record.oid.substr(0, identifier_));
        if (!options_.oneline) {
            line += "  " + time_text(record.time) + " ";
        }
        line += " " + in_color(green, "+" + std::to_string(version.change.added)) + " " +
                in_color(red, "-" + std::to_string(version.change.deleted)) + " " +
                std::to_string(version.text.lines);
        if (!options_.oneline) {
            line += version.text.lines == 1 ? " line" : " lines";
        }
        for (const branch_record *branch : version.branches) {
            line += in_color(cyan, " [" + shown(escape_name(branch->oid)) + "]");
        }
        return record.deleted ? line + in_color(red, " (deleted, kept)") : line;
    }

    const container_view &view_;
    const log_options &options_;
    const bool color_;
    const std::size_t width_;
    version_graph graph_;
    std::size_t identifier_ = shortest_identifier;
    std::size_t name_ = 0;
};

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
                      const logged_version &version) {
    const version_record &record = *version.record;
    json.begin_object();
    json.text("name", version_name(view, record.id));
    json.text("branch", branch_name(view, record.id.branch));
    json.field("number", record.id.number);
    json.text("identifier", record.oid);
    json.field("time", record.time);
    json.text("date", time_text(record.time));
    json.field("deleted", record.deleted);
    json.field("lines_added", version.change.added);
    json.field("lines_deleted", version.change.deleted);
    json.field("lines", version.text.lines);
    json.field("bytes", version.text.bytes);
    json.end();
}

// Calls `use` with each element, newest first as they stand, or the other way round.
template <class list, class user>
void in_order(const list &elements, bool reverse, const user &use) {
    if (reverse) {
        std::for_each(elements.rbegin(), elements.rend(), use);
    } else {
        std::for_each(elements.begin(), elements.end(), use);
    }
}

void print_machine_form(const container_view &view, const branch_record *only,
                        const log_options &options, const version_log &log) {
    json_writer json(log_schema);
    json.text("container", view.name);
    json.text("element", view.element_oid);
    json.begin_array("branches");
    in_order(view.branches, options.reverse, [&](const branch_record &branch) {
        if (!branch.deleted && (only == nullptr || only->number == branch.number)) {
            describe_branch(json, view, branch);
        }
    });
    json.end();
    json.begin_array("versions");
    in_order(log, options.reverse,
             [&](const logged_version &version) { describe_version(json, view, version); });
    json.end();
    json.print();
}

exit_status run_log(const command_context &context, const log_options &options) {
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
    progress bar(context, "reading", view.bytes.view().size());
    const weave_scan scan =
        scan_weave(view, false, [&](std::uint64_t bytes) { bar.at(view.weave_offset + bytes); });
    const version_log log = collect(view, scan, only, options.most);
    if (context.json) {
        print_machine_form(view, only, options, log);
        return unless_changed(input, status_done);
    }
    const bool color = use_color(context.color, 1);
    const int width_of_terminal = terminal_width(STDOUT_FILENO);
    pager pages(context.no_pager);
    const int width = pages.to_terminal() ? width_of_terminal : 0;
    log_printer(view, options, color, width).print(log);
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

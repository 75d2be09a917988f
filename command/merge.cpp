// tdm merge: up to 31 contributors into a base.
//
// The order: usage, comparison, plan, questions, the merged text and its check, and only then a
// file. The plan is pure (plan_merge); what asks or writes takes it as data.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "file_replace.h"
#include "file_state.h"
#include "library_merge.h"
#include "merge_ask.h"
#include "merge_words.h"
#include "output.h"
#include "system_calls.h"
#include "usage_error.h"

namespace norvik {

namespace {

struct command_options {
    std::vector<std::string> names;  // the base first
    std::string base;
    std::string output = "-";
    std::string report;
    std::vector<std::string> labels;
    std::string style = "diff3";
    std::string adjacent = "conflict";
    bool ask = false;
    int mq = -1;
    bool abort_on_conflict = false;
    merge_options merge;
};

exit_status write_file(const command_context &context, const std::string &name,
                       std::string_view text, const text_merge &run) {
    if (name == "-") {
        standard_output().write(text);
        return status_done;
    }
    file_replacement replacement(context);
    if (told(replacement.lock_output(name)) != status_done ||
        told(replacement.begin()) != status_done) {
        return status_trouble;
    }
    for (const lined_text &file : run.files) {
        replacement.made_from(file.rights);
    }
    const exit_status written = told(replacement.write(text));
    return written == status_done ? told(replacement.commit({})) : written;
}

void take_labels(command_options *options) {
    marker_options &markers = options->merge.markers;
    markers.labels = options->names;
    for (std::size_t i = 0; i < std::min(options->labels.size(), markers.labels.size()); i++) {
        markers.labels[i] = options->labels[i];
    }
    markers.base_label = markers.labels.front();
    markers.labels.erase(markers.labels.begin());
    markers.style = options->style == "merge"    ? marker_style::merge
                    : options->style == "zdiff3" ? marker_style::zdiff3
                                                 : marker_style::diff3;
    markers.on_one_line = escape_name;
    options->merge.apply_adjacent = options->adjacent == "apply";
}

// Whether two names lead to one file, which need not exist yet.
bool lead_to_one_file(const std::string &a, const std::string &b) {
    struct stat first {};
    struct stat second {};
    if (sys::stat(a.c_str(), &first) == 0 && sys::stat(b.c_str(), &second) == 0) {
        return is_same_file(first, second);
    }
    return std::filesystem::path(a).lexically_normal() ==
           std::filesystem::path(b).lexically_normal();
}

// The report may take no other file's place, the merged text's above all.
exit_status check_report(const command_context &context, const command_options &options) {
    const std::string &report = options.report;
    if (report == "-") {
        const bool taken = options.output == "-" || context.json || options.mq >= 0;
        return taken ? usage_error("merge", "--report needs a FILE: standard output is in use")
                     : status_done;
    }
    // "-" is no file here, though one may have that name.
    const auto same = [&](const std::string &name) {
        return name != "-" && lead_to_one_file(report, name);
    };
    if (same(options.output) || std::any_of(options.names.begin(), options.names.end(), same)) {
        return usage_error("merge", "--report would replace another file of the merge");
    }
    if (!context.force && access(report.c_str(), F_OK) == 0) {
        say_of_file(report, "exists already (--force replaces it)");
        return status_trouble;
    }
    return status_done;
}

exit_status check_usage(const command_context &context, command_options *options) {
    if (options->names.size() > most_files - 1) {
        return usage_error("merge",
                           "more than " + std::to_string(most_files - 1) + " files to merge");
    }
    options->names.insert(options->names.begin(), options->base);
    if (options->labels.size() > options->names.size()) {
        return usage_error("merge", "more labels than files");
    }
    const bool reports = !options->report.empty() && options->report != "-";
    if (require_output(context, "merge", options->output != "-" || reports) != status_done) {
        return status_trouble;
    }
    if (options->output == "-" && (options->mq >= 0 || context.json)) {
        return usage_error("merge", std::string(options->mq >= 0 ? "--mq" : "--json") +
                                        " writes to standard output: give -o FILE");
    }
    if (!options->report.empty() && check_report(context, *options) != status_done) {
        return status_trouble;
    }
    // Looked at once more when it is replaced; here so that nobody answers questions in vain.
    if (options->output != "-" && !context.force && access(options->output.c_str(), F_OK) == 0) {
        say_of_file(options->output, "exists already (--force replaces it)");
        return status_trouble;
    }
    return status_done;
}

// Merges, by the library or by the plan, and asks about what is left open where that is wanted.
exit_status decide(const command_context &context, const command_options &options,
                   text_merge *run) {
    const auto finish = [&] {
        return finish_merge(options.merge, run) ? status_done : say_line_faults(*run);
    };
    exit_status status = status_done;
    if (options.mq >= 0) {
        status = merge_by_library(context, options.merge, options.mq, run);
    } else {
        run->plan = plan_merge(run->in, options.merge.apply_adjacent);
        status = finish();
        if (status != status_done || !options.ask || is_clean(run->plan)) {
            return status;
        }
        status =
            can_ask(context) ? ask_about_conflicts(context, options.merge, run) : status_trouble;
    }
    return status == status_done ? finish() : status;
}

exit_status write_results(const command_context &context, const command_options &options,
                          const text_merge &run) {
    const bool clean = is_clean(run.plan);
    const bool abandoned = !clean && options.abort_on_conflict;
    // Without output its line numbers lead nowhere: the base's then.
    if (!context.quiet && abandoned) {
        say_conflicts_of_base(run, options.merge, options.names.front());
    } else if (!context.quiet) {
        say_conflicts(run, options.merge, options.output == "-" ? "<stdout>" : options.output);
    }
    if (abandoned) {
        return status_negative;
    }
    exit_status status = write_file(context, options.output, run.merged.text, run);
    if (status == status_done && !options.report.empty()) {
        status = write_file(context, options.report, report_text(run, options.merge), run);
        if (status != status_done && options.output != "-" && !context.dry_run) {
            say_of_file(options.output, "is written, but its report is not");
        }
    }
    if (status == status_done && context.json) {
        print_merge_json(run, options.merge, options.names, options.output);
    }
    return status != status_done ? status : clean ? status_done : status_negative;
}

exit_status run_merge(const command_context &context, command_options *options) {
    text_merge run;
    exit_status status = check_usage(context, options);
    if (status != status_done) {
        return status;
    }
    take_labels(options);
    status = told(begin_merge(options->names, options->merge, options->mq >= 0, &run));
    if (status == status_done) {
        status = decide(context, *options, &run);
    }
    return status == status_done ? write_results(context, *options, run) : status;
}

void declare_decisions(command_declaration &command, command_options *options) {
    command.flag("--ask", options->ask, "Show each conflict and ask, on the terminal");
    command.choice("--adjacent", "HOW", {"conflict", "apply"}, options->adjacent,
                   "Changes that only touch: conflict (the default) or apply");
    command.flag("--strict", options->merge.strict,
                 "The same lines inserted in different places are a conflict");
    command.flag("-w,--ignore-blanks", options->merge.ignore_blanks,
                 "Changes of blanks alone are no changes: the base's line stays");
    command.flag("--abort-on-conflict", options->abort_on_conflict,
                 "Write nothing where there is a conflict");
    command.number(
        "--mq", "N", {0, 4}, options->mq,
        "The library's own merge: 0 asks in need, 1 always, 2 never, 3 but for the last file",
        option_group::more);
    command.allow_one_of({"--ask", "--mq"});
    // The library's own words go to standard output, in front of the JSON.
    command.refuse_with("--mq", {"--strict", "--json"});
}

}  // namespace

void register_merge(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<command_options>();
    command.take("BASE", options->base, "The text that all contributors started from");
    command.take_list("FILE", options->names, true, "The contributors, up to 31");
    command.value("-o,--output", "FILE", options->output, "Write FILE instead of standard output");
    declare_decisions(command, options.get());
    command.choice("--style", "STYLE", {"merge", "diff3", "zdiff3"}, options->style,
                   "Conflicts: diff3 (with the base, the default), merge or zdiff3");
    command.values("--label", "NAME", options->labels,
                   "Names for the markers, of BASE first; may be given for each file",
                   option_group::more);
    command.number("--marker-size", "N", {1, 1000}, options->merge.markers.size,
                   "Length of the markers (7)", option_group::more);
    command.value("--report", "FILE", options->report, "Write what was decided where to FILE",
                  option_group::more);
    add_json_option(command, context);
    add_dry_run_option(command, context);
    add_replace_options(command, context,
                        "Replace an existing output; go on when its owner or group cannot be kept");
    command.details =
        "Changes that overlap or touch form a region, moved text ties its two places. A region\n"
        "is clean when one file changed it or all changes of it are equal, else a conflict; a\n"
        "change within text that another file moved goes along with it. The merged text is then\n"
        "checked: nothing that a file inserted, deleted or moved is lost or doubled unasked.";
    command.exit_codes =
        "0 clean; 1 conflicts in the output, or the merge was abandoned; 2 wrong usage or\n"
        "trouble, nothing is written.";
    command.examples = {"tdm merge base.txt mine.txt yours.txt -o merged.txt",
                        "tdm merge --ask base.txt a.txt b.txt c.txt -o merged.txt"};
    command.run = [&context, options] { return run_merge(context, options.get()); };
}

}  // namespace norvik

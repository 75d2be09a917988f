// tdm diff: two texts, two versions of a container, or a base and up to 31 texts.
//
// All files are compared in one session of the library. What that leaves unmatched is looked at
// once more (gap_match.h); every form but --blocks shows the edits that come out.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "comparison.h"
#include "container_reading.h"
#include "diff_output.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "git_arguments.h"
#include "named_version.h"
#include "output.h"
#include "pager.h"
#include "record_line.h"
#include "unified_diff.h"
#include "usage_error.h"
#include "version_text.h"

namespace norvik {

namespace {

struct diff_options {
    std::vector<std::string> operands;
    std::string container;
    std::vector<std::string> labels;
    diff_view view;
    // Of these one at most, instead of a unified diff.
    bool side_by_side = false;
    bool brief = false;
    bool stat = false;
    bool word = false;
    bool blocks = false;
    int context = -1;
    int width = 0;
    bool no_moves = false;
    bool git = false;
    bool damaged = false;
};

struct diff_run {
    std::vector<lined_text> files;
    std::vector<std::string> labels;
    comparison compared;
    std::vector<file_edits> edits;  // of files 1 and up
    bool different = false;
};

exit_status load_versions(const diff_options &options, diff_run *run) {
    if (options.operands.empty() || options.operands.size() > 2) {
        return usage_error("diff", "-c takes one version or two");
    }
    container_reading input;
    const container_view &view = input.view;
    if (open_sound_container(options.container, options.damaged, &input) != status_done) {
        return status_trouble;
    }
    const version_record *first = require_version(view, options.operands[0]);
    const version_record *second = nullptr;
    if (first != nullptr) {
        second = options.operands.size() == 2 ? require_version(view, options.operands[1])
                                              : newest_version(view, first->id.branch);
    }
    if (first == nullptr || second == nullptr) {
        return status_trouble;
    }
    run->files.resize(2);
    exit_status status =
        told(load_version_text(view, first->id, version_name(view, first->id), &run->files[0]));
    if (status == status_done) {
        status = told(
            load_version_text(view, second->id, version_name(view, second->id), &run->files[1]));
    }
    return unless_changed(input, status);
}

exit_status load_files(const diff_options &options, diff_run *run) {
    if (options.operands.size() < 2 || options.operands.size() > most_files) {
        return usage_error("diff", options.operands.size() < 2
                                       ? "two files at least are needed"
                                       : "more than " + std::to_string(most_files) + " files");
    }
    if (told(refuse_spent_input(options.operands)) != status_done) {
        return status_trouble;
    }
    run->files.resize(options.operands.size());
    for (std::size_t i = 0; i < run->files.size(); i++) {
        if (told(open_text_file(options.operands[i], &run->files[i])) != status_done) {
            return status_trouble;
        }
    }
    return status_done;
}

exit_status compare(const diff_options &options, diff_run *run) {
    run->edits.resize(run->files.size() - 1);
    for (const lined_text &file : run->files) {
        run->labels.push_back(file.name);
    }
    for (std::size_t i = 0; i < std::min(options.labels.size(), run->labels.size()); i++) {
        run->labels[i] = options.labels[i];
    }
    // The library's own stream is asked of the library, whatever it refuses.
    const auto after = options.blocks ? after_compare::keep_session : after_compare::close_session;
    if (told(compare_files(&run->files, "compare", options.view.ignore_blanks, after,
                           &run->compared)) != status_done) {
        return status_trouble;
    }
    const auto equality =
        options.view.ignore_blanks ? line_equality::without_blanks : line_equality::exact;
    for (std::size_t k = 1; k < run->files.size(); k++) {
        file_edits &edits = run->edits[k - 1];
        edits = edits_of(run->compared, run->files, k, {equality, true});
        if (options.no_moves) {
            edits.moves.clear();
        }
        run->different = run->different || !edits.edits.empty();
    }
    return status_done;
}

void write_one(const diff_options &options, const diff_view &view, const file_difference &d) {
    output_writer &out = standard_output();
    if (options.side_by_side) {
        write_side_by_side(out, view, d);
    } else if (d.edits.edits.empty()) {
        return;
    } else if (options.brief) {
        out.printf("%s and %s differ\n", escape_name(d.base_label).c_str(),
                   escape_name(d.file_label).c_str());
    } else if (options.word) {
        write_word_diff(out, view, d);
    } else {
        const unified_options unified{view.context, view.color, view.escape, view.mark_moves};
        write_unified_header(out, unified, d.base_label, d.file_label);
        write_unified(out, unified, d.base.lines, d.file.lines, d.edits);
    }
}

void write_all(const command_context &context, const diff_options &options, const diff_view &view,
               const diff_run &run) {
    std::vector<file_difference> differences;
    for (std::size_t k = 1; k < run.files.size(); k++) {
        differences.push_back(
            {run.files[0], run.files[k], run.labels[0], run.labels[k], run.edits[k - 1]});
    }
    if (context.json) {
        write_diff_json(differences);
    } else if (options.blocks) {
        write_blocks(standard_output(), run.compared.blocks);
    } else if (options.stat) {
        write_stat(standard_output(), view, differences);
    } else {
        for (const file_difference &d : differences) {
            write_one(options, view, d);
        }
    }
}

void settle_view(const diff_options &options, bool terminal, bool color, diff_view *view) {
    view->color = color;
    view->escape = terminal;
    view->mark_moves = !options.no_moves;
    view->context = options.context >= 0 ? options.context : 3;
    view->whole = options.context < 0;
    if (options.width > 0) {
        view->width = options.width;
    } else if (terminal) {
        view->width = terminal_width(STDOUT_FILENO);
    }
}

// Git starts its pager itself and then says that what looks like a pipe is a terminal.
bool git_wants_color(const command_context &context) {
    const char *pager = std::getenv("GIT_PAGER_IN_USE");
    const char *none = std::getenv("NO_COLOR");
    const char *term = std::getenv("TERM");
    const bool paged = pager != nullptr && std::strcmp(pager, "true") == 0 &&
                       (none == nullptr || *none == '\0') && term != nullptr &&
                       std::strcmp(term, "dumb") != 0;
    return use_color(context.color, STDOUT_FILENO) ||
           (context.color == color_choice::automatic && paged);
}

bool is_text(const lined_text &file) {
    return file.bytes.view().find('\0') == std::string_view::npos;
}

// As git's external diff: differences are no failure.
exit_status run_git_diff(const command_context &context, diff_options *options) {
    git_change change;
    if (!parse_git_call(options->operands, &change)) {
        return usage_error("diff", "--git takes the seven operands of git's external diff");
    }
    output_writer &out = standard_output();
    if (change.unmerged) {
        out.printf("* Unmerged path %s\n", escape_name(change.path).c_str());
        return status_done;
    }
    options->operands = {change.old_file, change.new_file};
    diff_run run;
    if (load_files(*options, &run) != status_done ||
        told(read_lines(&run.files[0])) != status_done ||
        told(read_lines(&run.files[1])) != status_done) {
        return status_trouble;
    }
    if (!is_text(run.files[0]) || !is_text(run.files[1])) {
        write_git_binary(out, change);
        return status_done;
    }
    if (compare(*options, &run) != status_done) {
        return status_trouble;
    }
    diff_view view = options->view;
    settle_view(*options, is_terminal(STDOUT_FILENO), git_wants_color(context), &view);
    run.labels = {"a/" + change.path, "b/" + change.new_path};
    if (context.json || options->side_by_side || options->brief || options->stat || options->word ||
        options->blocks) {
        write_all(context, *options, view, run);
        return status_done;
    }
    write_git_header(out, change, run.different);
    write_unified(out, {view.context, view.color, view.escape, view.mark_moves}, run.files[0].lines,
                  run.files[1].lines, run.edits[0]);
    return status_done;
}

exit_status run_diff(const command_context &context, diff_options *options) {
    if (options->git || (options->container.empty() && is_git_call(options->operands))) {
        return run_git_diff(context, options);
    }
    if (options->labels.size() > (options->container.empty() ? options->operands.size() : 2)) {
        return usage_error("diff", "more labels than files");
    }
    diff_run run;
    exit_status status =
        options->container.empty() ? load_files(*options, &run) : load_versions(*options, &run);
    if (status == status_done) {
        status = compare(*options, &run);
    }
    if (status != status_done) {
        return status;
    }
    if (!context.quiet) {
        // Asked first: with the pager the descriptor is no terminal any more.
        const bool color = use_color(context.color, STDOUT_FILENO);
        pager paged(context.no_pager || context.json || !run.different);
        diff_view view = options->view;
        settle_view(*options, paged.to_terminal(), color, &view);
        write_all(context, *options, view, run);
        paged.finish();
    }
    return run.different ? status_negative : status_done;
}

void declare_forms(command_declaration &command, diff_options *options) {
    command.flag("-y,--side-by-side", options->side_by_side, "Two columns");
    command.flag("--brief", options->brief, "Say only which files differ");
    command.flag("--stat", options->stat, "Numbers of inserted, deleted and moved lines");
    command.flag("--word", options->word, "Compare changed lines word by word");
    command.flag("--blocks", options->blocks, "The library's difference stream, a line a block",
                 option_group::more);
}

// What one option leaves without effect is refused beside it.
void refuse_dropped_options(command_declaration &command) {
    command.allow_one_of({"--side-by-side", "--brief", "--stat", "--word", "--blocks", "--json"});
    for (const char *form : {"--brief", "--stat", "--blocks", "--json"}) {
        command.refuse_with(form, {"--unified"});
    }
    for (const char *form : {"--brief", "--word", "--blocks"}) {
        command.refuse_with(form, {"--no-moves"});
    }
    command.refuse_with("--blocks", {"--label"});
    command.refuse_with("--quiet", {"--side-by-side", "--brief", "--stat", "--word", "--blocks",
                                    "--json", "--unified", "--label", "--no-moves"});
    command.needs.emplace_back("--damaged", "--container");
    command.refuse_with("--git", {"--label", "--container", "--quiet"});
    command.needs.emplace_back("--width", "--side-by-side");
}

}  // namespace

void register_diff(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<diff_options>();
    command.take_list("FILE", options->operands, true,
                      "BASE and the files compared with it, up to 31; with -c versions");
    command.value("-c,--container", "CONTAINER", options->container,
                  "Compare two versions of CONTAINER, or one with its branch's newest");
    command.number("-U,--unified", "N", {0, INT32_MAX}, options->context, "Lines of context (3)");
    declare_forms(command, options.get());
    command.number("-W,--width", "N", {8, 100000}, options->width,
                   "Columns of the output of --side-by-side", option_group::more);
    command.flag("-w,--ignore-blanks", options->view.ignore_blanks, "Leave blanks out of account");
    command.flag("--no-moves", options->no_moves, "Show moved text as a deletion and an insertion");
    command.values("--label", "NAME", options->labels,
                   "Names for the headings, of BASE first; may be given for each file",
                   option_group::more);
    command.flag("--git", options->git,
                 "Take the operands of git's external diff, and exit 0 when they differ",
                 option_group::more);
    add_json_option(command, context);
    add_damaged_option(command, options->damaged);
    refuse_dropped_options(command);
    command.details =
        "The unified form is what patch and git apply take; where moved lines went and came from\n"
        "is said in the headings of the hunks, in the files' line numbers.";
    command.exit_codes = "0 no difference; 1 differences; 2 wrong usage or trouble.";
    command.examples = {"tdm diff old.txt new.txt", "tdm diff -c notes.tdm main@3 main@5"};
    command.run = [&context, options] { return run_diff(context, options.get()); };
}

}  // namespace norvik

// tdm git-merge: git's merge driver.
//
// Git reads the file of our side whatever the exit status is, and takes every status but 0 for a
// conflict. So nothing may go wrong without both sides standing in that file: on any trouble they
// are written there whole, between markers.
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>

#include "both_sides.h"
#include "command_context.h"
#include "command_declaration.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "file_replace.h"
#include "merge_words.h"
#include "out_of_memory.h"
#include "output.h"
#include "text_merge.h"

namespace norvik {

namespace {

struct driver_options {
    std::string base, ours, theirs;
    std::string size, path;
    std::string base_label, ours_label, theirs_label;
    std::string style = "diff3";
    merge_options merge;
};

// Git before 2.44 leaves the letters of the labels as they are.
std::string label_or(const std::string &label, const char *otherwise) {
    return label.empty() || label[0] == '%' ? otherwise : label;
}

void settle_options(driver_options *options) {
    marker_options &markers = options->merge.markers;
    const int size = std::atoi(options->size.c_str());
    markers.size = size > 0 && size <= 1000 ? size : 7;
    markers.base_label = label_or(options->base_label, "base");
    markers.labels = {label_or(options->ours_label, "ours"),
                      label_or(options->theirs_label, "theirs")};
    markers.style = options->style == "merge"    ? marker_style::merge
                    : options->style == "zdiff3" ? marker_style::zdiff3
                                                 : marker_style::diff3;
    markers.on_one_line = escape_name;
    if (options->path.empty()) {
        options->path = options->ours;
    }
}

exit_status replace_ours(const command_context &context, const std::string &name,
                         std::string_view text) {
    file_replacement replacement(context);
    if (told(replacement.lock_any(name)) != status_done ||
        told(replacement.begin()) != status_done) {
        return status_trouble;
    }
    const exit_status written = told(replacement.write(text));
    return written == status_done ? told(replacement.commit({})) : written;
}

exit_status keep_both_sides(const driver_options &options) {
    const marker_options &markers = options.merge.markers;
    const std::error_code error =
        write_both_sides({options.ours.c_str(), options.theirs.c_str(), markers.labels[0].c_str(),
                          markers.labels[1].c_str(), markers.size});
    if (error) {
        return say_errno(options.path, "both sides cannot be kept; ours is left as it is", error);
    }
    note_replaced();
    try {
        say_of_file(options.path, "cannot be merged; both sides are kept between markers");
    } catch (const std::bad_alloc &) {
        say_sides_are_kept();
    }
    return status_negative;
}

exit_status merge_into_ours(const command_context &context, const driver_options &options) {
    text_merge run;
    const std::vector<std::string> names{options.base, options.ours, options.theirs};
    if (told(begin_merge(names, options.merge, false, &run)) != status_done) {
        return status_trouble;
    }
    run.plan = plan_merge(run.in, options.merge.apply_adjacent);
    if (!finish_merge(options.merge, &run)) {
        return say_line_faults(run);
    }
    if (replace_ours(context, options.ours, run.merged.text) != status_done) {
        return status_trouble;
    }
    if (!context.quiet) {
        say_conflicts(run, options.merge, options.path);
    }
    return is_clean(run.plan) ? status_done : status_negative;
}

exit_status run_git_merge(const command_context &context, driver_options *options) {
    settle_options(options);
    if (told(refuse_spent_input({options->base, options->ours, options->theirs})) != status_done) {
        return status_trouble;
    }
    exit_status status = status_trouble;
    try {
        status = merge_into_ours(context, *options);
    } catch (const std::bad_alloc &) {
        if (is_replaced()) {
            throw;
        }
    } catch (const std::exception &error) {
        say("%s", error.what());
    }
    return status == status_trouble && !is_replaced() ? keep_both_sides(*options) : status;
}

}  // namespace

void register_git_merge(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<driver_options>();
    command.take("BASE", options->base, "git's %O");
    command.take("OURS", options->ours, "git's %A; the result is written there");
    command.take("THEIRS", options->theirs, "git's %B");
    command.take_optional("SIZE", options->size, "git's %L, the length of the markers");
    command.take_optional("PATH", options->path, "git's %P, for messages");
    command.take_optional("BASELABEL", options->base_label, "git's %S");
    command.take_optional("OURLABEL", options->ours_label, "git's %X");
    command.take_optional("THEIRLABEL", options->theirs_label, "git's %Y");
    command.choice("--style", "STYLE", {"merge", "diff3", "zdiff3"}, options->style,
                   "Conflicts: diff3 (the default), merge or zdiff3");
    command.flag("--strict", options->merge.strict,
                 "The same lines inserted in different places are a conflict");
    command.flag("-w,--ignore-blanks", options->merge.ignore_blanks,
                 "Changes of blanks alone are no changes: the base's line stays");
    command.details =
        "For git alone to run; 'tdm config git' prints the lines of configuration. Whatever goes\n"
        "wrong, both sides are left in OURS.";
    command.exit_codes =
        "0 clean; 1 conflicts, or trouble with both sides between markers; 2 trouble, ours "
        "unchanged.";
    command.examples = {"tdm git-merge %O %A %B %L -- %P",
                        "git config merge.tdm.driver 'tdm git-merge %O %A %B %L -- %P'"};
    command.run = [&context, options] { return run_git_merge(context, options.get()); };
}

}  // namespace norvik

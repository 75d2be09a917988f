#include "file_merge.h"
#include "failure_words.h"

#include "escaped_text.h"
#include "exit_status.h"
#include "merge_words.h"

namespace norvik {

namespace {

// From the opened files to what each contributor changed.
int compare_contributors(const merge_options &options, bool by_library, file_merge *run) {
    const auto after = by_library ? after_compare::keep_session : after_compare::close_session;
    if (compare_files(&run->files, "merge", options.ignore_blanks, after, &run->compared) !=
        status_done) {
        return status_trouble;
    }
    run->in.base = &run->files[0].lines;
    run->in.equality =
        options.ignore_blanks ? line_equality::without_inner_blanks : line_equality::exact;
    for (size_t k = 1; k < run->files.size(); k++) {
        if (!add_contributor(&run->files[k].lines, &run->in)) {
            run->in.changes.back() =
                edits_of(run->compared, run->files, k, {run->in.equality, !by_library});
        }
    }
    return status_done;
}

}  // namespace

int begin_merge(const std::vector<std::string> &names, const merge_options &options,
                bool by_library, file_merge *run) {
    if (told(refuse_spent_input(names)) != status_done) {
        return status_trouble;
    }
    run->files.resize(names.size());
    for (size_t i = 0; i < names.size(); i++) {
        if (told(open_text_file(names[i], &run->files[i])) != status_done) {
            return status_trouble;
        }
    }
    return compare_contributors(options, by_library, run);
}

int merge_texts(const std::vector<named_text> &texts, merge_options *options, file_merge *run) {
    marker_options &markers = options->markers;
    markers.on_one_line = escape_name;
    run->files.resize(texts.size());
    for (size_t i = 0; i < texts.size(); i++) {
        if (told(hold_text(texts[i].name, texts[i].bytes, &run->files[i])) != status_done) {
            return status_trouble;
        }
        if (i == 0 && markers.base_label.empty()) {
            markers.base_label = texts[i].name;
        } else if (i > markers.labels.size()) {
            markers.labels.push_back(texts[i].name);
        }
    }
    if (compare_contributors(*options, false, run) != status_done) {
        return status_trouble;
    }
    run->plan = plan_merge(run->in, options->apply_adjacent);
    return finish_or_say(*options, run);
}

int finish_or_say(const merge_options &options, merge_run *run) {
    if (finish_merge(options, run)) {
        return status_done;
    }
    say_faults(run->verdict);
    return status_trouble;
}

}  // namespace norvik

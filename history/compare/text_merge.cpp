// One comparison of all texts at once; contributors with the same text share their edits.
#include "text_merge.h"

namespace norvik {

namespace {

// From the opened files to what each contributor changed.
result<> compare_contributors(const merge_options &options, bool by_library, text_merge *run) {
    const auto after = by_library ? after_compare::keep_session : after_compare::close_session;
    if (auto done =
            compare_files(&run->files, "merge", options.ignore_blanks, after, &run->compared);
        !done) {
        return done;
    }
    run->in.base = &run->files[0].lines;
    run->in.equality =
        options.ignore_blanks ? line_equality::without_inner_blanks : line_equality::exact;
    for (std::size_t k = 1; k < run->files.size(); k++) {
        if (!add_contributor(&run->files[k].lines, &run->in)) {
            run->in.changes.back() =
                edits_of(run->compared, run->files, k, {run->in.equality, !by_library});
        }
    }
    return {};
}

void add_label(std::size_t text, const std::string &name, marker_options *markers) {
    if (text == 0 && markers->base_label.empty()) {
        markers->base_label = name;
    } else if (text > markers->labels.size()) {
        markers->labels.push_back(name);
    }
}

}  // namespace

result<> begin_merge(const std::vector<std::string> &names, const merge_options &options,
                     bool by_library, text_merge *run) {
    if (auto fresh = refuse_spent_input(names); !fresh) {
        return fresh;
    }
    run->files.resize(names.size());
    for (std::size_t i = 0; i < names.size(); i++) {
        if (auto opened = open_text_file(names[i], &run->files[i]); !opened) {
            return opened;
        }
    }
    return compare_contributors(options, by_library, run);
}

result<> merge_texts(const std::vector<named_text> &texts, merge_options *options,
                     text_merge *run) {
    run->files.resize(texts.size());
    for (std::size_t i = 0; i < texts.size(); i++) {
        if (auto held = hold_text(texts[i].name, texts[i].bytes, &run->files[i]); !held) {
            return held;
        }
        add_label(i, texts[i].name, &options->markers);
    }
    if (auto compared = compare_contributors(*options, false, run); !compared) {
        return compared;
    }
    run->plan = plan_merge(run->in, options->apply_adjacent);
    if (finish_merge(*options, run)) {
        return {};
    }
    const std::vector<line_fault> &faults = run->verdict.faults;
    return refusal({}, faults.empty() ? "the merged text does not pass its check"
                                      : fault_words(faults.front()));
}

std::string fault_words(const line_fault &fault) {
    const char *what = fault.kind == line_fault_kind::lost      ? "is lost"
                       : fault.kind == line_fault_kind::doubled ? "stands too often"
                                                                : "comes from nowhere";
    return std::string("the merged text does not pass its check: a line ") + what + ": '" +
           std::string(fault.line) + "'";
}

}  // namespace norvik

// tdm annotate: each line of a version with the version that brought it.
//
// One walk over the weave finds the lines (annotation.h); here each gets its version's name and
// date. A label is made once a version.
#include <norviktdm/tdm.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "annotation.h"
#include "annotation_json.h"
#include "annotation_tag.h"
#include "columns.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "joined_lines.h"
#include "line_ranges.h"
#include "named_version.h"
#include "output.h"
#include "pager.h"
#include "time_text.h"

namespace norvik {

namespace {

struct annotate_options {
    std::string container;
    std::string version;
    bool deleted = false;
    bool all = false;
    bool raw = false;
    bool damaged = false;
    bool pieces = false;
    std::vector<std::string> ranges;

    // The library's.
    std::uint32_t flags() const {
        std::uint32_t bits = tdm_annotate_lines;
        if (deleted || all) {
            bits |= tdm_annotate_deleted;
        }
        if (all) {
            bits |= tdm_annotate_all;
        }
        return bits;
    }

    annotated_lines which() const {
        return all       ? annotated_lines::all
               : deleted ? annotated_lines::lineage
                         : annotated_lines::own;
    }
};

// What is left of lines without the first ones.
std::string_view skip_lines(std::string_view lines, std::uint64_t count) {
    for (; count > 0 && !lines.empty(); count--) {
        lines.remove_prefix(std::min(lines.find('\n'), lines.size() - 1) + 1);
    }
    return lines;
}

class annotation_printer {
public:
    annotation_printer(const container_view &view, bool tagged, bool escaped)
        : view_(view), tagged_(tagged), escaped_(escaped) {
        // The highest number has the widest name of its branch.
        std::unordered_map<std::uint64_t, std::uint64_t> highest;
        for (const version_record &version : view.versions) {
            std::uint64_t &number = highest[version.id.branch];
            number = std::max(number, version.id.number);
        }
        for (const auto &[branch, number] : highest) {
            widen(escape_name(version_name(view, {branch, number})));
        }
    }

    void print(const std::vector<annotated_stretch> &stretches) {
        std::uint64_t lines = 0;
        for (const annotated_stretch &stretch : stretches) {
            lines = std::max(lines + stretch.lines, stretch.number + stretch.lines - 1);
            widen(shown_name(stretch.run));
        }
        number_width_ = std::to_string(lines).size();
        for (const annotated_stretch &stretch : stretches) {
            const std::string &label = label_of(stretch.run);
            std::uint64_t number = stretch.number;
            for_each_line(stretch, true, [&](std::string_view text) {
                print_line(stretch, label, number++, text);
            });
        }
    }

private:
    void widen(std::string_view name) { width_ = std::max(width_, count_columns(name)); }

    // Made once a version.
    const std::string &shown_name(version_id id) {
        std::string &name = names_[id];
        if (name.empty()) {
            const version_record *version = find_version(view_, id);
            const bool deleted = version == nullptr || version->deleted;
            name = escape_name(version_name(view_, id)) + (deleted ? " (deleted)" : "");
        }
        return name;
    }

    const std::string &label_of(version_id id) {
        std::string &text = labels_[id];
        if (text.empty()) {
            const version_record *version = find_version(view_, id);
            text = widened(shown_name(id), width_);
            text += version == nullptr ? "  -                   " : "  " + time_text(version->time);
        }
        return text;
    }

    void print_line(const annotated_stretch &stretch, std::string_view label, std::uint64_t number,
                    std::string_view text) {
        output_writer &out = standard_output();
        if (tagged_) {
            out.write(stretch.tag == format::tag_own       ? "  "
                      : stretch.tag == format::tag_deleted ? "- "
                                                           : "| ");
        }
        out.write(label);
        char digits[24];
        char *at = digits + sizeof digits;
        std::size_t width = 0;
        for (std::uint64_t rest = stretch.tag == format::tag_own ? number : 0; rest > 0;
             rest /= 10, width++) {
            *--at = static_cast<char>('0' + rest % 10);
        }
        for (; width < number_width_ + 2; width++) {
            *--at = ' ';
        }
        out.write(std::string_view(at, width));
        if (tagged_) {
            const bool has_deleter = stretch.tag == format::tag_deleted;
            out.write("  " + widened(has_deleter ? shown_name(stretch.deleter) : "", width_));
        }
        out.write("  ");
        out.write(escaped_ ? escape_text(text) : text);
    }

    const container_view &view_;
    bool tagged_;
    bool escaped_;
    std::size_t width_ = 0;
    std::size_t number_width_ = 1;
    std::unordered_map<version_id, std::string, version_id_hash> names_;
    std::unordered_map<version_id, std::string, version_id_hash> labels_;
};

// The parts of the version's own lines that stand in the ranges, both in order.
std::vector<annotated_stretch> lines_within(const std::vector<line_range> &ranges,
                                            const std::vector<annotated_stretch> &stretches) {
    std::vector<annotated_stretch> parts;
    auto range = ranges.begin();
    for (const annotated_stretch &stretch : stretches) {
        const std::uint64_t end = stretch.number + stretch.lines;
        for (; range != ranges.end() && range->last < stretch.number; ++range) {
        }
        for (auto at = range; at != ranges.end() && at->first < end; ++at) {
            annotated_stretch part = stretch;
            part.number = std::max<std::uint64_t>(at->first, stretch.number);
            part.lines = std::min<std::uint64_t>(at->last + 1, end) - part.number;
            if (!stretch.marked) {
                part.bytes = skip_lines(part.bytes, part.number - stretch.number);
                part.bytes.remove_suffix(skip_lines(part.bytes, part.lines).size());
            }
            parts.push_back(part);
        }
    }
    return parts;
}

// Long lines are kept in `texts`.
result<std::vector<annotated_stretch>> annotated(const container_view &view, version_id version,
                                                 const annotate_options &options,
                                                 std::deque<std::string> *texts) {
    auto stretches = options.pieces ? annotate_version(view, version, options.which())
                                    : annotate_lines(view, version, options.which(), texts);
    if (!stretches || options.ranges.empty()) {
        return stretches;
    }
    std::vector<std::string_view> lines;
    for (const annotated_stretch &stretch : *stretches) {
        for_each_line(stretch, false, [&](std::string_view line) { lines.push_back(line); });
    }
    const auto ranges = find_line_ranges(lines, options.ranges, version_name(view, version));
    if (!ranges) {
        return ranges.failure();
    }
    return lines_within(*ranges, *stretches);
}

exit_status run_annotate(const command_context &context, const annotate_options &options) {
    container_reading input;
    const container_view &view = input.view;
    if (open_sound_container(options.container, options.damaged, &input) != status_done) {
        return status_trouble;
    }
    const version_record *version = require_version(view, options.version);
    if (version == nullptr) {
        return status_trouble;
    }
    if (options.raw) {
        widen_standard_stream();
        const int result = tdm_construct_ver(input.path.path().c_str(), nullptr,
                                             std::string(version->oid).c_str(), options.flags());
        return unless_changed(input, result == 0 ? status_done : status_trouble);
    }
    std::deque<std::string> texts;
    const auto stretches = annotated(view, version->id, options, &texts);
    if (!stretches) {
        return unless_changed(input, tell(stretches.failure()));
    }
    if (context.json) {
        print_annotation_json(view, version->id, *stretches);
        return unless_changed(input, status_done);
    }
    pager pages(context.no_pager);
    annotation_printer printer(view, options.deleted || options.all, pages.to_terminal());
    printer.print(*stretches);
    pages.finish();
    return unless_changed(input, status_done);
}

}  // namespace

void register_annotate(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<annotate_options>();
    command.take("CONTAINER", options->container, "The container to read");
    command.take_optional("VERSION", options->version,
                          "BRANCH@N, BRANCH or an identifier (default: the newest)");
    command.flag("--deleted", options->deleted, "Also the lines that VERSION has lost");
    command.flag("--all", options->all, "Also the lines of other branches and of later versions");
    command.flag("--pieces", options->pieces,
                 "The pieces each that a line of more than 8000 bytes is stored as");
    command.flag("--raw", options->raw, "The library's own listing, for scripts");
    command.values("-L,--lines", "RANGE", options->ranges,
                   "These lines only: FROM,TO as numbers or /REGEX/, or FROM,+N");
    add_json_option(command, context);
    command.refuse_with("--raw", {"--lines", "--json", "--pieces"});
    command.refuse_with("--lines", {"--deleted", "--all"});
    add_damaged_option(command, options->damaged);
    command.details =
        "Each line: the version that brought it, its date, the line's number, the text. With\n"
        "--deleted or --all a mark comes first (- deleted, | not in VERSION's line) and the\n"
        "version that deleted the line stands before the text. A version that is deleted itself\n"
        "is named so, with its date where the container still has it.";
    command.exit_codes =
        "0 written, with --damaged also from a damaged container; 2 wrong usage or trouble.";
    command.examples = {"tdm annotate notes.tdm", "tdm annotate notes.tdm main@3 --deleted",
                        "tdm annotate notes.tdm -L '/^int main/,/^}/'"};
    command.run = [&context, options] { return run_annotate(context, *options); };
}

}  // namespace norvik

// tdm annotate: each line of a version with the version that brought it.
//
// The library lists the lines with the identifiers of their versions into memory; here each gets
// its version's name and date. A label is made once a version, so that the cost is that of the
// listing.
#include <norviktdm/tdm.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "annotation_tag.h"
#include "columns.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "escaped_text.h"
#include "memory_file.h"
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
};

struct listed_line {
    char tag;  // of format::annotation_tag
    std::string_view oid;
    std::string_view deleter;  // empty but for format::tag_deleted
    std::string_view text;     // with its newline
};

bool take_line(std::string_view &listing, listed_line &line) {
    const std::size_t newline = listing.find('\n');
    if (newline == std::string_view::npos) {
        return false;
    }
    std::string_view whole = listing.substr(0, newline + 1);
    listing.remove_prefix(newline + 1);
    const std::size_t blank = whole.find(' ', 2);
    if (whole.size() < 4 || blank == std::string_view::npos) {
        return false;
    }
    std::string_view names = whole.substr(2, blank - 2);
    line = {whole[0], names, {}, whole.substr(blank + 1)};
    // An identifier may itself hold a comma; ours do not.
    const std::size_t comma =
        line.tag == format::tag_deleted ? names.rfind(',') : std::string_view::npos;
    if (comma != std::string_view::npos) {
        line.oid = names.substr(0, comma);
        line.deleter = names.substr(comma + 1);
    }
    return true;
}

std::uint64_t count_lines(std::string_view text) {
    std::uint64_t count = 0;
    for (std::size_t newline = text.find('\n'); newline != text.npos; count++) {
        newline = text.find('\n', newline + 1);
    }
    return count;
}

class annotation_printer {
public:
    annotation_printer(const container_view &view, bool tagged, bool escaped)
        : view_(view), tagged_(tagged), escaped_(escaped), labels_(view.versions.size()) {
        // The highest number has the widest name of its branch.
        std::unordered_map<std::uint64_t, std::uint64_t> highest;
        for (const version_record &version : view.versions) {
            std::uint64_t &number = highest[version.id.branch];
            number = std::max(number, version.id.number);
        }
        for (const auto &[branch, number] : highest) {
            const std::string name = escape_name(version_name(view, {branch, number}));
            width_ = std::max(width_, count_columns(name));
        }
    }

    void print(std::string_view listing) {
        number_width_ = std::to_string(count_lines(listing)).size();
        std::uint64_t number = 0;
        listed_line line;
        while (take_line(listing, line)) {
            number += line.tag == format::tag_own;
            print_line(line, number);
        }
    }

private:
    std::string shown_name(const version_record *version) const {
        return version == nullptr ? "?" : escape_name(version_name(view_, version->id));
    }

    const std::string &label(std::string_view oid) {
        if (oid == last_oid_) {
            return *last_label_;
        }
        const version_record *version = find_version_by_oid(view_, oid);
        std::string &text =
            version == nullptr ? unknown_
                               : labels_[static_cast<std::size_t>(version - view_.versions.data())];
        if (text.empty()) {
            text = widened(shown_name(version), width_);
            text += version == nullptr ? "  -                   " : "  " + time_text(version->time);
        }
        last_oid_ = oid;
        last_label_ = &text;
        return text;
    }

    void print_line(const listed_line &line, std::uint64_t number) {
        output_writer &out = standard_output();
        if (tagged_) {
            out.write(line.tag == format::tag_own       ? "  "
                      : line.tag == format::tag_deleted ? "- "
                                                        : "| ");
        }
        out.write(label(line.oid));
        char digits[24];
        char *at = digits + sizeof digits;
        std::size_t width = 0;
        for (std::uint64_t rest = line.tag == format::tag_own ? number : 0; rest > 0;
             rest /= 10, width++) {
            *--at = static_cast<char>('0' + rest % 10);
        }
        for (; width < number_width_ + 2; width++) {
            *--at = ' ';
        }
        out.write(std::string_view(at, width));
        if (tagged_) {
            print_deleter(line.deleter);
        }
        out.write("  ");
        out.write(escaped_ ? escape_text(line.text) : line.text);
    }

    void print_deleter(std::string_view oid) {
        const version_record *version = oid.empty() ? nullptr : find_version_by_oid(view_, oid);
        standard_output().write("  " + widened(oid.empty() ? "" : shown_name(version), width_));
    }

    const container_view &view_;
    bool tagged_;
    bool escaped_;
    std::size_t width_ = 0;
    std::size_t number_width_ = 1;
    std::vector<std::string> labels_;  // by the version's place in the header; made when needed
    std::string unknown_;
    std::string_view last_oid_;
    std::string *last_label_ = &unknown_;
};

// Lets the library write its listing into memory.
exit_status read_listing(const annotate_options &options, const char *path, const std::string &oid,
                         file_bytes *listing) {
    memory_file memory;
    if (const std::error_code error = memory.create(options.container); error) {
        return say_errno(options.container, "no memory for the annotation", error);
    }
    if (tdm_construct_ver(path, memory.path().c_str(), oid.c_str(), options.flags()) != 0) {
        say_of_file(options.container, "the version is not annotated");
        return status_trouble;
    }
    const std::error_code error = listing->load(memory.descriptor());
    return !error ? status_done
                  : say_errno(options.container, "the annotation cannot be read", error);
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
    const std::string oid(version->oid);
    const char *path = input.path.path().c_str();
    if (options.raw) {
        widen_standard_stream();
        const int result = tdm_construct_ver(path, nullptr, oid.c_str(), options.flags());
        return unless_changed(input, result == 0 ? status_done : status_trouble);
    }
    file_bytes listing;
    const exit_status status = read_listing(options, path, oid, &listing);
    if (status == status_done) {
        pager pages(context.no_pager);
        annotation_printer printer(view, options.deleted || options.all, pages.to_terminal());
        printer.print(listing.view());
        pages.finish();
    }
    return unless_changed(input, status);
}

}  // namespace

void register_annotate(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<annotate_options>();
    command.take("CONTAINER", options->container, "The container to read");
    command.take_optional("VERSION", options->version,
                          "BRANCH@N, BRANCH or an identifier (default: the newest)");
    command.flag("--deleted", options->deleted, "Also the lines that VERSION has lost");
    command.flag("--all", options->all, "Also the lines of other branches and of later versions");
    command.flag("--raw", options->raw, "The library's own listing, for scripts");
    add_damaged_option(command, options->damaged);
    command.details =
        "Each line: the version that brought it, its date, the line's number, the text. With\n"
        "--deleted or --all a mark comes first (- deleted, | not in VERSION's line) and the\n"
        "version that deleted the line stands before the text.";
    command.exit_codes =
        "0 written, with --damaged also from a damaged container; 2 wrong usage or trouble.";
    command.examples = {"tdm annotate notes.tdm", "tdm annotate notes.tdm main@3 --deleted"};
    command.run = [&context, options] { return run_annotate(context, *options); };
}

}  // namespace norvik

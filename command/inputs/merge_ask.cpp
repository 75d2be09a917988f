// A conflict is shown in columns, place by place, and asked about contributor by contributor. The
// answers go into the plan and nowhere else: the text is merged from it and checked once more, and
// an abandoned merge has written nothing.
#include "merge_ask.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "columns.h"
#include "edit_text.h"
#include "escaped_text.h"
#include "merge_words.h"
#include "output.h"
#include "terminal.h"

namespace norvik {

namespace {

constexpr std::int32_t most_rows = 20;  // of a place, unless all are asked for
constexpr const char *answer_help =
    "y yes, n no, a abandon the merge, b take the base, 1-9... take that file (the base is 1),\n"
    "e edit, s see all lines, ? this help; an empty line takes the default\n";

struct conversation {
    const merge_options &options;
    const merge_run &run;
    bool color;
    int width;
};

const char *paint(const conversation &c, const char *code) {
    return c.color ? code : "";
}

void show_row(const conversation &c, const std::vector<place_version> &versions, std::int32_t row,
              int width) {
    for (std::size_t i = 0; i < versions.size(); i++) {
        const place_version &v = versions[i];
        const bool there = v.first + row < v.end;
        const std::string_view line = there ? v.text->line(v.first + row) : std::string_view();
        std::cerr << (i == 0 ? "" : " | ") << paint(c, i == 0 ? "\x1b[2m" : "\x1b[32m")
                  << fit_column(line, width) << paint(c, "\x1b[m");
    }
    std::cerr << '\n';
}

void show_place(const conversation &c, const merge_region &region, const merge_place &place,
                bool whole) {
    std::vector<place_version> versions{{c.run.in.base, place.base_first, place.base_end, true}};
    std::string heading = "file 1 (base) " + range_words(place.base_first, place.base_end);
    const int width =
        std::max(8, (c.width - 1) / (static_cast<int>(region.contributors.size()) + 1) - 3);
    std::cerr << paint(c, "\x1b[1m") << fit_column(heading, width);
    for (const std::int32_t k : region.contributors) {
        versions.push_back(version_at(c.run.in, place, k));
        heading = "file " + std::to_string(k + 2) + " " +
                  escape_name(c.options.markers.labels[static_cast<std::size_t>(k)]) + " " +
                  range_words(versions.back().first, versions.back().end);
        std::cerr << " | " << fit_column(heading, width);
    }
    std::cerr << paint(c, "\x1b[m") << '\n';
    std::int32_t rows = 0;
    for (const place_version &v : versions) {
        rows = std::max(rows, v.end - v.first);
    }
    const std::int32_t shown = whole ? rows : std::min(rows, most_rows);
    for (std::int32_t row = 0; row < shown; row++) {
        show_row(c, versions, row, width);
    }
    if (shown < rows) {
        std::cerr << "(" << rows - shown << " more lines; s shows them)\n";
    }
}

void show_region(const conversation &c, const merge_region &region, bool whole) {
    std::cerr << paint(c, "\x1b[1;36m") << region_words(c.run, c.options, region)
              << paint(c, "\x1b[m") << '\n';
    for (const std::int32_t i : region.places) {
        show_place(c, region, c.run.plan.places[static_cast<std::size_t>(i)], whole);
    }
}

tdm_difference_kind kind_of(const merge_run &run, const merge_region &region,
                            std::int32_t contributor) {
    bool removes = false;
    bool inserts = false;
    for (const std::int32_t i : region.places) {
        const merge_place &place = run.plan.places[static_cast<std::size_t>(i)];
        const place_version version = version_at(run.in, place, contributor);
        removes = removes || (!version.of_base && place.base_end > place.base_first);
        inserts = inserts || (!version.of_base && version.end > version.first);
    }
    return removes && inserts ? tdm_diff_change : inserts ? tdm_diff_insert : tdm_diff_delete;
}

// False when the editor failed or left markers: then the question stands.
bool edit_region(const conversation &c, const merge_region &region,
                 std::vector<std::string> *answer) {
    for (const std::int32_t i : region.places) {
        const merge_place &place = c.run.plan.places[static_cast<std::size_t>(i)];
        const auto sides = conflict_sides(c.run.in, region, place);
        // All that the conflict shows here is one text: no choice.
        if (sides.size() < 2) {
            answer->emplace_back(version_at(c.run.in, place, sides[0][0]).bytes());
            continue;
        }
        std::string text = conflict_text(c.run.in, place, sides, c.options.markers);
        if (edit_text(&text) != status_done) {
            return false;
        }
        // Lines of the text itself may look so; asking again is the smaller harm.
        const std::string marker(static_cast<std::size_t>(c.options.markers.size), '<');
        if (text.starts_with(marker) || text.find("\n" + marker) != text.npos) {
            say("there are still markers in the text");
            return false;
        }
        answer->push_back(text);
    }
    return true;
}

struct reply {
    enum { yes, no, abandon, decided } kind = no;
    std::vector<std::string> answer;  // when decided
};

bool take_file(const conversation &c, const merge_region &region, const std::string &word,
               reply *out) {
    const int number = std::atoi(word.c_str());
    if (word.find_first_not_of("0123456789") != word.npos || number < 1 ||
        number > static_cast<int>(c.run.in.files.size()) + 1) {
        return false;
    }
    out->kind = reply::decided;
    out->answer = joined_versions(
        c.run, region,
        number == 1 ? std::vector<std::int32_t>{} : std::vector<std::int32_t>{number - 2});
    return true;
}

// Asks until there is an answer; end of input abandons.
reply ask_one(const conversation &c, const merge_region &region, std::int32_t contributor,
              bool default_yes) {
    while (true) {
        std::cerr << question_text(kind_of(c.run, region, contributor), contributor + 2)
                  << (default_yes ? "[Y/n/a/b/K/e/s/?] " : "[y/N/a/b/K/e/s/?] ") << std::flush;
        std::string word;
        reply out;
        if (!std::getline(std::cin, word) || word == "a" || word == "abort") {
            out.kind = reply::abandon;
            return out;
        }
        if (word.empty() || word == "y" || word == "yes" || word == "n" || word == "no") {
            out.kind = (word.empty() ? default_yes : word[0] == 'y') ? reply::yes : reply::no;
            return out;
        }
        if (take_file(c, region, word == "b" ? "1" : word, &out)) {
            return out;
        }
        if (word == "e" && edit_region(c, region, &out.answer)) {
            out.kind = reply::decided;
            return out;
        }
        if (word == "s") {
            show_region(c, region, true);
        } else if (word != "e") {
            std::cerr << answer_help;
        }
    }
}

exit_status ask_region(const conversation &c, merge_region *region) {
    std::vector<std::int32_t> accepted;
    for (const std::int32_t k : region->contributors) {
        if (!accepted.empty() && kind_of(c.run, *region, k) == tdm_diff_delete) {
            continue;
        }
        reply answer = ask_one(c, *region, k, accepted.empty());
        if (answer.kind == reply::abandon) {
            return status_negative;
        }
        if (answer.kind == reply::decided) {
            region->answer = std::move(answer.answer);
            return status_done;
        }
        if (answer.kind == reply::yes) {
            accepted.push_back(k);
        }
    }
    region->answer = joined_versions(c.run, *region, accepted);
    return status_done;
}

conversation make_conversation(const command_context &context, const merge_options &options,
                               const merge_run &run) {
    return {options, run, use_color(context.color, STDERR_FILENO), terminal_width(STDERR_FILENO)};
}

}  // namespace

std::vector<std::string> joined_versions(const merge_run &run, const merge_region &region,
                                         const std::vector<std::int32_t> &contributors) {
    std::vector<std::string> texts;
    for (const std::int32_t i : region.places) {
        const merge_place &place = run.plan.places[static_cast<std::size_t>(i)];
        std::string text;
        for (const std::int32_t k : contributors) {
            text += lacks_last_newline(text) ? "\n" : "";
            text += version_at(run.in, place, k).bytes();
        }
        texts.push_back(contributors.empty()
                            ? std::string(run.in.base->range(place.base_first, place.base_end))
                            : text);
    }
    return texts;
}

void show_region(const command_context &context, const merge_options &options, const merge_run &run,
                 const merge_region &region) {
    show_region(make_conversation(context, options, run), region, false);
}

bool can_ask(const command_context &context) {
    if (context.no_input || !is_terminal(STDIN_FILENO)) {
        say(context.no_input ? "a question is needed, and --no-input forbids it"
                             : "a question is needed, and standard input is no terminal");
        return false;
    }
    return true;
}

std::string question_text(tdm_difference_kind kind, int file_number) {
    const char *what = kind == tdm_diff_change   ? "CHANGE"
                       : kind == tdm_diff_insert ? "INSERTION"
                                                 : "DELETION";
    return std::string("Do you want the ") + what + " made in file " + std::to_string(file_number) +
           "? ";
}

exit_status ask_about_conflicts(const command_context &context, const merge_options &options,
                                merge_run *run) {
    const conversation c = make_conversation(context, options, *run);
    for (merge_region &region : run->plan.regions) {
        if (region.places.empty() || !is_conflict(region)) {
            continue;
        }
        show_region(c, region, false);
        const exit_status status = ask_region(c, &region);
        if (status != status_done) {
            return status;
        }
    }
    return status_done;
}

}  // namespace norvik

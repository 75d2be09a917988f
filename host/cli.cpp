#include "cli.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <numeric>

#include "both_sides.h"
#include "help.h"
#include "out_of_memory.h"
#include "output.h"

namespace host {

namespace {

constexpr const char *version_line = "tdm " TDM_VERSION "\n";

size_t edit_distance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); i++) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); j++) {
            const size_t replaced = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
        }
    }
    return row[b.size()];
}

std::string suggestion(std::string_view word, std::span<const std::string> candidates) {
    const std::string_view nearest = nearest_name(word, candidates);
    return nearest.empty() ? "" : "; did you mean '" + std::string(nearest) + "'?";
}

void add_common_options(CLI::App &app, command_context &context, bool &brief, bool &full) {
    const auto set_color = [&context](const std::string &value) {
        context.color = value == "always"  ? color_choice::always
                        : value == "never" ? color_choice::never
                                           : color_choice::automatic;
    };
    app.add_option_function<std::string>("--color", set_color, "Colour: auto, always or never")
        ->check(CLI::IsMember(std::array<std::string, 3>{"auto", "always", "never"}))
        ->option_text("WHEN")
        ->group(general_options);
    app.add_flag("--no-pager", context.no_pager, "Never start a pager")->group(general_options);
    app.add_flag("--no-progress", context.no_progress, "Never show a progress bar")
        ->group(general_options);
    app.add_flag("-q,--quiet", context.quiet, "Say only what went wrong")->group(general_options);
    app.add_flag("--no-input", context.no_input, "Never ask; refuse where a question is needed")
        ->group(general_options);
    app.add_flag("-h", brief, "Short help")->group(general_options);
    app.add_flag("--help", full, "All of the help")->group(general_options);
}

std::vector<std::string> option_names(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options()) {
        for (const std::string &name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

// Hands what CLI11 did not take, in order, to the operands. An option among it is unknown.
int take_operands(const CLI::App &app, command_context &context) {
    size_t next = 0;
    bool options_ended = false;
    for (const std::string &word : app.remaining()) {
        if (!options_ended && word == "--") {
            options_ended = true;
            continue;
        }
        if (!options_ended && word.size() > 1 && word[0] == '-') {
            const std::string name = word.substr(0, word.find('='));
            return usage_error(context.name, "unknown option '" + escape_name(name) + "'" +
                                                 suggestion(name, option_names(app)));
        }
        if (next == context.operands.size()) {
            return usage_error(context.name, "one operand too many: '" + escape_name(word) + "'");
        }
        const operand &place = context.operands[next];
        if (word.empty()) {
            return usage_error(context.name, std::string("operand ") + place.name + " is empty");
        }
        if (word == "-" && std::strcmp(place.name, "CONTAINER") == 0) {
            return usage_error(context.name,
                               "a container is a file, never standard input (./- is one)");
        }
        if (place.list != nullptr) {
            place.list->push_back(word);
        } else {
            *place.single = word;
            next++;
        }
    }
    for (; next < context.operands.size(); next++) {
        const operand &place = context.operands[next];
        if (place.required && (place.list == nullptr || place.list->empty())) {
            return usage_error(context.name, std::string("operand ") + place.name + " is missing");
        }
    }
    return status_done;
}

int refuse_empty_values(const CLI::App &app, const command_context &context) {
    for (const CLI::Option *option : app.get_options()) {
        const std::vector<std::string> &values = option->results();
        if (option->get_items_expected_max() > 0 &&
            std::find(values.begin(), values.end(), "") != values.end()) {
            return usage_error(context.name, option->get_name() + " needs a value");
        }
    }
    return status_done;
}

int parse_and_run(CLI::App &app, command_context &context, std::span<char *> words, bool &brief,
                  bool &full) {
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    try {
        app.parse(std::move(reversed));
    } catch (const CLI::ParseError &error) {
        std::string reason = error.what();
        reason.resize(std::min(reason.find('\n'), reason.size()));
        return usage_error(context.name, escape_name(reason));
    }
    if (brief || full) {
        print_help(app, context, full);
        return status_done;
    }
    int status = refuse_empty_values(app, context);
    if (status == status_done) {
        status = take_operands(app, context);
    }
    return status == status_done ? context.run() : status;
}

int run_command(const command_entry &entry, std::span<char *> words) {
    CLI::App app;
    command_context context;
    context.name = entry.name;
    context.summary = entry.summary;
    app.set_help_flag();
    app.allow_extras();
    entry.add(app, context);
    bool brief = false;
    bool full = false;
    add_common_options(app, context, brief, full);
    return parse_and_run(app, context, words, brief, full);
}

int unknown_command(const char *word) {
    std::vector<std::string> names{"--version", "--help"};
    for (const command_entry &entry : command_table()) {
        names.emplace_back(entry.name);
    }
    const char *kind = word[0] == '-' ? "unknown option '" : "unknown command '";
    return usage_error("", kind + escape_name(word) + "'" + suggestion(word, names));
}

int dispatch(std::span<char *> words) {
    if (words.empty()) {
        return usage_error("", "no command given");
    }
    const std::string_view first = words[0];
    if (first == "--version") {
        standard_output().write(version_line);
        return status_done;
    }
    if (first == "-h" || first == "--help" || (first == "help" && words.size() == 1)) {
        print_overview(first != "-h");
        return status_done;
    }
    const bool help = first == "help";
    const char *name = words[help ? 1 : 0];
    for (const command_entry &entry : command_table()) {
        if (std::strcmp(entry.name, name) == 0) {
            static char full_help[] = "--help";
            static char *help_words[] = {full_help};
            return run_command(entry, help ? std::span<char *>(help_words) : words.subspan(1));
        }
    }
    return unknown_command(name);
}

// Negative, endless and what is no number at all, which compares as false with everything.
std::string refuse_odd_timeout(const std::string &value) {
    char *end = nullptr;
    const double seconds = std::strtod(value.c_str(), &end);
    const bool number = end != value.c_str() && *end == '\0';
    return number && seconds >= 0 && seconds <= 1e9 ? "" : "not a number of seconds from 0 to 1e9";
}

}  // namespace

void command_context::take(const char *operand_name, std::string &value, const char *description) {
    operands.push_back({operand_name, description, &value, nullptr, true});
}

void command_context::take_optional(const char *operand_name, std::string &value,
                                    const char *description) {
    operands.push_back({operand_name, description, &value, nullptr, false});
}

void command_context::take_list(const char *operand_name, std::vector<std::string> &values,
                                bool required, const char *description) {
    operands.push_back({operand_name, description, nullptr, &values, required});
}

CLI::Option *option_named(CLI::App &app, std::string_view name) {
    for (CLI::Option *option : app.get_options()) {
        if (std::ranges::find(option->get_lnames(), name.substr(2)) != option->get_lnames().end()) {
            return option;
        }
    }
    throw CLI::OptionNotFound(std::string(name));
}

void allow_one_of(CLI::App &app, std::initializer_list<const char *> names) {
    for (const char *const *name = names.begin(); name != names.end(); ++name) {
        for (const char *const *other = name + 1; other != names.end(); ++other) {
            refuse_with(app, *name, {*other});
        }
    }
}

void refuse_with(CLI::App &app, const char *option, std::initializer_list<const char *> names) {
    for (const char *name : names) {
        option_named(app, option)->excludes(option_named(app, name));
    }
}

void add_json_option(CLI::App &app, command_context &context) {
    app.add_flag("--json", context.json, "Machine-readable output, described in docs/json.md");
}

void add_replace_options(CLI::App &app, command_context &context, const char *force_help) {
    app.add_option("--lock-timeout", context.lock_timeout,
                   "Wait at most SECONDS for another command (default 10)")
        ->check(refuse_odd_timeout)
        ->option_text("SECONDS")
        ->group(more_options);
    app.add_flag("--break-links", context.break_links,
                 "Replace a file that has several hard links; the others keep the old text")
        ->group(more_options);
    app.add_flag("-f,--force", context.force, force_help)->group(more_options);
}

void add_dry_run_option(CLI::App &app, command_context &context) {
    app.add_flag("--dry-run", context.dry_run, "Say what would be done and change nothing");
}

int usage_error(std::string_view command, const std::string &message) {
    const std::string help = command.empty() ? "tdm -h" : "tdm " + std::string(command) + " -h";
    say("%s (see '%s')", message.c_str(), help.c_str());
    return status_trouble;
}

std::string_view nearest_name(std::string_view word, std::span<const std::string> candidates) {
    std::string_view nearest;
    size_t best = std::max<size_t>(1, word.size() / 3);
    for (const std::string &candidate : candidates) {
        const size_t distance = edit_distance(word, candidate);
        if (distance < best || (distance == best && nearest.empty())) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

int run_command_line(int argc, char **argv) {
    forget_notes();
    watch_memory(last_resort_for(argc, argv));
    int status = status_trouble;
    try {
        begin_standard_output();
        const auto count = static_cast<size_t>(std::max(argc - 1, 0));
        status = dispatch(std::span<char *>(argv + (argc > 0 ? 1 : 0), count));
        status = std::max<int>(status, finish_standard_output());
    } catch (const std::bad_alloc &) {
        note_out_of_memory();
        status = status_trouble;
        if (is_replaced()) {
            standard_output().flush();  // it says what has been stored
        }
    } catch (const std::exception &error) {
        say("%s", error.what());
        status = status_trouble;
    }
    return status == status_trouble && is_out_of_memory() ? end_without_memory() : status;
}

}  // namespace host

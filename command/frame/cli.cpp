// The command is found by its first word and declares what it takes; then its options are parsed,
// its operands handed out, and it runs only when every word is understood. Whatever ends a run ends
// here, as an exit status, standard output's own failure included.
#include "cli.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "both_sides.h"
#include "command_context.h"
#include "command_declaration.h"
#include "commands.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "help.h"
#include "option_parser.h"
#include "out_of_memory.h"
#include "output.h"
#include "terminal.h"
#include "usage_error.h"

namespace norvik {

namespace {

constexpr const char *version_line = "tdm " TDM_VERSION "\n";

struct help_asked {
    bool brief = false;
    bool full = false;
};

void add_general_options(command_declaration &command, command_context &context, std::string &color,
                         help_asked &help) {
    constexpr option_group general = option_group::general;
    command.choice("--color", "WHEN", {"auto", "always", "never"}, color,
                   "Colour: auto, always or never", general);
    command.flag("--no-pager", context.no_pager, "Never start a pager", general);
    command.flag("--no-progress", context.no_progress, "Never show a progress bar", general);
    command.flag("-q,--quiet", context.quiet, "Say only what went wrong", general);
    command.flag("--no-input", context.no_input, "Never ask; refuse where a question is needed",
                 general);
    command.flag("-h", help.brief, "Short help", general);
    command.flag("--help", help.full, "All of the help", general);
}

std::vector<std::string> option_names(const command_declaration &command) {
    std::vector<std::string> names;
    for (const declared_option &option : command.options) {
        const std::string_view all = option.names;
        const std::size_t start = all.find("--");
        if (start != all.npos) {
            names.emplace_back(all.substr(start));
        }
    }
    return names;
}

// Hands the words that are no options, in order, to the operands. An option among them is unknown.
exit_status take_operands(const std::vector<std::string> &words,
                          const command_declaration &command) {
    std::size_t next = 0;
    bool options_ended = false;
    for (const std::string &word : words) {
        if (!options_ended && word == "--") {
            options_ended = true;
            continue;
        }
        if (!options_ended && word.size() > 1 && word[0] == '-') {
            const std::string name = word.substr(0, word.find('='));
            return usage_error(command.name, "unknown option '" + escape_name(name) + "'" +
                                                 suggestion(name, option_names(command)));
        }
        if (next == command.operands.size()) {
            return usage_error(command.name, "one operand too many: '" + escape_name(word) + "'");
        }
        const operand &place = command.operands[next];
        // Mostly a variable of a script that is not set.
        if (word.empty()) {
            return usage_error(command.name, std::string("operand ") + place.name + " is empty");
        }
        if (word == "-" && std::strcmp(place.name, "CONTAINER") == 0) {
            return usage_error(command.name,
                               "a container is a file, never standard input (./- is one)");
        }
        if (place.list != nullptr) {
            place.list->push_back(word);
        } else {
            *place.single = word;
            next++;
        }
    }
    for (; next < command.operands.size(); next++) {
        const operand &place = command.operands[next];
        if (place.required && (place.list == nullptr || place.list->empty())) {
            return usage_error(command.name, std::string("operand ") + place.name + " is missing");
        }
    }
    return status_done;
}

exit_status run_command(const command_entry &entry, std::span<char *> words) {
    command_context context;
    context.tell = [](const failure &what) { tell(what); };
    context.note_replaced = note_replaced;
    command_declaration command;
    command.name = entry.name;
    command.summary = entry.summary;
    entry.add(command, context);
    std::string color;
    help_asked help;
    add_general_options(command, context, color, help);
    const parsed_words parsed = parse_options(command, words);
    if (!parsed.wrong.empty()) {
        return usage_error(command.name, escape_name(parsed.wrong));
    }
    // Who asks for help has no operands yet, and may have left a value out.
    if (help.brief || help.full) {
        print_help(command, help.full);
        return status_done;
    }
    if (!parsed.lacks_value.empty()) {
        return usage_error(command.name, parsed.lacks_value + " needs a value");
    }
    context.color = color == "always"  ? color_choice::always
                    : color == "never" ? color_choice::never
                                       : color_choice::automatic;
    const exit_status status = take_operands(parsed.others, command);
    return status == status_done ? command.run() : status;
}

exit_status unknown_command(const char *word) {
    std::vector<std::string> names{"--version", "--help"};
    for (const command_entry &entry : command_table()) {
        names.emplace_back(entry.name);
    }
    const char *kind = word[0] == '-' ? "unknown option '" : "unknown command '";
    return usage_error("", kind + escape_name(word) + "'" + suggestion(word, names));
}

exit_status dispatch(std::span<char *> words) {
    if (words.empty()) {
        return usage_error("", "no command given");
    }
    const std::string_view first = words[0];
    const bool help = first == "-h" || first == "--help" || first == "help";
    const std::size_t most = help ? 2 : first == "--version" ? 1 : words.size();
    if (words.size() > most) {
        return usage_error("", "one operand too many: '" + escape_name(words[most]) + "'");
    }
    if (first == "--version") {
        standard_output().write(version_line);
        return status_done;
    }
    if (help && words.size() == 1) {
        print_overview(first != "-h");
        return status_done;
    }
    const char *name = words[help ? 1 : 0];
    for (const command_entry &entry : command_table()) {
        if (std::strcmp(entry.name, name) == 0) {
            static char full_help[] = "--help";
            static char *full_words[] = {full_help};
            return run_command(entry, first == "-h" ? words.first(1)
                                      : help        ? std::span<char *>(full_words)
                                                    : words.subspan(1));
        }
    }
    return unknown_command(name);
}

}  // namespace

int run_command_line(int argc, char **argv) {
    forget_notes();
    watch_memory(last_resort_for(argc, argv));
    exit_status status = status_trouble;
    try {
        begin_standard_output();
        const auto count = static_cast<std::size_t>(std::max(argc - 1, 0));
        status = dispatch(std::span<char *>(argv + (argc > 0 ? 1 : 0), count));
        // What could not be written outweighs the answer.
        status = std::max(status, finish_standard_output());
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

}  // namespace norvik

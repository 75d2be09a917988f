// The texts are made afresh from the declarations, so that no option can be missing from them.
// Lines are folded by bytes: help is ASCII.
#include "help.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "commands.h"
#include "output.h"

namespace norvik {

namespace {

constexpr std::size_t left_column = 26;
constexpr std::size_t most_columns = 79;  // of a terminal with 80

constexpr const char *overview_details = R"(
VERSION is BRANCH@N, BRANCH (its newest version), or an identifier or a unique
beginning of one, 4 characters at least. BRANCH~N is the Nth version before the
newest, BRANCH@{TIME} the one with the highest number that is no later than
TIME; without BRANCH main is meant, or the only one. CONTAINER may have any name; write --
before one that begins with '-'. A text named '-' is standard input or output; a
container is always a file.

Exit codes: 0 done, equal, clean, sound; 1 a negative answer (differences,
conflicts, damage, nothing to store); 2 wrong usage or trouble.

Environment:
  TDM_PAGER, PAGER          the pager, used on a terminal only
  NO_COLOR, CLICOLOR, CLICOLOR_FORCE
                            switch colours off, off when 0, and on
  SOURCE_DATE_EPOCH         the time that counts as now, in seconds since 1970
)";

// Prints `start` and behind it the words of a text, in lines that fit; all but the first line begin
// in column `indent`.
void print_folded(std::string line, std::string_view text, std::size_t indent) {
    bool first = true;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find_first_of(" \n"));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (!first && line.size() + 1 + word.size() > most_columns) {
            standard_output().printf("%s\n", line.c_str());
            line.assign(indent, ' ');
            first = true;
        }
        line.append(first ? 0 : 1, ' ').append(word);
        first = false;
    }
    standard_output().printf("%s\n", line.c_str());
}

// Prints paragraphs, which blank lines part; lines that begin with a blank stay as they are.
void print_paragraphs(std::string_view text) {
    std::string paragraph;
    const auto end_paragraph = [&paragraph] {
        if (!paragraph.empty()) {
            print_folded("", std::exchange(paragraph, ""), 0);
        }
    };
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.empty() || line.front() == ' ') {
            end_paragraph();
            standard_output().printf("%.*s\n", static_cast<int>(line.size()), line.data());
        } else {
            paragraph.append(paragraph.empty() ? 0 : 1, ' ').append(line);
        }
    }
    end_paragraph();
}

void print_entry(const std::string &left, std::string_view right) {
    std::string line = "  " + left;
    if (line.size() + 2 > left_column) {
        standard_output().printf("%s\n", line.c_str());
        line.clear();
    }
    line.resize(left_column, ' ');
    print_folded(line, right, left_column);
}

std::string usage_line(const command_declaration &command) {
    std::string line = command.name + " [OPTIONS]";
    for (const operand &place : command.operands) {
        const std::string dots = place.list != nullptr ? "..." : "";
        const std::string name = place.name + dots;
        line += place.required ? " " + name : " [" + name + "]";
    }
    return line;
}

void print_option(const declared_option &option) {
    std::string left = option.names;
    if (const std::size_t comma = left.find(','); comma != left.npos) {
        left.insert(comma + 1, " ");
    }
    if (option.value_name != nullptr) {
        left.append(" ").append(option.value_name);
    }
    print_entry(left, option.help);
}

void print_group(const command_declaration &command, option_group group, const char *title) {
    bool first = true;
    for (const declared_option &option : command.options) {
        if (option.group == group) {
            if (std::exchange(first, false)) {
                standard_output().printf("\n%s:\n", title);
            }
            print_option(option);
        }
    }
}

}  // namespace

void print_help(const command_declaration &command, bool full) {
    output_writer &out = standard_output();
    print_folded("Usage: tdm ", usage_line(command), 4);
    out.printf("\n%s.\n\n", command.summary);
    for (const operand &place : command.operands) {
        print_entry(place.name, place.description);
    }
    print_group(command, option_group::usual, "Options");
    if (full) {
        print_group(command, option_group::more, "More options");
        print_group(command, option_group::general, "General options");
        out.write("\n");
        print_paragraphs(command.details);
        print_folded("Exit codes: ", command.exit_codes, 0);
    }
    out.write("\nExamples:\n");
    for (const char *example : command.examples) {
        out.printf("  %s\n", example);
    }
    if (!full) {
        out.printf("\nAll of it: tdm %s --help\n", command.name.c_str());
    }
}

void print_overview(bool full) {
    output_writer &out = standard_output();
    out.write(
        "Usage: tdm COMMAND [OPTIONS] CONTAINER ...\n\n"
        "Keeps every version of a text file in one container file, compares and merges.\n\n"
        "Commands:\n");
    for (const command_entry &entry : command_table()) {
        print_entry(entry.name, entry.summary);
    }
    out.write("\nOptions:\n");
    print_entry("-h, --help", "Short help; all of it (also after a command)");
    print_entry("--version", "The version of tdm");
    if (full) {
        out.write(overview_details);
    }
    out.write(
        "\nExamples:\n"
        "  tdm create notes.tdm && tdm checkin notes.tdm notes.txt\n"
        "  tdm checkout notes.tdm main@1 -o old-notes.txt\n");
}

}  // namespace norvik

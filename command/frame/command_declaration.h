// What a command declares of itself: its operands, its options and its words. The option parser and
// the help are made from it.
#ifndef NORVIK_COMMAND_DECLARATION_H
#define NORVIK_COMMAND_DECLARATION_H

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "exit_status.h"

namespace norvik {

// One operand of the command line, in order. Exactly one of `single` and `list` is set; a list
// takes all operands that are left over and must come last.
struct operand {
    const char *name;
    const char *description;
    std::string *single;
    std::vector<std::string> *list;
    bool required;
};

// Where the help shows an option: `usual` ones are in the short help too.
enum class option_group { usual, more, general };

// Numbers from `least` to `most`.
struct number_range {
    int least;
    int most;
};

struct declared_option {
    const char *names;       // "-o,--output"; there is one long name
    const char *value_name;  // null for a flag
    const char *help;
    std::variant<bool *, std::string *, std::vector<std::string> *, int *, std::uint64_t *,
                 double *>
        target;
    option_group group = option_group::usual;
    std::vector<std::string> choices = {};  // the only values; empty: any
    std::optional<number_range> range = {};
    std::string (*check)(const std::string &value) = nullptr;  // gives what is wrong, or ""
};

// Filled in by the command's registration function but for its name and summary. Variables handed
// in must live until the command has run; each keeps its value where the command line has none.
struct command_declaration {
    std::string name;                    // set by the frame
    const char *summary = "";            // set by the frame, from the table of commands
    const char *details = "";            // what --help says beyond the options; may be empty
    const char *exit_codes = "";         // "0 ...; 1 ...; 2 ..."
    std::vector<const char *> examples;  // at least two whole command lines
    std::vector<operand> operands;
    std::vector<declared_option> options;
    // Long names ("--json") of options of which the first is refused with, or without, the second.
    std::vector<std::pair<const char *, const char *>> exclusions;
    std::vector<std::pair<const char *, const char *>> needs;
    std::function<exit_status()> run;  // does the work, returns an exit_status

    // Operands, in the order of the command line: one that must be there, one that may be, and the
    // list of all that are left, which comes last and where `required` has one at least.
    void take(const char *operand_name, std::string &value, const char *description);
    void take_optional(const char *operand_name, std::string &value, const char *description);
    void take_list(const char *operand_name, std::vector<std::string> &values, bool required,
                   const char *description);

    // Options, declared in the order of the help: without a value, with any, with one of a few.
    void flag(const char *names, bool &given, const char *help,
              option_group group = option_group::usual);
    void value(const char *names, const char *value_name, std::string &text, const char *help,
               option_group group = option_group::usual);
    // May be given several times, with one value each.
    void values(const char *names, const char *value_name, std::vector<std::string> &texts,
                const char *help, option_group group = option_group::usual);
    void choice(const char *names, const char *value_name, std::vector<std::string> choices,
                std::string &chosen, const char *help, option_group group = option_group::usual);
    // `result` is an int or a std::uint64_t.
    template <class integer>
    void number(const char *names, const char *value_name, number_range range, integer &result,
                const char *help, option_group group = option_group::usual) {
        options.push_back({names, value_name, help, &result, group, {}, range});
    }

    // Lets at most one of these options be given: each would drop the others' work.
    void allow_one_of(std::initializer_list<const char *> names);

    // Refuses each of `names` together with `option`, which leaves no work to them.
    void refuse_with(const char *option, std::initializer_list<const char *> names);
};

}  // namespace norvik

#endif

// The words of a command line taken apart by what its command declares. CLI11 does the work, and
// nobody else knows it.
#ifndef NORVIK_OPTION_PARSER_H
#define NORVIK_OPTION_PARSER_H

#include <span>
#include <string>
#include <vector>

#include "command_declaration.h"

namespace norvik {

struct parsed_words {
    std::string wrong;        // why the options cannot be taken, with the user's bytes; or empty
    std::string lacks_value;  // the name of an option whose value is empty; or empty
    std::vector<std::string> others;  // in order: operands, "--", and options that nobody declared
};

// Sets what the declared options of `command` name, as far as `words` give them. Where something is
// `wrong` some are set and others not.
[[nodiscard]] parsed_words parse_options(const command_declaration &command,
                                         std::span<char *> words);

}  // namespace norvik

#endif

// The option --time of the commands that make versions.
#ifndef NORVIK_TIME_OPTION_H
#define NORVIK_TIME_OPTION_H

#include <cstdint>
#include <string>

#include "exit_status.h"

namespace norvik {

struct command_declaration;

struct time_option {
    std::string text;  // empty: now

    // Adds the option to the command; this must live until the command has run.
    void declare(command_declaration &command);

    // 0 with the time in seconds since 1970, or status_trouble after a message.
    [[nodiscard]] exit_status get(std::uint64_t &seconds) const;
};

}  // namespace norvik

#endif

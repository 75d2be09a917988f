#include "confirm.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "output.h"
#include "terminal.h"

namespace norvik {

exit_status confirm(const command_context &context, const std::string &question) {
    if (context.no_input || !is_terminal(STDIN_FILENO)) {
        say("nothing is changed without an answer; --yes goes on without asking");
        return status_trouble;
    }
    // What the question is about may still be waiting there.
    standard_output().flush();
    std::fprintf(stderr, "tdm: %s [y/N] ", question.c_str());
    std::string answer;
    std::getline(std::cin, answer);
    // The end of the input leaves it empty, which is no.
    if (answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes") {
        return status_done;
    }
    say("nothing is changed");
    return status_negative;
}

}  // namespace norvik

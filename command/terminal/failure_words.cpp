#include "failure_words.h"

#include <cstring>

#include "escaped_text.h"
#include "exit_status.h"
#include "out_of_memory.h"
#include "output.h"

namespace norvik {

int tell(const failure &why) {
    std::string words = escape_name(why.reason);
    if (why.cause) {
        if (why.cause.value() == ENOMEM) {
            note_out_of_memory();
        }
        words += std::string(words.empty() ? "" : ": ") + std::strerror(why.cause.value());
    }
    if (why.file.empty()) {
        say("%s", words.c_str());
    } else if (why.line == 0) {
        say_of_file(why.file, words);
    } else {
        say_of_line(why.file, why.line, words);
    }
    if (!why.follows.empty()) {
        say_of_file(why.file, escape_name(why.follows));
    }
    return status_trouble;
}

}  // namespace norvik

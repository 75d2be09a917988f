// The rooms below name a way out; only here it becomes an option, which is the command's to know.
// The order: name and line, reason, the system's words, the way out, what came of it.
#include "failure_words.h"

#include <cstring>

#include "escaped_text.h"
#include "exit_status.h"
#include "out_of_memory.h"
#include "output.h"

namespace norvik {

namespace {

std::string_view way_out_of(const failure &why) {
    switch (why.way_out) {
        case remedy::force:
            return " (--force goes on)";
        case remedy::replace:
            return " (--force replaces it)";
        case remedy::break_links:
            return " (--break-links goes on)";
        case remedy::patience:
            return " (--lock-timeout)";
        case remedy::lose_changes:
            return " (--force replaces it all the same)";
        case remedy::name_branch:
            return " (--branch)";
        case remedy::start_branch:
            return " (--from VERSION starts it)";
        case remedy::name_base:
            return " (--base VERSION says it)";
        case remedy::see_faults:
            return why.follows.empty() ? " (see 'tdm verify')" : " ('tdm verify' tells more)";
        case remedy::none:
            break;
    }
    return "";
}

}  // namespace

exit_status tell(const failure &why) {
    if (why.kind == failure_kind::told) {
        return status_trouble;
    }
    std::string words = escape_name(why.reason);
    if (why.cause) {
        if (why.cause.value() == ENOMEM) {
            note_out_of_memory();
        }
        words += std::string(words.empty() ? "" : ": ") + std::strerror(why.cause.value());
    }
    std::string last(way_out_of(why));
    last += why.outcome.empty() ? "" : "; " + escape_name(why.outcome);
    words += why.follows.empty() ? last : "";
    if (why.file.empty()) {
        say("%s", words.c_str());
    } else if (why.line == 0) {
        say_of_file(why.file, words);
    } else {
        say_of_line(why.file, why.line, words);
    }
    if (!why.follows.empty()) {
        say_of_file(why.file, escape_name(why.follows) + last);
    }
    return status_trouble;
}

}  // namespace norvik

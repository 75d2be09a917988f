// Questions to the user, asked on standard output and answered by a line of standard input.
#include <norviktdm/runtime.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "emphasis.h"

namespace {

struct answer_word {
    const char *word;
    uint64_t answer;
};

constexpr answer_word answer_words[] = {
    {"y", msg_answer_yes}, {"yes", msg_answer_yes}, {"n", msg_answer_no},
    {"no", msg_answer_no}, {"a", msg_answer_abort}, {"abort", msg_answer_abort},
};

// Longer than every answer, so that what is cut off cannot turn a line into one.
using answer_line = std::array<char, 8>;

/// Reads one line without its newline, as much of it as fits; false at the end of the input.
bool read_answer(answer_line *line) {
    size_t stored = 0;
    int c = std::getc(stdin);
    if (c == EOF) {
        return false;
    }
    for (; c != EOF && c != '\n'; c = std::getc(stdin)) {
        // A NUL would end the word that is compared; no answer holds a line break.
        const char byte = c == '\0' ? '\n' : static_cast<char>(c);
        if (stored + 1 < line->size()) {
            (*line)[stored++] = byte;
        }
    }
    (*line)[stored] = '\0';
    return true;
}

uint64_t answer_of(const answer_line &line, uint64_t default_answer) {
    if (line.front() == '\0') {
        return default_answer;
    }
    const auto *known = std::find_if(
        std::begin(answer_words), std::end(answer_words),
        [&line](const answer_word &w) { return strcasecmp(w.word, line.data()) == 0; });
    return known == std::end(answer_words) ? 0 : known->answer;
}

}  // namespace

uint64_t msg_prompt_yes_no(int, const char *question, uint64_t allowed, uint64_t default_answer) {
    const runtime::rendered_text shown(question, stdout);
    for (;;) {
        std::fputs(shown.c_str(), stdout);
        std::fflush(stdout);
        answer_line line;
        if (!read_answer(&line)) {
            return msg_answer_abort;
        }
        const uint64_t answer = answer_of(line, default_answer) & allowed;
        if (answer != 0) {
            return answer;
        }
    }
}

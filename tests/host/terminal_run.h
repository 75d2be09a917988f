// Runs the command under test on a pseudo terminal.
#ifndef TDM_TESTS_TERMINAL_RUN_H
#define TDM_TESTS_TERMINAL_RUN_H

#include <string>
#include <vector>

struct terminal_result {
    int status = -1;   // exit status; 128 + N for death by signal N
    std::string seen;  // all that came to the terminal, the echo of the answers among it
};

// Whether pseudo terminals are to be had. A container or chroot without devpts has none.
bool has_terminals();

// Runs the command under test with the words of `arguments`.
// Types answers[i] and a line's end when `prompt` has been seen for the i-th time; after the last
// answer the terminal stays open until the command ends. Waits 20 seconds at most.
terminal_result on_terminal(const std::string &arguments, const std::string &prompt,
                            const std::vector<std::string> &answers,
                            const std::vector<std::string> &environment = {});

#endif

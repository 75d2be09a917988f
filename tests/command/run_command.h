// Runs the built command (or any other) in a folder of its own and catches what it says.
#pragma once

#include <string>
#include <vector>

#include "files.h"

// A sanitizer build starts slowly and makes system calls of its own.
#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

struct command_result {
    int status = -1;  // exit status; 128 + N for death by signal N
    std::string out;
    std::string err;
};

struct command_options {
    std::string input = {};                     // standard input; empty: /dev/null
    std::vector<std::string> environment = {};  // NAME=VALUE, on top of a small fixed environment
    std::string output_path = {};               // standard output goes there instead of into `out`
    bool unprivileged = false;                  // as the user nobody when the tests run as root
    long file_size_limit = -1;                  // RLIMIT_FSIZE in bytes
};

// Runs `words` (the first is the program) and waits for its end.
command_result run(const std::vector<std::string> &words, const command_options &options = {});

// Runs the command under test with these arguments; or with those of a text, at whose blanks it is
// divided.
command_result tdm(const std::vector<std::string> &arguments, const command_options &options = {});
command_result tdm(const char *arguments, const command_options &options = {});
std::vector<std::string> words_of(const std::string &text);

// Runs a script of bash, for which $TDM is the command under test and $SLOW, in front of it, holds
// it up for a while where the new file is whole and has not replaced the old one.
command_result shell(const std::string &script, command_options options = {});

// Runs the command with the words of `arguments` on a pseudo terminal of 100 columns, by script(1).
// The input ends behind the answers; what came to the terminal is in `out`.
command_result on_terminal(const std::string &arguments, const std::string &answers = {},
                           const command_options &options = {});

// Expects the exit status, and these words among those on standard error; none there for none.
void expect_told(const command_result &result, int status, const std::string &said,
                 const char *file = __builtin_FILE(), int line = __builtin_LINE());

// The text with IDENTIFIER for every random identifier of a version.
std::string without_identifiers(const std::string &text);

// Compares with tests/golden/NAME, or rewrites that file when TDM_UPDATE_GOLDEN is set. JSON
// stands in the file on fewer lines than it was printed on.
void expect_golden(const std::string &name, const std::string &printed);

#include "terminal_run.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "run_command.h"

namespace {

[[noreturn]] void become(const std::string &arguments,
                         const std::vector<std::string> &environment) {
    std::vector<std::string> words = words_of(TDM_COMMAND " " + arguments);
    std::vector<char *> pointers;
    for (std::string &word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    setenv("TERM", "xterm", 1);
    for (const std::string &setting : environment) {
        putenv(const_cast<char *>(setting.c_str()));
    }
    execv(TDM_COMMAND, pointers.data());
    _exit(127);
}

bool read_some(int terminal, std::string *seen) {
    pollfd ready{terminal, POLLIN, 0};
    char buffer[4096];
    if (poll(&ready, 1, 20000) <= 0) {
        return false;
    }
    const ssize_t size = read(terminal, buffer, sizeof buffer);
    if (size > 0) {
        seen->append(buffer, static_cast<size_t>(size));
    }
    return size > 0;
}

}  // namespace

bool has_terminals() {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    const bool found = terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0;
    if (terminal >= 0) {
        close(terminal);
    }
    return found;
}

terminal_result on_terminal(const std::string &arguments, const std::string &prompt,
                            const std::vector<std::string> &answers,
                            const std::vector<std::string> &environment) {
    int terminal = -1;
    winsize size{24, 100, 0, 0};
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        become(arguments, environment);
    }
    terminal_result result;
    if (child < 0) {
        ADD_FAILURE() << "no pseudo terminal";
        return result;
    }
    size_t from = 0;
    size_t given = 0;
    while (read_some(terminal, &result.seen)) {
        const size_t at = result.seen.find(prompt, from);
        if (at != std::string::npos && given < answers.size()) {
            const std::string line = answers[given++] + "\n";
            from = at + prompt.size();
            if (write(terminal, line.data(), line.size()) < 0) {
                break;
            }
        }
    }
    int status = 0;
    if (waitpid(child, &status, WNOHANG) == 0) {
        usleep(200000);
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    close(terminal);
    result.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return result;
}

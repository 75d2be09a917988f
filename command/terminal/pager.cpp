// A shell runs the pager behind a pipe that takes the place of standard output, so that nobody who
// writes knows of it. Whether there is a terminal must be asked before that.
#include "pager.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "escaped_text.h"
#include "output.h"
#include "progress.h"
#include "terminal.h"

namespace norvik {

namespace {

std::string pager_command() {
    for (const char *variable : {"TDM_PAGER", "PAGER"}) {
        const char *value = getenv(variable);
        if (value != nullptr) {
            return value;
        }
    }
    return "less";
}

// What the shell runs: it must outlive an interrupt that is meant for the pager, and passes the
// text on where there is no such program.
std::string pager_script() {
    return "trap : INT QUIT\n" + pager_command() +
           "\nshown=$?\ncase $shown in 126|127) exec cat;; esac\nexit $shown";
}

// In the child: becomes the pager, reading from `input`.
[[noreturn]] void become_pager(const std::string &script, int input) {
    dup2(input, STDIN_FILENO);
    close(input);
    setenv("LESS", "FRX", 0);
    execl("/bin/sh", "sh", "-c", script.c_str(), static_cast<char *>(nullptr));
    _exit(127);
}

}  // namespace

pager::pager(bool no_pager) : terminal_(is_terminal(STDOUT_FILENO)) {
    clear_progress_bar();
    if (no_pager || !terminal_) {
        return;
    }
    const std::string command = pager_command();
    int ends[2];
    if (command.empty() || command == "cat" || pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    standard_output().flush();
    const std::string script = pager_script();
    child_ = fork();
    if (child_ == 0) {
        become_pager(script, ends[0]);
    }
    if (child_ > 0) {
        dup2(ends[1], STDOUT_FILENO);
        // What the user types to interrupt is for the pager, which goes on showing.
        signal(SIGINT, SIG_IGN);
        signal(SIGQUIT, SIG_IGN);
    }
    close(ends[0]);
    close(ends[1]);
}

void pager::finish() {
    if (child_ <= 0) {
        return;
    }
    // The pager waits for the end of its input, this for the end of the pager.
    finish_standard_output();
    int status = 0;
    while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
    }
    child_ = -1;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        say("the pager failed: %s", escape_name(pager_command()).c_str());
        standard_output_is_lost();
    }
}

pager::~pager() {
    finish();
}

}  // namespace norvik

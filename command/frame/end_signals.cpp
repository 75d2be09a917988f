// The handlers call nothing but what a signal handler may: remove_files_now, write, raise, _exit.
#include "end_signals.h"

#include <signal.h>
#include <unistd.h>

#include <initializer_list>

#include "end_removal.h"
#include "exit_status.h"

namespace norvik {

namespace {

// The signal has its old effect again by now (SA_RESETHAND), and comes as soon as this returns.
void end_as_before(int signal) {
    remove_files_now();
    raise(signal);
}

void end_at_cut_file(int signal, siginfo_t *info, void *) {
    remove_files_now();
    // Sent by somebody, or a fault that has nothing to do with the end of a mapped file.
    if (info->si_code != BUS_ADRERR) {
        raise(signal);
        return;
    }
    constexpr char words[] = "tdm: a file was cut short while it was being read; gave up\n";
    // Where that fails there is nobody to tell.
    (void)!write(STDERR_FILENO, words, sizeof words - 1);
    _exit(status_trouble);
}

}  // namespace

void watch_end_signals() {
    struct sigaction action {};
    action.sa_flags = static_cast<int>(SA_RESETHAND);  // unsigned in some headers
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL) {
            action.sa_handler = end_as_before;
            sigaction(signal, &action, nullptr);
        }
    }
    action.sa_flags |= SA_SIGINFO;
    action.sa_sigaction = end_at_cut_file;
    sigaction(SIGBUS, &action, nullptr);
}

}  // namespace norvik

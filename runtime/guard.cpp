// Sections that a signal handler must not interrupt: every asynchronous signal waits until the
// outermost section ends. The count and the mask from before it belong to the process.
#include <norviktdm/runtime.h>
#include <pthread.h>

#include <csignal>
#include <initializer_list>

namespace {

unsigned depth;
sigset_t mask_before;

}  // namespace

void guard_inhibit(void) {
    if (depth++ != 0) {
        return;
    }
    sigset_t waiting;
    sigfillset(&waiting);
    // Raised by the section's own instructions; held back they would end the process unhandled.
    for (const int synchronous : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT}) {
        sigdelset(&waiting, synchronous);
    }
    pthread_sigmask(SIG_BLOCK, &waiting, &mask_before);
}

void guard_enable(void) {
    if (depth == 0 || --depth != 0) {
        return;
    }
    pthread_sigmask(SIG_SETMASK, &mask_before, nullptr);
}

// The text goes through a private file, which goes with its owner; the editor runs in a shell, in
// the foreground. Nothing of the text is taken unless the editor ends well.
#include "edit_text.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "container_view.h"
#include "descriptor_path.h"
#include "escaped_text.h"
#include "exit_status.h"
#include "output.h"
#include "private_file.h"
#include "system_calls.h"

namespace norvik {

namespace {

std::string editor_command() {
    for (const char *variable : {"VISUAL", "EDITOR"}) {
        const char *value = std::getenv(variable);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return "vi";
}

// What the user types to interrupt the editor is for that alone: the terminal sends it to the
// command as well, whose end would take the answers given so far with it.
class interrupts_ignored {
public:
    interrupts_ignored() {
        struct sigaction ignored {};
        ignored.sa_handler = SIG_IGN;
        sigaction(SIGINT, &ignored, &interrupt_);
        sigaction(SIGQUIT, &ignored, &quit_);
    }
    ~interrupts_ignored() { restore(); }
    interrupts_ignored(const interrupts_ignored &) = delete;
    interrupts_ignored &operator=(const interrupts_ignored &) = delete;

    // In the child, too, which would hand it on to the editor.
    void restore() const {
        sigaction(SIGINT, &interrupt_, nullptr);
        sigaction(SIGQUIT, &quit_, nullptr);
    }

private:
    struct sigaction interrupt_ {};
    struct sigaction quit_ {};
};

// The variable may hold words of options, so that a shell takes it apart.
exit_status run_editor(const std::string &path) {
    const std::string command = editor_command() + " \"$@\"";
    const interrupts_ignored ignored;
    const pid_t child = fork();
    if (child == 0) {
        ignored.restore();
        execl("/bin/sh", "sh", "-c", command.c_str(), "sh", path.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    pid_t ended = child;
    do {
        ended = child < 0 ? child : waitpid(child, &status, 0);
    } while (ended < 0 && child > 0 && errno == EINTR);
    const std::string shown = "the editor '" + escape_name(editor_command()) + "'";
    if (ended < 0) {
        return say_errno(shown, "cannot be run", last_error());
    }
    if (status != 0) {
        say("%s ended with %s %d; nothing is taken from it", shown.c_str(),
            WIFSIGNALED(status) ? "signal" : "status",
            WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
        return status_trouble;
    }
    return status_done;
}

}  // namespace

exit_status edit_text(std::string *text) {
    private_file file;
    std::error_code error = file.create();
    error = error ? error : write_bytes(file.descriptor(), *text);
    if (error) {
        return say_errno("the text to edit", "cannot be written", error);
    }
    if (run_editor(file.path()) != status_done) {
        return status_trouble;
    }
    // Many editors write a new file and rename it.
    const owned_descriptor edited(sys::open(file.path().c_str(), O_RDONLY | O_CLOEXEC));
    file_bytes bytes;
    error = edited.is_open() ? bytes.load(edited.get()) : last_error();
    if (error) {
        return say_errno("the edited text", "cannot be read", error);
    }
    *text = bytes.view();
    return status_done;
}

}  // namespace norvik

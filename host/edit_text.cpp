#include "edit_text.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "exit_status.h"
#include "output.h"
#include "text_file.h"

namespace host {

namespace {

struct scratch_file {
    std::string path;
    ~scratch_file() {
        if (!path.empty()) {
            unlink(path.c_str());
        }
    }
};

int make_scratch(const std::string &text, scratch_file *file) {
    const char *folder = std::getenv("TMPDIR");
    std::string path =
        std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/tdm-merge-XXXXXX";
    const int descriptor = mkstemp(path.data());
    if (descriptor < 0) {
        return say_errno(path, "cannot create", errno);
    }
    file->path = path;
    output_writer writer(owned_descriptor(descriptor), path);
    writer.write(text);
    return writer.finish();
}

std::string editor_command() {
    for (const char *variable : {"VISUAL", "EDITOR"}) {
        const char *value = std::getenv(variable);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return "vi";
}

// The variable may hold words of options, so that a shell takes it apart.
int run_editor(const std::string &path) {
    const std::string command = editor_command() + " \"$@\"";
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), "sh", path.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (child < 0 || status != 0) {
        say("the editor failed");
        return status_trouble;
    }
    return status_done;
}

}  // namespace

int edit_text(std::string *text) {
    scratch_file file;
    text_file edited;
    if (make_scratch(*text, &file) != status_done || run_editor(file.path) != status_done ||
        open_text_file(file.path, &edited) != status_done || read_lines(&edited) != status_done) {
        return status_trouble;
    }
    *text = edited.bytes.view();
    return status_done;
}

}  // namespace host

#include "terminal.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "output.h"

namespace host {

namespace {

bool set_and_not_empty(const char *variable) {
    const char *value = getenv(variable);
    return value != nullptr && *value != '\0';
}

bool equals(const char *variable, const char *expected) {
    const char *value = getenv(variable);
    return value != nullptr && std::strcmp(value, expected) == 0;
}

// Decodes the UTF-8 character at the start of `text` and returns its length; 0 when there is none
// (cut, overlong, a surrogate, beyond U+10FFFF).
size_t decode_utf8(std::string_view text, uint32_t &character) {
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t lead = byte(0);
    if (lead < 0x80) {
        character = lead;
        return 1;
    }
    const size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    if (lead < 0xc2 || lead > 0xf4 || text.size() < length) {
        return 0;
    }
    character = lead & (0x7fU >> length);
    for (size_t i = 1; i < length; i++) {
        if ((byte(i) & 0xc0) != 0x80) {
            return 0;
        }
        character = (character << 6) | (byte(i) & 0x3fU);
    }
    constexpr uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xd800 && character <= 0xdfff;
    return character < smallest[length] || character > 0x10ffff || surrogate ? 0 : length;
}

// Characters beyond ASCII that steer a terminal or turn the reading direction.
bool is_steering(uint32_t c) {
    return (c >= 0x80 && c <= 0x9f) || c == 0x61c || (c >= 0x200b && c <= 0x200f) ||
           (c >= 0x2028 && c <= 0x202e) || (c >= 0x2060 && c <= 0x2069) || c == 0xfeff;
}

void append_escaped_byte(std::string &out, uint8_t byte) {
    char buffer[8];
    switch (byte) {
        case '\n':
            out += "\\n";
            return;
        case '\t':
            out += "\\t";
            return;
        case '\r':
            out += "\\r";
            return;
        case 0x1b:
            out += "\\e";
            return;
        default:
            std::snprintf(buffer, sizeof buffer, "\\x%02x", byte);
            out += buffer;
    }
}

std::string escape(std::string_view text, bool name) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        uint32_t c = 0;
        const size_t length = decode_utf8(text, c);
        const auto first = static_cast<uint8_t>(text[0]);
        if (length == 0 || c < 0x20 || c == 0x7f) {
            if (!name && (c == '\t' || (c == '\n' && text.size() == 1)) && length == 1) {
                out += text[0];
            } else {
                append_escaped_byte(out, first);
            }
        } else if (is_steering(c)) {
            char buffer[16];
            std::snprintf(buffer, sizeof buffer, "\\u{%x}", c);
            out += buffer;
        } else if (c == '\\' && name) {
            out += "\\\\";
        } else {
            out += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

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

bool is_terminal(int descriptor) {
    return isatty(descriptor) == 1;
}

bool use_color(color_choice choice, int descriptor) {
    if (choice != color_choice::automatic) {
        return choice == color_choice::always;
    }
    if (set_and_not_empty("NO_COLOR")) {
        return false;
    }
    if (set_and_not_empty("CLICOLOR_FORCE") && !equals("CLICOLOR_FORCE", "0")) {
        return true;
    }
    if (equals("CLICOLOR", "0") || equals("TERM", "dumb")) {
        return false;
    }
    return is_terminal(descriptor);
}

int terminal_width(int descriptor) {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    const char *columns = getenv("COLUMNS");
    const int width = columns == nullptr ? 0 : std::atoi(columns);
    return width > 0 ? width : 80;
}

std::string escape_name(std::string_view text) {
    return escape(text, true);
}

std::string escape_text(std::string_view text) {
    return escape(text, false);
}

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        uint32_t c = 0;
        const size_t length = decode_utf8(text, c);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

pager::pager(bool no_pager) : terminal_(is_terminal(STDOUT_FILENO)) {
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

}  // namespace host

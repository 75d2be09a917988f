#include "terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace norvik {

namespace {

bool set_and_not_empty(const char *variable) {
    const char *value = getenv(variable);
    return value != nullptr && *value != '\0';
}

bool equals(const char *variable, const char *expected) {
    const char *value = getenv(variable);
    return value != nullptr && std::strcmp(value, expected) == 0;
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

}  // namespace norvik

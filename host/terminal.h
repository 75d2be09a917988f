// What depends on a terminal: colour, width, the pager, and showing bytes that a terminal would
// obey.
#ifndef TDM_HOST_TERMINAL_H
#define TDM_HOST_TERMINAL_H

#include <sys/types.h>

#include <string>
#include <string_view>

namespace host {

enum class color_choice { automatic, always, never };

// Whether to colour what goes to `descriptor`: the option beats the environment (CLICOLOR_FORCE,
// NO_COLOR, CLICOLOR, TERM), which beats being a terminal.
bool use_color(color_choice choice, int descriptor);

bool is_terminal(int descriptor);

// Columns of the terminal on `descriptor`; COLUMNS, then 80, when it cannot be asked.
int terminal_width(int descriptor);

// `text` with every byte that a terminal would obey or cannot show made visible: control bytes as
// \n, \t, \e, \xNN; bytes that are no UTF-8 as \xNN; control and direction-changing characters as
// \u{NNNN}; a backslash as two. The result is printable UTF-8 and names one input only.
std::string escape_name(std::string_view text);

// The same for a line of text shown to people: a newline at its end, tabs and backslashes stay.
std::string escape_text(std::string_view text);

// Whether `text` is UTF-8 throughout.
bool is_utf8(std::string_view text);

// Sends standard output through the pager when it is a terminal: TDM_PAGER, then PAGER, then less,
// with LESS=FRX when unset; "cat" and an empty value mean none. finish() must follow the last
// write to standard output.
class pager {
public:
    explicit pager(bool no_pager);
    ~pager();
    pager(const pager &) = delete;
    pager &operator=(const pager &) = delete;

    // Whether what is written to standard output is for a terminal to show, through the pager or
    // directly. (Colour is decided by this and not by the descriptor, which may be a pipe.)
    bool to_terminal() const { return terminal_; }

    // Closes standard output and waits for the pager to end. A pager that fails is told, and gives
    // status_trouble at the end of the run; one that cannot be run at all is replaced by cat.
    void finish();

private:
    bool terminal_;
    pid_t child_ = -1;
};

}  // namespace host

#endif

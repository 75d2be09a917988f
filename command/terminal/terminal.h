// What depends on a terminal: colour and width.
#ifndef NORVIK_TERMINAL_H
#define NORVIK_TERMINAL_H

namespace norvik {

enum class color_choice { automatic, always, never };

// Whether to colour what goes to `descriptor`: the option beats the environment (CLICOLOR_FORCE,
// NO_COLOR, CLICOLOR, TERM), which beats being a terminal.
bool use_color(color_choice choice, int descriptor);

// Whether `descriptor` is open on a terminal.
bool is_terminal(int descriptor);

// Columns of the terminal on `descriptor`; COLUMNS, then 80, when it cannot be asked.
int terminal_width(int descriptor);

}  // namespace norvik

#endif

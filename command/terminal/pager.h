// The program that shows long output page by page.
#ifndef NORVIK_PAGER_H
#define NORVIK_PAGER_H

#include <sys/types.h>

namespace norvik {

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

}  // namespace norvik

#endif

// A progress bar on standard error: only on a terminal, only after a second.
#ifndef NORVIK_PROGRESS_H
#define NORVIK_PROGRESS_H

#include <cstdint>
#include <string>

namespace norvik {

struct command_context;

class progress {
public:
    // `what` stands before the bar ("importing"); `total` is the number of steps, of any unit.
    progress(const command_context &context, std::string what, std::uint64_t total);
    ~progress();
    progress(const progress &) = delete;
    progress &operator=(const progress &) = delete;

    // `done` of the total steps are finished; cheap enough to be called for each.
    void at(std::uint64_t done);

private:
    void draw(std::uint64_t done);

    std::string what_;
    std::uint64_t total_;
    bool enabled_;
    std::int64_t next_draw_ = 0;  // milliseconds of the monotonic clock
};

// Takes the bar off the terminal where one is drawn, for words to stand there; its next step may
// draw it again.
void clear_progress_bar();

}  // namespace norvik

#endif

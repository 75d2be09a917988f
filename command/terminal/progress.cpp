// Callers tell every step; a look at the coarse clock is all that most of them cost.
#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>

#include "command_context.h"
#include "terminal.h"

namespace norvik {

namespace {

constexpr std::int64_t first_draw_after = 1000;  // milliseconds
constexpr std::int64_t draw_every = 100;

bool bar_is_drawn = false;  // and what is printed next would stand behind it

std::int64_t now_milliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

}  // namespace

progress::progress(const command_context &context, std::string what, std::uint64_t total)
    : what_(std::move(what)),
      total_(total),
      enabled_(!context.no_progress && !context.quiet && !context.json && total > 0 &&
               is_terminal(STDERR_FILENO)) {
    next_draw_ = now_milliseconds() + first_draw_after;
}

progress::~progress() {
    clear_progress_bar();
}

void progress::at(std::uint64_t done) {
    if (!enabled_) {
        return;
    }
    const std::int64_t now = now_milliseconds();
    if (now >= next_draw_) {
        next_draw_ = now + draw_every;
        draw(std::min(done, total_));
    }
}

void progress::draw(std::uint64_t done) {
    const int percent =
        static_cast<int>(static_cast<double>(done) * 100.0 / static_cast<double>(total_));
    const int room = terminal_width(STDERR_FILENO) - static_cast<int>(what_.size()) - 12;
    const int width = std::clamp(room, 0, 50);
    const int filled = width * percent / 100;
    const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                            std::string(static_cast<std::size_t>(width - filled), '.');
    std::fprintf(stderr, "\r%s [%s] %3d%%", what_.c_str(), bar.c_str(), percent);
    bar_is_drawn = true;
}

void clear_progress_bar() {
    if (std::exchange(bar_is_drawn, false)) {
        std::fputs("\r\x1b[K", stderr);
    }
}

}  // namespace norvik

#include "seeds.h"

#include <algorithm>
#include <cstdlib>
#include <string>

seeds::seeds(unsigned rounds, const char *file, int line)
    : file_(file), line_(line), left_(rounds) {
    if (const char *const first = std::getenv("TDM_SEED")) {
        seed_ = static_cast<unsigned>(std::strtoul(first, nullptr, 10));
    }
    if (const char *const factor = std::getenv("TDM_ROUNDS")) {
        left_ = static_cast<unsigned>(std::max(1.0, rounds * std::strtod(factor, nullptr)));
    }
}

unsigned seeds::start() {
    trace_.emplace(file_, line_, "TDM_SEED=" + std::to_string(seed_) + " TDM_ROUNDS=0");
    return seed_;
}

seeds::round &seeds::round::operator++() {
    all->trace_.reset();
    all->seed_++;
    all->left_ = testing::Test::HasFailure() ? 0 : all->left_ - 1;
    return *this;
}

// One way to repeat every random test.
#pragma once

#include <gtest/gtest.h>

#include <optional>

// The seeds of a random test: from 1 on, or from TDM_SEED in the environment, and as many as the
// test wants times TDM_ROUNDS, one at least. What fails names its seed, and ends the rounds:
//
//     for (const unsigned seed : seeds(40)) {
class seeds {
public:
    explicit seeds(unsigned rounds, const char *file = __builtin_FILE(),
                   int line = __builtin_LINE());

    struct end_of_rounds {};
    struct round {
        seeds *all;
        unsigned operator*() const { return all->start(); }
        round &operator++();
        bool operator!=(end_of_rounds /*end*/) const { return all->left_ > 0; }
    };
    round begin() { return {this}; }
    static end_of_rounds end() { return {}; }

private:
    unsigned start();

    const char *file_;
    int line_;
    unsigned seed_ = 1;
    unsigned left_;
    std::optional<testing::ScopedTrace> trace_;
};

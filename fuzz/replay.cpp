// Runs a target without a fuzzer: fuzz_replay ROUNDS FOLDER tries every file, and ROUNDS changed
// forms of each, the same ones every time.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>

#include "targets.h"

namespace {

constexpr size_t largest = 1 << 16;
std::vector<uint8_t> tried;

// A finding's input follows its words.
void show_input(int) {
    (void)!write(fuzz::given_output(), tried.data(), tried.size());
}

void replay(const std::string &original, unsigned rounds) {
    std::vector<uint8_t> input;
    size_t size = 0;
    for (unsigned round = 0; round <= rounds; round++) {
        if (round % 8 == 0) {
            input.assign(original.begin(), original.end());
            size = input.size();
        }
        // A fresh block of just this size, so that reading past its end is seen.
        tried = std::vector<uint8_t>(input.begin(), input.begin() + static_cast<long>(size));
        (void)LLVMFuzzerTestOneInput(tried.data(), tried.size());
        input.resize(largest);
        size = LLVMFuzzerCustomMutator(input.data(), size, largest, round + 1);
    }
}

}  // namespace

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t) {
    static unsigned mutations = 0;
    fuzz::choices random(++mutations);
    if (size > 0) {
        data[random.below(size)] = static_cast<uint8_t>(random.below(256));
    }
    return random.below(3) == 0 ? random.below(size) : size;
}

int main(int argc, char **argv) {
    std::vector<std::string> originals;
    for (const auto &entry : std::filesystem::directory_iterator(argv[2])) {
        originals.push_back(read_file(entry.path()));
    }
    LLVMFuzzerInitialize(&argc, &argv);
    std::signal(SIGABRT, show_input);
    if (originals.empty() || std::freopen("/dev/null", "w", stderr) == nullptr) {
        return 1;
    }
    for (const std::string &original : originals) {
        replay(original, static_cast<unsigned>(std::stoul(argv[1])));
    }
    return 0;
}

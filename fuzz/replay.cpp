// Runs a target without a fuzzer: replay FILE|FOLDER... tries every file, and some hundred changed
// forms of each, the same ones every time.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "support.h"

namespace {

constexpr size_t largest = 1 << 16;
unsigned mutations = 0;
std::vector<uint8_t> tried;

// A finding's input follows its words.
void show_input(int) {
    (void)!write(fuzz::given_output(), tried.data(), tried.size());
}

size_t replay(const std::string &path, unsigned rounds) {
    const std::string original = fuzz::read_file(path);
    std::vector<uint8_t> input(original.begin(), original.end());
    size_t size = input.size();
    for (unsigned round = 0; round <= rounds; round++) {
        // A fresh block of just this size, so that reading past its end is seen.
        tried = {input.begin(), input.begin() + static_cast<long>(size)};
        tried.shrink_to_fit();
        (void)LLVMFuzzerTestOneInput(tried.data(), tried.size());
        if (round % 8 == 0) {
            input.assign(original.begin(), original.end());
            size = input.size();
        }
        input.resize(largest);
        size = LLVMFuzzerCustomMutator(input.data(), size, largest, round + 1);
    }
    return rounds + 1;
}

}  // namespace

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t) {
    fuzz::choices random(++mutations);
    if (size > 0) {
        data[random.below(size)] = static_cast<uint8_t>(random.below(256));
    }
    return size;
}

int main(int argc, char **argv) {
    std::vector<std::string> files;
    for (int i = 2; i < argc; i++) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            files.push_back(std::filesystem::absolute(entry.path()));
        }
    }
    LLVMFuzzerInitialize(&argc, &argv);
    std::signal(SIGABRT, show_input);
    if (std::freopen("/dev/null", "w", stderr) == nullptr) {
        return 1;
    }
    size_t runs = 0;
    for (const std::string &file : files) {
        runs += replay(file, static_cast<unsigned>(std::stoul(argv[1])));
    }
    dprintf(fuzz::given_output(), "%zu files, %zu runs\n", files.size(), runs);
    return files.empty() ? 1 : 0;
}

// The command as people run it, beside others on the same files. Times are the processor time of
// the process, its start included; rates are bytes of all files read.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "inputs.h"

extern char **environ;

namespace {

using words = std::vector<std::string>;

struct finished {
    int status = -1;  // the exit status; -1: it could not be run or was killed
    double seconds = 0;
};

finished run(const words &line) {
    std::vector<char *> arguments;
    for (const std::string &word : line) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    finished result;
    int status = 0;
    rusage usage{};
    if (error != 0 || wait4(child, &status, 0, &usage) != child) {
        return result;
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    result.seconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    return result;
}

bool is_there(const std::string &program) {
    return program.find('/') != std::string::npos ||
           run({"sh", "-c", "command -v " + program}).status == 0;
}

// Runs `line` again and again; an exit status above `highest` is a failure.
void measure(benchmark::State &state, const words &line, const words &files, int highest = 0) {
    if (!is_there(line[0])) {
        state.SkipWithError((line[0] + " is not installed").c_str());
        return;
    }
    uint64_t bytes = 0;
    for (const std::string &file : files) {
        bytes += bench::file_bytes(file);
    }
    words whole = line;
    whole.insert(whole.end(), files.begin(), files.end());
    for (auto _ : state) {
        const finished result = run(whole);
        if (result.status < 0 || result.status > highest) {
            state.SkipWithError(("exit status " + std::to_string(result.status)).c_str());
            break;
        }
        state.SetIterationTime(result.seconds);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

const char *const tdm = TDM_COMMAND;

void on_container(benchmark::State &state, const words &line) {
    measure(state, line, {bench::container(state.range(0), state.range(1))});
}

// A deletion replaces the container: each run gets a copy, made outside the time.
void delete_version(benchmark::State &state) {
    const std::string original = bench::container(state.range(0), state.range(1));
    const std::string copy = bench::scratch_path("deleted");
    const std::string version = "main@" + std::to_string(state.range(1) / 2);
    for (auto _ : state) {
        std::filesystem::copy_file(original, copy,
                                   std::filesystem::copy_options::overwrite_existing);
        const finished result = run({tdm, "delete", "--yes", copy, version});
        if (result.status != 0) {
            state.SkipWithError("the deletion failed");
            break;
        }
        state.SetIterationTime(result.seconds);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(bench::file_bytes(original)));
}

void on_pair(benchmark::State &state, const words &line, bench::edit kind) {
    measure(state, line,
            {bench::text(state.range(0), bench::edit::none), bench::text(state.range(0), kind)}, 1);
}

enum class base_place { first, second };

void on_three(benchmark::State &state, const words &line, base_place place) {
    words files = {bench::text(state.range(0), bench::edit::none),
                   bench::text(state.range(0), bench::edit::few),
                   bench::text(state.range(0), bench::edit::random)};
    if (place == base_place::second) {
        std::swap(files[0], files[1]);
    }
    constexpr int conflicts = 127;
    measure(state, line, files, conflicts);
}

// Megabytes and versions: growth with the one and with the other.
void containers(benchmark::internal::Benchmark *benchmark) {
    for (const int64_t megabytes : {1, 10, 100}) {
        benchmark->Args({megabytes, 100});
    }
    for (const int64_t versions : {1000, 10000}) {
        benchmark->Args({10, versions});
    }
    benchmark->Args({100, 10000})->UseManualTime()->Unit(benchmark::kMillisecond);
}

void pairs(benchmark::internal::Benchmark *benchmark) {
    benchmark->Arg(10000)->Arg(100000)->Arg(1000000);
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(on_container, cat, words{"cat"})->Apply(containers);
BENCHMARK_CAPTURE(on_container, verify, words{tdm, "verify"})->Apply(containers);
BENCHMARK_CAPTURE(on_container, log, words{tdm, "log"})->Apply(containers);
BENCHMARK_CAPTURE(on_container, info, words{tdm, "info"})->Apply(containers);
BENCHMARK_CAPTURE(on_container, dump, words{tdm, "dump"})->Apply(containers);
BENCHMARK_CAPTURE(on_container, checkout, words{tdm, "checkout"})->Apply(containers);
BENCHMARK_CAPTURE(on_container, annotate, words{tdm, "annotate"})->Apply(containers);
BENCHMARK(delete_version)->Apply(containers);

using bench::edit;
BENCHMARK_CAPTURE(on_pair, cat_few_edits, words{"sh", "-c", "cat \"$@\"; exit 1", "cat"}, edit::few)
    ->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, tdm_diff_few_edits, words{tdm, "diff"}, edit::few)->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, diff_few_edits, words{"diff"}, edit::few)->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, git_diff_few_edits, words{"git", "diff", "--no-index"}, edit::few)
    ->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, tdm_diff_random_edits, words{tdm, "diff"}, edit::random)->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, diff_random_edits, words{"diff"}, edit::random)->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, git_diff_random_edits, words{"git", "diff", "--no-index"}, edit::random)
    ->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, tdm_diff_moved_block, words{tdm, "diff"}, edit::moved)->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, diff_moved_block, words{"diff"}, edit::moved)->Apply(pairs);
BENCHMARK_CAPTURE(on_pair, git_diff_moved_block,
                  words{"git", "diff", "--no-index", "--diff-algorithm=histogram"}, edit::moved)
    ->Apply(pairs);

BENCHMARK_CAPTURE(on_three, tdm_merge, words{tdm, "merge", "-o", "-"}, base_place::first)
    ->Apply(pairs);
BENCHMARK_CAPTURE(on_three, git_merge_file, words{"git", "merge-file", "-p"}, base_place::second)
    ->Apply(pairs);
BENCHMARK_CAPTURE(on_three, diff3, words{"diff3", "-m"}, base_place::second)->Apply(pairs);

}  // namespace

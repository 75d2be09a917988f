// Comparison, difference stream and merge of the library, in lines.
#include <benchmark/benchmark.h>
#include <norviktdm/tdm.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "inputs.h"

namespace {

class compared {
public:
    explicit compared(const std::vector<std::string> &paths) {
        std::vector<const char *> names;
        for (const std::string &path : paths) {
            names.push_back(path.c_str());
        }
        int identical = 1;
        good_ = tdm_create_session(static_cast<int>(names.size()), names.data(), &session_) == 0 &&
                tdm_compare(session_, &identical) == 0 && identical == 0;
    }
    ~compared() { tdm_destroy_session(session_); }
    compared(const compared &) = delete;
    compared &operator=(const compared &) = delete;
    bool good() const { return good_; }
    tdm_session *session() const { return session_; }

private:
    tdm_session *session_ = nullptr;
    bool good_ = false;
};

void count_lines(benchmark::State &state, int64_t lines) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * lines);
}

// Walks the stream from its start; the number of blocks, or -1.
int64_t walk(tdm_session *session) {
    uint64_t head = 0;
    uint64_t tail = 0;
    int64_t blocks = 0;
    if (tdm_init_diff_stream(session, &head, &tail) != 0) {
        return -1;
    }
    for (;; ++blocks) {
        uint32_t end = 0;
        diff_block block;
        if (tdm_get_next_diff(session, &end, &block) != 0) {
            return -1;
        }
        if (end != 0) {
            return blocks;
        }
    }
}

// From the opening of the files to the last block; items are the lines of both files.
void compare(benchmark::State &state, bench::edit kind) {
    const std::vector<std::string> paths = {bench::text(state.range(0), bench::edit::none),
                                            bench::text(state.range(0), kind)};
    int64_t blocks = 0;
    for (auto _ : state) {
        const compared pair(paths);
        blocks = pair.good() ? walk(pair.session()) : -1;
        if (blocks < 0) {
            state.SkipWithError("the comparison failed");
        }
    }
    count_lines(state, 2 * state.range(0));
    state.counters["blocks"] = static_cast<double>(blocks);
}

void stream(benchmark::State &state, const compared &files) {
    int64_t blocks = 0;
    for (auto _ : state) {
        blocks = files.good() ? walk(files.session()) : -1;
        if (blocks < 0) {
            state.SkipWithError("the stream failed");
        }
    }
    count_lines(state, blocks);
    state.counters["blocks"] = static_cast<double>(blocks);
}

// Items are the blocks of the stream.
void stream_of_small_blocks(benchmark::State &state) {
    const compared pair({bench::text(state.range(0), bench::edit::none),
                         bench::text(state.range(0), bench::edit::alternate)});
    stream(state, pair);
}

std::string written(const std::string &name, const std::vector<std::string> &lines) {
    const std::string path = bench::scratch_path(name);
    FILE *file = fopen(path.c_str(), "w");
    for (const std::string &line : lines) {
        fprintf(file, "%s\n", line.c_str());
    }
    fclose(file);
    return path;
}

// A long run that every single block before it could be measured against again: the base is A M q,
// the other file q M and A turned round.
void stream_across_a_long_run(benchmark::State &state) {
    std::vector<std::string> first;
    std::vector<std::string> middle;
    for (int64_t i = 0; i < state.range(0); ++i) {
        first.push_back("a" + std::to_string(i));
        middle.push_back("m" + std::to_string(i));
    }
    std::vector<std::string> base = first;
    base.insert(base.end(), middle.begin(), middle.end());
    base.emplace_back("q");
    std::vector<std::string> other = {"q"};
    other.insert(other.end(), middle.begin(), middle.end());
    other.insert(other.end(), first.rbegin(), first.rend());
    const compared pair({written("crossed-base", base), written("crossed-other", other)});
    stream(state, pair);
}

// Every block of the stream decided and the output written. Items are the lines of the base.
void merge_files(benchmark::State &state, const std::vector<std::string> &paths) {
    const std::string out = bench::scratch_path("merged");
    const auto accept = [](tdm_session *, const diff_block *, uint64_t) -> uint64_t { return 4; };
    // The report's lines go to standard output.
    fflush(stdout);
    const int kept = dup(STDOUT_FILENO);
    for (auto _ : state) {
        unlink(out.c_str());
        const compared files(paths);
        uint64_t head = 0;
        uint64_t tail = 0;
        if (!files.good() || freopen("/dev/null", "w", stdout) == nullptr ||
            tdm_init_diff_stream(files.session(), &head, &tail) != 0) {
            state.SkipWithError("the comparison failed");
            break;
        }
        merge_report *report =
            tdm_merge_init_report(files.session(), out.c_str(), 0, accept, nullptr, 0);
        uint32_t end = 0;
        diff_block block;
        int status = 0;
        while (status == 0) {
            status = tdm_get_next_diff(files.session(), &end, &block);
            if (status != 0 || end != 0) {
                break;
            }
            status = tdm_merge_queue_diff(report, &block);
        }
        if (tdm_merge_term(report, status) != 0) {
            state.SkipWithError("the merge failed");
        }
    }
    fflush(stdout);
    dup2(kept, STDOUT_FILENO);
    close(kept);
    count_lines(state, state.range(0));
}

// Two contributors, one with random edits and one with few.
void merge(benchmark::State &state) {
    const std::vector<std::string> paths = {bench::text(state.range(0), bench::edit::none),
                                            bench::text(state.range(0), bench::edit::few),
                                            bench::text(state.range(0), bench::edit::random)};
    merge_files(state, paths);
}

// Two-byte lines, too many for the known places in the file, every third changed.
void merge_of_tiny_lines(benchmark::State &state) {
    std::vector<std::string> lines(static_cast<size_t>(state.range(0)), "x");
    const std::string base = written("tiny-base", lines);
    for (size_t i = 0; i < lines.size(); i += 3) {
        lines[i] = "y";
    }
    const std::string other = written("tiny-other", lines);
    merge_files(state, {base, other, other});
}

void sizes(benchmark::internal::Benchmark *benchmark) {
    for (const int64_t lines : {10000, 100000, 500000, 1000000}) {
        benchmark->Arg(lines)->Unit(benchmark::kMillisecond);
    }
}

BENCHMARK_CAPTURE(compare, few_edits, bench::edit::few)->Apply(sizes);
BENCHMARK_CAPTURE(compare, random_edits, bench::edit::random)->Apply(sizes);
BENCHMARK_CAPTURE(compare, moved_block, bench::edit::moved)->Apply(sizes);
BENCHMARK_CAPTURE(compare, nothing_in_common, bench::edit::foreign)->Apply(sizes);
BENCHMARK(stream_of_small_blocks)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(stream_across_a_long_run)->Arg(50000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(merge)->Apply(sizes);
BENCHMARK(merge_of_tiny_lines)
    ->Arg(98304)
    ->Arg(196607)
    ->Arg(6000000)
    ->Arg(12000000)
    ->Unit(benchmark::kMillisecond);

}  // namespace

// The reader and the container operations of the library, on 1 to 100 MB with 100 versions.
#include <benchmark/benchmark.h>
#include <norviktdm/tdm.h>
#include <unistd.h>

#include "inputs.h"

namespace {

constexpr int64_t versions = 100;

void count_bytes(benchmark::State &state, const std::string &path) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(bench::file_bytes(path)));
}

void read_lines(benchmark::State &state) {
    const std::string path = bench::container(state.range(0), versions);
    for (auto _ : state) {
        line_stream in{};
        in.stream = fopen(path.c_str(), "r");
        in.file_name = path.c_str();
        in.file_size = bench::file_bytes(path);
        for (int at_eof = 0; at_eof == 0;) {
            if (tdm_read_long_line(&in, &at_eof) != 0) {
                state.SkipWithError("the reader failed");
                break;
            }
        }
        fclose(in.stream);
        mem_free(in.line);
    }
    count_bytes(state, path);
}

// Flags 0: the plain text; 1: the annotated one. The output is forced to disk in every run.
void construct(benchmark::State &state, uint32_t flags) {
    const std::string path = bench::container(state.range(0), versions);
    const std::string out = bench::scratch_path("constructed");
    const std::string oid = bench::version_oid(versions);
    for (auto _ : state) {
        if (tdm_construct_ver(path.c_str(), out.c_str(), oid.c_str(), flags) != 0) {
            state.SkipWithError("the construction failed");
        }
    }
    unlink(out.c_str());
    count_bytes(state, path);
}

// A new version that changes one line in a thousand.
void check_in(benchmark::State &state) {
    const std::string path = bench::container(state.range(0), versions);
    const std::string text = bench::scratch_path("checked-in.txt");
    const std::string out = bench::scratch_path("checked-in");
    if (tdm_construct_ver(path.c_str(), text.c_str(), bench::version_oid(versions).c_str(), 0) !=
        0) {
        state.SkipWithError("the construction failed");
        return;
    }
    FILE *file = fopen(text.c_str(), "r+");
    for (long at = 0; at < static_cast<long>(bench::file_bytes(text)); at += 40L * 1000) {
        fseek(file, at, SEEK_SET);
        fputc('x', file);
    }
    fclose(file);
    for (auto _ : state) {
        uint32_t identical = 0;
        if (tdm_store_ver(1, "new", "main", versions + 1, out.c_str(), nullptr, nullptr, versions,
                          path.c_str(), text.c_str(), 0, &identical) != 0) {
            state.SkipWithError("the check-in failed");
        }
    }
    unlink(out.c_str());
    unlink(text.c_str());
    count_bytes(state, path);
}

BENCHMARK(read_lines)->Arg(1)->Arg(10)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(construct, plain, 0)
    ->Arg(1)
    ->Arg(10)
    ->Arg(50)
    ->Arg(100)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(construct, annotated, 1)
    ->Arg(1)
    ->Arg(10)
    ->Arg(50)
    ->Arg(100)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(check_in)->Arg(1)->Arg(10)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace

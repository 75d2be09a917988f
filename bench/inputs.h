// What the benchmarks read: texts and containers made by rule, the same in every run, in a folder
// of their own that goes with the process. Each is made when first asked for.
#ifndef TDM_BENCH_INPUTS_H
#define TDM_BENCH_INPUTS_H

#include <cstdint>
#include <string>

namespace bench {

// A path in the folder of this run.
std::string scratch_path(const std::string &name);

uint64_t file_bytes(const std::string &path);

// A container of about `megabytes` x 10^6 bytes with lines of 40 bytes and `versions` versions,
// v1 being the first with text: each later one replaces lines spread over the whole text.
std::string container(int64_t megabytes, int64_t versions);

// The identifier of the container's version with this number.
std::string version_oid(int64_t number);

enum class edit {
    none,
    few,       // ten lines changed
    random,    // one line in a hundred changed, dropped or put in
    moved,     // a fifth of the lines moved from the front to near the end
    foreign,   // no line in common
    alternate  // every other line changed
};

// A text of `lines` lines of 40 bytes with an edit made to it.
std::string text(int64_t lines, edit kind);

}  // namespace bench

#endif

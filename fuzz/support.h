// What the fuzz targets share: the command and the library in this process, silenced, in a scratch
// folder; containers and their texts; inputs as lines.
//
// A container's input is the container itself, so that a finding can be tried with the command.
// Whatever else a target must choose comes from a generator that the input's bytes seed.
#ifndef TDM_FUZZ_SUPPORT_H
#define TDM_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "container_check.h"
#include "memory_file.h"

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t most, unsigned seed);
extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t most);

namespace fuzz {

// Ends the process as a finding, with these words, unless `holds`.
void require(bool holds, const std::string &words);

// Standard error as the process was given it; the command's own is silenced.
int given_output();

struct choices {
    std::minstd_rand random;
    explicit choices(std::string_view seed);
    explicit choices(unsigned seed) : random(seed) {}
    // A number from 0 to below - 1; 0 for an empty range.
    size_t below(size_t end) { return end == 0 ? 0 : random() % end; }
};

inline std::string_view bytes_of(const uint8_t *data, size_t size) {
    return {reinterpret_cast<const char *>(data), size};
}
std::string read_file(const std::string &path);
void write_file(const std::string &path, std::string_view bytes);
std::vector<std::string> files_here();

// Lets go of the temporary files that the library has asked for.
void drop_library_files();
// Runs the command in the scratch folder, which is the working directory; its exit status.
int run(std::vector<std::string> words);

// A container in memory, open for both readers.
struct held_container {
    host::memory_file file;
    host::container_view view;
    bool opened = false;
    explicit held_container(std::string_view bytes);
};

// A version's text as the library reads it (or its annotation), by the version's identifier.
std::optional<std::string> library_text(const std::string &path, std::string_view oid,
                                        uint32_t annotation = 0);
// The same by the command's own walk.
std::optional<std::string> walked_text(const host::container_view &view, host::version_id id);

// Every live version's text by the library, where it can be read.
using texts_by_id = std::map<host::version_id, std::string>;
texts_by_id texts_of(const held_container &container);
bool is_sound(const host::container_view &view);
// A word of the command line that names the version, empty when there is none.
std::string word_for(const host::container_view &view, const host::version_record &version);

// A line of a weave: who inserted it, and whether a live version holds it.
using line_visitor = std::function<void(host::version_id run, std::string_view text, bool held)>;
void visit_lines(const host::container_view &view, const line_visitor &visit);

// Lines with their newlines; the last one may have none.
std::vector<std::string> split(std::string_view text);
std::string join(const std::vector<std::string> &lines);
// One random edit of lines: some deleted, doubled, moved, swapped or replaced.
void edit_lines(std::vector<std::string> *lines, choices *random);
// The lines that edits bring; a target may put its own in their place.
std::vector<std::string> &word_list();

// An input of several texts: a line "%%" ends one, "%-" ends one and takes its last newline off.
// Bytes that no text may hold are left out.
std::vector<std::string> texts_of_input(std::string_view input, size_t least, size_t most);

}  // namespace fuzz

#endif

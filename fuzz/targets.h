// The fuzz targets and what they share: the command and the library in this process, silenced, in a
// scratch folder; containers and their texts; inputs as lines.
//
// A container's input is the container itself, so that a finding can be tried with the command.
// Whatever else a target must choose comes from a generator that the input's bytes seed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "container_check.h"
#include "files.h"
#include "memory_file.h"

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t most, unsigned seed);
extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t most);

namespace fuzz {

// Each tries one input; what must hold stands at its definition.
void reader(std::string_view input);
void annotate(std::string_view input);
void checkin(std::string_view input);
void delete_versions(std::string_view input);
void purge(std::string_view input);
void repair(std::string_view input);
void compare(std::string_view input);
void stream(std::string_view input);
void merge(std::string_view input);
void options(std::string_view input);

// Ends the process as a finding, with these words, unless `holds`.
void require(bool holds, const std::string &words);
// Standard error as the process was given it; the command's own is silenced.
int given_output();

struct choices {
    std::minstd_rand random;
    explicit choices(unsigned seed) : random(seed) {}
    explicit choices(std::string_view seed);
    // A number from 0 to end - 1; 0 for an empty range.
    size_t below(size_t end) { return end == 0 ? 0 : random() % end; }
    template <typename Items>
    auto &of(Items &items) {
        return items[below(std::size(items))];
    }
};

// Runs the command in the scratch folder, which is the working directory; its exit status.
int run(std::vector<std::string> words);
// Lets go of the temporary files that the library has asked for.
void drop_library_files();

struct held_file : norvik::memory_file {
    explicit held_file(std::string_view bytes = "");
};

// A container in memory, open for both readers.
struct held_container {
    held_file file;
    norvik::container_view view;
    bool opened;
    explicit held_container(std::string_view bytes);
};

// A version's text as the library reads it (or its annotation), by the version's identifier.
std::optional<std::string> library_text(const held_container &container, std::string_view oid,
                                        uint32_t annotation = 0);
// The same by the command's own walk.
std::optional<std::string> walked_text(const norvik::container_view &view, norvik::version_id id);
// Every live version's text by the library, where it can be read.
using texts_by_id = std::map<norvik::version_id, std::string>;
texts_by_id texts_of(const held_container &container);
bool is_sound(const norvik::container_view &view);

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

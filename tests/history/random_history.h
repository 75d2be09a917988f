// A container with a random branching history, made through the library, beside a model that keeps
// every text whole.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "container_view.h"
#include "files.h"
#include "small_texts.h"

namespace host_tests {

struct modelled_version {
    std::string oid;
    std::string text;
    norvik::version_id predecessor;
};

// The text that the weave gives for a version, or "cannot be read".
std::string text_of_version(const norvik::container_view &view, norvik::version_id id);

// The library's own reconstruction; with `flags` 1 every line begins with "I OID ".
std::string constructed(const std::string &container, const std::string &oid, uint32_t flags = 0);

class random_history {
public:
    // With `lines` the first version has as many.
    explicit random_history(unsigned seed, int steps = 0, size_t lines = 0);

    // One check-in, new branch or check-in of the same text; fails the test when the library does.
    void step();
    // The container's bytes after some versions have been deleted, which go from `versions` too.
    std::string pruned();
    std::string path() const { return folder_.path() + "/container"; }
    // A number from 0 to `below` - 1.
    unsigned pick(unsigned below) { return static_cast<unsigned>(make_.below(below)); }

    std::map<norvik::version_id, modelled_version> versions;
    std::vector<std::string> branches;  // by number
    uint64_t time = 1000;

private:
    void store(uint64_t branch, const norvik::version_id &predecessor, const std::string &text);

    text_maker make_;
    scratch_folder folder_;
    unsigned next_oid_ = 0;
};

}  // namespace host_tests

#include "random_history.h"

#include <gtest/gtest.h>
#include <norviktdm/tdm.h>

#include <filesystem>
#include <sstream>

namespace host_tests {

random_history::random_history(unsigned seed, int steps) : branches{"main"}, random_(seed) {
    EXPECT_EQ(tdm_create_elem(time, "element", "main", "oid0", path().c_str()), 0);
    versions[{0, 0}] = {"oid0", "", {}};
    for (int i = 0; i < steps; i++) {
        step();
    }
}

// A few lines deleted, inserted (some that begin with ^) or moved; now and then no last newline.
std::string random_history::changed(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    for (unsigned edits = 1 + pick(4); edits > 0; edits--) {
        const unsigned at = pick(static_cast<unsigned>(lines.size()) + 1);
        const unsigned count = 1 + pick(6);
        const auto place = lines.begin() + at;
        if (pick(3) == 0 && at < lines.size()) {
            lines.erase(place, place + std::min<long>(count, lines.end() - place));
            continue;
        }
        for (unsigned i = 0; i < count; i++) {
            const std::string line = (pick(9) == 0 ? "^I 0 " : "line ") + std::to_string(pick(400));
            lines.insert(lines.begin() + at, line);
        }
    }
    std::string result;
    for (const std::string &line : lines) {
        result += line + "\n";
    }
    if (!result.empty() && pick(5) == 0) {
        result.pop_back();
    }
    return result;
}

void random_history::store(uint64_t branch, const host::version_id &predecessor,
                           const std::string &text) {
    uint64_t number = 1;
    for (const auto &[id, version] : versions) {
        if (id.branch == branch) {
            number = std::max(number, id.number + 1);
        }
    }
    const std::string oid = "oid" + std::to_string(++next_oid_);
    const std::string fresh = path() + ".new";
    const std::string input = path() + ".text";
    write_file(input, text);
    uint32_t identical = 0;
    ASSERT_EQ(tdm_store_ver(++time, oid.c_str(), branches[branch].c_str(), number, fresh.c_str(),
                            nullptr, branches[predecessor.branch].c_str(), predecessor.number,
                            path().c_str(), input.c_str(), 0, &identical),
              0);
    std::filesystem::rename(fresh, path());
    versions[{branch, number}] = {oid, text, predecessor};
}

void random_history::step() {
    const auto base = std::next(versions.begin(), pick(static_cast<unsigned>(versions.size())));
    if (pick(6) == 0) {
        branches.push_back("b" + std::to_string(branches.size()));
        store(branches.size() - 1, base->first, changed(base->second.text));
        return;
    }
    const uint64_t branch = base->first.branch;
    const auto newest = std::prev(versions.lower_bound({branch + 1, 0}));
    const bool same = pick(10) == 0;
    store(branch, newest->first, same ? newest->second.text : changed(newest->second.text));
}

}  // namespace host_tests

#include "random_history.h"

#include <gtest/gtest.h>
#include <norviktdm/tdm.h>

#include <filesystem>

#include "structure.h"

namespace host_tests {

std::string text_of_version(const norvik::container_view &view, norvik::version_id id) {
    std::string text;
    std::vector<norvik::version_id> lineage;
    const bool rooted = norvik::lineage_of(view, id, &lineage);
    const auto broken = norvik::walk_version(view, lineage, [&](std::string_view piece) {
        text += piece;
        return true;
    });
    return rooted && !broken ? text : "cannot be read";
}

std::string constructed(const std::string &container, const std::string &oid, uint32_t flags) {
    const std::string out = container + ".out";
    EXPECT_EQ(tdm_construct_ver(container.c_str(), out.c_str(), oid.c_str(), flags), 0) << oid;
    return read_file(out);
}

random_history::random_history(unsigned seed, int steps, size_t lines)
    : branches{"main"}, make_{.random = std::mt19937(seed), .repeated = 0.3, .quoted = 0.1} {
    EXPECT_EQ(tdm_create_elem(time, "element", "main", "oid0", path().c_str()), 0);
    versions[{0, 0}] = {"oid0", "", {}};
    if (lines > 0) {
        store(0, {0, 0}, joined(make_.text(lines)));
    }
    for (int i = 0; i < steps; i++) {
        step();
    }
}

void random_history::store(uint64_t branch, const norvik::version_id &predecessor,
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
        store(branches.size() - 1, base->first, make_.changed(base->second.text));
        return;
    }
    const uint64_t branch = base->first.branch;
    const auto newest = std::prev(versions.lower_bound({branch + 1, 0}));
    const bool same = pick(10) == 0;
    store(branch, newest->first, same ? newest->second.text : make_.changed(newest->second.text));
}

std::string random_history::pruned() {
    std::vector<std::string> oids;
    std::erase_if(versions, [&](const auto &entry) {
        const bool goes = entry.first != norvik::version_id{0, 0} && pick(5) == 0;
        oids.insert(oids.end(), goes ? 1 : 0, entry.second.oid);
        return goes;
    });
    std::vector<const char *> deleted;
    for (const std::string &oid : oids) {
        deleted.push_back(oid.c_str());
    }
    const std::string fresh = path() + ".pruned";
    EXPECT_EQ(tdm_delete_versions_and_branches(path().c_str(), fresh.c_str(),
                                               static_cast<int32_t>(deleted.size()), deleted.data(),
                                               0, nullptr),
              0);
    for (const auto &[id, version] : versions) {
        EXPECT_EQ(constructed(fresh, version.oid), version.text) << version.oid;
    }
    return read_file(fresh);
}

}  // namespace host_tests

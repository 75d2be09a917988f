// Which versions and branches a header lists, in tables that answer at once: for a pass that asks
// at every record of a weave.
#ifndef NORVIK_LISTED_VERSIONS_H
#define NORVIK_LISTED_VERSIONS_H

#include <optional>
#include <unordered_map>
#include <vector>

#include "container_view.h"
#include "version_tree.h"

namespace norvik {

class listed_versions {
public:
    // Reads the header's records, once. The view must outlive the object.
    explicit listed_versions(const container_view &view);

    // True when check_header finds no fault; false when there may be one.
    bool header_is_sound() const { return sound_; }

    // Whether the version has a record in the header, commented out or not.
    bool lists(version_id id) const {
        const branch_facts *branch = find(id.branch);
        if (branch == nullptr || id.number < branch->lowest || id.number > branch->highest) {
            return false;
        }
        return branch->highest - branch->lowest + 1 == branch->count || lists_among_gaps(id);
    }

    // Whether `older` is another version and its records belong to what `newer` was made from. Both
    // are listed.
    bool descends(version_id newer, version_id older) const {
        return newer.branch == older.branch ? older.number < newer.number
                                            : descends_across(newer, older);
    }

    // Whether the version has one before it.
    bool has_before(version_id id) const {
        return id.branch != 0 || id.number > find(id.branch)->lowest;
    }

private:
    struct branch_facts {
        std::uint64_t lowest = 0;  // of the versions
        std::uint64_t highest = 0;
        std::uint64_t count = 0;
        const branch_record *record = nullptr;  // the live one
        bool commented = false;                 // it has a record that is commented out
        bool has_live = false;                  // a version that is not commented out
        bool rooted = false;                    // its line of branch points leads to branch 0
    };

    const branch_facts *find(std::uint64_t number) const {
        if (number < low_.size()) {
            return &low_[number];
        }
        const auto found = high_.find(number);
        return found == high_.end() ? nullptr : &found->second;
    }
    branch_facts &facts_of(std::uint64_t number) {
        return number < low_.size() ? low_[number] : high_[number];
    }
    void take_version(const version_record &version);
    void take_branch(const branch_record &branch);
    void follow_branch_points();
    void judge_branch(std::uint64_t number, const branch_facts &branch);
    void refuse_equal_identifiers();
    bool lists_among_gaps(version_id id) const;
    bool descends_across(version_id newer, version_id older) const;
    const version_tree &tree() const;

    const container_view &view_;
    bool sound_ = true;
    std::vector<branch_facts> low_;  // by number
    std::unordered_map<std::uint64_t, branch_facts> high_;
    mutable std::optional<version_tree> tree_;  // made when it is first needed
};

}  // namespace norvik

#endif

// Holders are ranges of positions, and these differ between the two trees: they are compared as
// ranges of ranks among the survivors, which are the same in both. Some 20 bytes a version for each
// side, and the two passes' own tables.
#include "survivor_proof.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "weave_cursor.h"

namespace norvik {
namespace {

// The survivors by position, and how many stand before each position: their ranks.
struct survivor_ranks {
    std::vector<version_id> survivors;
    std::vector<std::uint32_t> before;

    survivor_ranks(const container_view &view, const version_tree &tree,
                   const survivor_test &survives) {
        std::vector<bool> alive(tree.versions.size());
        for (const version_record &version : view.versions) {
            alive[position_of(tree, version.id)] = survives(version);
        }
        before.reserve(alive.size() + 1);
        for (std::size_t i = 0; i < alive.size(); i++) {
            before.push_back(static_cast<std::uint32_t>(survivors.size()));
            if (alive[i]) {
                survivors.push_back(tree.versions[i]);
            }
        }
        before.push_back(static_cast<std::uint32_t>(survivors.size()));
    }
};

// One of the two weaves, as the lines that survivors hold.
class survivor_lines {
public:
    survivor_lines(const container_view &view, const version_tree &tree,
                   const survivor_ranks &ranks)
        : cursor_(view, tree), ranks_(ranks) {}

    // Makes sure that there are bytes to take; false at the end.
    bool fill() {
        while (bytes_.empty()) {
            if (!cursor_.next(&stretch_)) {
                return false;
            }
            find_holders();
            bytes_ = holders_.empty() ? std::string_view() : stretch_.bytes;
        }
        return true;
    }

    void take(std::size_t size) { bytes_.remove_prefix(size); }

    // The first line, as it stands.
    std::string_view line() const { return bytes_.substr(0, bytes_.find('\n') + 1); }

    std::string_view bytes() const { return bytes_; }
    const weave_stretch &stretch() const { return stretch_; }
    // Ranges of ranks, in order, none touching the next.
    const std::vector<position_range> &holders() const { return holders_; }

private:
    void find_holders() {
        parts_.clear();
        holders_.clear();
        cursor_.holders(stretch_, &parts_);
        for (const position_range &part : parts_) {
            const position_range ranks{ranks_.before[part.first], ranks_.before[part.end]};
            if (ranks.empty()) {
                continue;
            }
            // Ranges that dead versions part are one among the survivors.
            if (!holders_.empty() && holders_.back().end == ranks.first) {
                holders_.back().end = ranks.end;
            } else {
                holders_.push_back(ranks);
            }
        }
    }

    weave_cursor cursor_;
    const survivor_ranks &ranks_;
    weave_stretch stretch_;
    std::string_view bytes_;
    std::vector<position_range> parts_;
    std::vector<position_range> holders_;
};

// Compares the next line, or as many as both sides have in one piece, and takes them.
bool take_equal(survivor_lines *before, survivor_lines *after) {
    if (before->stretch().run != after->stretch().run || before->holders() != after->holders()) {
        return false;
    }
    if (before->stretch().kind == format::kind_plain &&
        after->stretch().kind == format::kind_plain) {
        const std::size_t size = std::min(before->bytes().size(), after->bytes().size());
        if (std::memcmp(before->bytes().data(), after->bytes().data(), size) != 0) {
            return false;
        }
        before->take(size);
        after->take(size);
        return true;
    }
    if (text_of(before->line()) != text_of(after->line())) {
        return false;
    }
    before->take(before->line().size());
    after->take(after->line().size());
    return true;
}

result<> compare_weaves(const container_view &view, survivor_lines *before, survivor_lines *after,
                        const std::vector<version_id> &survivors) {
    for (;;) {
        const bool more = before->fill();
        if (more != after->fill()) {
            return refusal(view.name,
                           std::string(more ? "lines are missing" : "there are lines too many") +
                               " at the end");
        }
        if (!more) {
            return {};
        }
        const version_id first = survivors[before->holders().front().first];
        const std::uint64_t line = before->stretch().line;
        if (!take_equal(before, after)) {
            return refusal(view.name, "the text of " + version_name(view, first) +
                                          " would not be the same near line " +
                                          std::to_string(line) + " of the old container");
        }
    }
}

// A record `b` that is commented out may have lost its notes.
bool same_record(const version_record &a, const version_record &b) {
    return a.oid == b.oid && a.id == b.id && a.time == b.time &&
           (a.notes == b.notes || (b.deleted && b.notes.empty()));
}

bool same_record(const branch_record &a, const branch_record &b) {
    return a.oid == b.oid && a.number == b.number && a.parent == b.parent &&
           (a.notes == b.notes || (b.deleted && b.notes.empty()));
}

// Every record of the new header is one of the old, in the old order, and the versions that are
// alive there are the survivors, all of them.
result<> compare_headers(const container_view &before, const container_view &after,
                         const survivor_test &survives) {
    auto old_version = before.versions.begin();
    for (const version_record &version : after.versions) {
        const auto differs = [&](const version_record &old) {
            return !same_record(old, version) && !survives(old);
        };
        old_version = std::find_if_not(old_version, before.versions.end(), differs);
        if (old_version == before.versions.end() || !same_record(*old_version, version) ||
            survives(*old_version) == version.deleted) {
            return refusal(before.name, "the record of " + version_name(after, version.id) +
                                            " is not as it was");
        }
        ++old_version;
    }
    if (std::any_of(old_version, before.versions.end(), survives)) {
        return refusal(before.name, "the record of a version is missing");
    }
    auto old_branch = before.branches.begin();
    for (const branch_record &branch : after.branches) {
        old_branch = std::find_if(old_branch, before.branches.end(), [&](const branch_record &old) {
            return same_record(old, branch);
        });
        if (old_branch == before.branches.end()) {
            return refusal(before.name,
                           "the record of branch " + std::string(branch.oid) + " is not as it was");
        }
    }
    if (before.element_oid != after.element_oid || before.format != after.format) {
        return refusal(before.name, "the element is another one");
    }
    return {};
}

}  // namespace

result<> compare_texts(const container_view &before, const version_tree &old_tree,
                       const survivor_test &survives_before, const container_view &after,
                       const survivor_test &survives_after) {
    const version_tree new_tree = build_version_tree(after);
    const survivor_ranks old_ranks(before, old_tree, survives_before);
    const survivor_ranks new_ranks(after, new_tree, survives_after);
    if (old_ranks.survivors != new_ranks.survivors) {
        return refusal(before.name, "the tree of versions is not as it was");
    }
    survivor_lines old_lines(before, old_tree, old_ranks);
    survivor_lines new_lines(after, new_tree, new_ranks);
    return compare_weaves(before, &old_lines, &new_lines, old_ranks.survivors);
}

result<> compare_survivors(const container_view &before, const container_view &after,
                           const survivor_test &survives) {
    if (auto same = compare_headers(before, after, survives); !same) {
        return same;
    }
    return compare_texts(before, build_version_tree(before), survives, after,
                         [](const version_record &version) { return !version.deleted; });
}

}  // namespace norvik

// Where the damage is can be told from the sets of versions alone: a line that a version has which
// agrees with its digest is right. The sets are asked as ranges of positions, by sums over these.
#include "sum_check.h"

#include <algorithm>
#include <set>
#include <string>

namespace norvik {
namespace {

// Lines of a container, both included.
struct line_range {
    std::uint64_t first;
    std::uint64_t last;
};

// How many versions of a kind stand before each position.
class position_counts {
public:
    template <typename Test>
    position_counts(std::size_t count, const Test &counts) : before_(1) {
        for (std::size_t i = 0; i < count; i++) {
            before_.push_back(before_.back() + (counts(i) ? 1 : 0));
        }
    }
    std::uint32_t in(position_range range) const {
        return before_[range.end] - before_[range.first];
    }
    std::uint32_t in(const std::vector<position_range> &parts) const {
        std::uint32_t sum = 0;
        for (const position_range part : parts) {
            sum += in(part);
        }
        return sum;
    }
    std::uint32_t all() const { return before_.back(); }

private:
    std::vector<std::uint32_t> before_;
};

enum class verdict : char { none, holds, fails };

class sum_check {
public:
    sum_check(const container_view &view, const weave_scan &scan)
        : view_(view), scan_(scan), verdicts_(scan.tree.versions.size(), verdict::none) {}

    std::vector<weave_fault> run() {
        record_sums sums(view_);
        live_.resize(verdicts_.size());
        bool fails = false;
        for (const version_record &version : view_.versions) {
            const std::uint32_t at = position_of(scan_.tree, version.id);
            if (version.deleted || at == no_position) {
                continue;
            }
            live_[at] = true;
            const auto sum = version.sum ? sums.of(version, scan_.totals[at].offset) : std::nullopt;
            verdicts_[at] = !sum                   ? verdict::none
                            : *sum == *version.sum ? verdict::holds
                                                   : verdict::fails;
            fails = fails || verdicts_[at] == verdict::fails;
        }
        if (fails) {
            find_lines();
            tell_versions();
        }
        check_branches(sums);
        return std::move(faults_);
    }

private:
    // Those of the weave, and the records that say what the failing versions are.
    void find_lines() {
        const std::size_t count = verdicts_.size();
        const position_counts failing(
            count, [&](std::size_t i) { return verdicts_[i] == verdict::fails; });
        const position_counts holding(
            count, [&](std::size_t i) { return verdicts_[i] == verdict::holds; });
        find_records(failing, holding);
        std::vector<line_range> of_some;
        std::vector<position_range> holders;
        weave_cursor cursor(view_, scan_.tree);
        for (weave_stretch stretch; cursor.next(&stretch);) {
            holders.clear();
            cursor.holders(stretch, &holders);
            const std::uint32_t fails = holding.in(holders) == 0 ? failing.in(holders) : 0;
            if (fails != 0) {
                add_lines(stretch.line, stretch.line + stretch.lines - 1,
                          fails == failing.all() ? &lines_ : &of_some);
            }
        }
        if (lines_.empty()) {
            lines_ = std::move(of_some);
            several_ = true;
        }
    }

    // The record of the only failing version, of the branch that has all of them and no other, and
    // of the element when no version holds.
    void find_records(const position_counts &failing, const position_counts &holding) {
        std::vector<version_id> fails;
        std::set<std::uint64_t> holding_branches;
        for (std::size_t i = 0; i < verdicts_.size(); i++) {
            const version_id id = scan_.tree.versions[i];
            if (verdicts_[i] == verdict::fails) {
                fails.push_back(id);
            } else if (verdicts_[i] == verdict::holds) {
                holding_branches.insert(id.branch);
            }
        }
        const std::uint64_t branch = fails.front().branch;
        const auto is_there = [branch](version_id id) { return id.branch == branch; };
        if (failing.all() == 1) {
            add_line(find_version(view_, fails.front())->line);
        } else if (!holding_branches.contains(branch) && std::ranges::all_of(fails, is_there)) {
            add_line(find_branch(view_, branch)->line);
        }
        if (holding.all() == 0) {
            add_line(view_.weave_line - 1);
        }
    }

    void add_line(std::uint64_t line) { add_lines(line, line, &lines_); }

    static void add_lines(std::uint64_t first, std::uint64_t last, std::vector<line_range> *to) {
        if (!to->empty() && to->back().last + 1 == first) {
            to->back().last = last;
        } else {
            to->push_back({first, last});
        }
    }

    // "; what is damaged is in one of the lines 3, 7 to 9 and 2 more places"
    std::string lines_in_words() const {
        constexpr std::size_t most = 6;
        if (lines_.empty()) {
            return "";
        }
        if (lines_.size() == 1 && lines_.front().first == lines_.front().last && !several_) {
            return "; the damage is in this line";
        }
        std::string text = several_ ? "; the damage is in several of the lines "
                                    : "; the damage is in one of the lines ";
        for (std::size_t i = 0; i < std::min(most, lines_.size()); i++) {
            text += (i == 0 ? "" : ", ") + std::to_string(lines_[i].first);
            text +=
                lines_[i].first == lines_[i].last ? "" : " to " + std::to_string(lines_[i].last);
        }
        return lines_.size() > most ? text + " and so on" : text;
    }

    void tell_versions() {
        const std::string where = lines_in_words();
        for (std::size_t i = 0; i < verdicts_.size(); i++) {
            if (verdicts_[i] != verdict::fails) {
                continue;
            }
            const std::size_t first = i;
            std::size_t last = i;
            std::size_t count = 0;
            for (; i < verdicts_.size() && (verdicts_[i] == verdict::fails || !live_[i]); i++) {
                last = verdicts_[i] == verdict::fails ? i : last;
                count += verdicts_[i] == verdict::fails ? 1 : 0;
            }
            const version_id id = scan_.tree.versions[first];
            const version_record *record = find_version(view_, id);
            const std::string words = version_name(view_, id) +
                                      (count == 1 ? " does not agree with its digest"
                                                  : " and " + std::to_string(count - 1) +
                                                        " more do not agree with their digests");
            faults_.push_back(
                {{lines_.empty() ? record->line : lines_.front().first, words + where},
                 {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(last + 1)}});
            faults_.back().is_sum = true;
        }
    }

    // A branch's fields count in its versions' sums, too: here it is the notes that concern nobody.
    void check_branches(const record_sums &sums) {
        for (const branch_record &branch : view_.branches) {
            const auto sum = branch.deleted || !branch.sum ? std::nullopt : sums.of(branch);
            if (sum && *sum != *branch.sum) {
                faults_.push_back({{branch.line, "the record of branch " + std::string(branch.oid) +
                                                     " does not agree with its digest"},
                                   {}});
                faults_.back().is_sum = true;
            }
        }
    }

    const container_view &view_;
    const weave_scan &scan_;
    std::vector<verdict> verdicts_;  // by position
    std::vector<bool> live_;         // by position
    std::vector<line_range> lines_;  // where the damage may be
    bool several_ = false;           // no line is in all failing versions
    std::vector<weave_fault> faults_;
};

}  // namespace

fingerprints fingerprints_to_check(const container_view &view) {
    const auto has_sum = [](const auto &record) { return record.sum && !record.deleted; };
    return std::ranges::any_of(view.versions, has_sum) ||
                   std::ranges::any_of(view.branches, has_sum)
               ? fingerprints::bytes
               : fingerprints::none;
}

std::size_t count_without_sum(const container_view &view) {
    return static_cast<std::size_t>(std::ranges::count_if(
        view.versions,
        [](const version_record &version) { return !version.deleted && !version.sum; }));
}

std::vector<weave_fault> check_sums(const container_view &view, const weave_scan &scan) {
    return sum_check(view, scan).run();
}

}  // namespace norvik

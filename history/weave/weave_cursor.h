// One pass over a weave that knows, for every line, all versions that hold it.
//
// A line belongs to the versions that have the version of its innermost open run in their lineage
// and no deletion that covers it. A deletion by version d covers the lines from its record on until
// the version before d has passed as many lines as the record counts. The pass keeps the set of
// holders in a member tree and hands the weave over in stretches: lines that follow each other, are
// of the same run and have the same holders.
//
// This view of sets and the walk of a single version, with its one counter of lines to pass over,
// give the same text. For a version x let S be the lines that are still to come in open runs that x
// does not have, plus the lines that are still to come for x's deletions; the walk's counter is S
// as long as every line takes one off S exactly when x does not hold it:
//   - A line of a run that x does not have takes one off that run. No deletion of x counts it: the
//     version before the deletion would have to hold it, and x has all that one has.
//   - A line of a run that x has is counted by the oldest of x's active deletions d that is newer
//     than the run, since the version before d holds the line, and by no other, since for the
//     versions before these d covers it. Without such a d, x holds the line.
//   - So S could be more than nothing at a line that x holds for two reasons only: an outer run is
//     open that x does not have, or a deletion is active that is not newer than the line's run.
//     Both are faults here: a run must stand inside runs of its ancestors, and no line inside a
//     deletion may be of the deleting version or a newer one.
// Whoever writes a weave puts records directly behind a line that the version before holds, where
// neither can come about.
//
// Cost: O(bytes + (records + stretches) x log versions).
#ifndef NORVIK_WEAVE_CURSOR_H
#define NORVIK_WEAVE_CURSOR_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "container_view.h"
#include "member_tree.h"
#include "record_line.h"
#include "version_tree.h"

namespace norvik {

// Something wrong in the weave, and the versions whose text it puts in doubt.
struct weave_fault {
    damage what;
    position_range doubt;
    bool stray = false;   // lines that belong to no run: the doubt is whether they should
    bool guess = false;   // seen by its effects alone, which may be another fault's
    bool is_sum = false;  // a digest that does not agree, not the structure
};

// What the totals of versions have of their texts, besides lines and bytes.
enum class fingerprints {
    none,
    bytes,  // the value that a version's sum is made of (version_sum.h)
    lines,  // the value of the lines' hashes (line_hash.h), as older lists of digests have it
};

struct weave_stretch {
    version_id run;              // the version that inserted the lines
    position_range members;      // the versions that have it in their lineage
    std::size_t run_record = 0;  // the run's record, counted from 0 through the weave
    std::string_view bytes;      // the container's lines as they stand
    std::uint64_t lines = 0;
    std::uint64_t line = 0;  // number of the first
    char kind = 0;           // 0 plain lines; Q, N, T one line with that prefix
};

// An I or D record as it is met. `bytes` is its line.
struct weave_record {
    char kind = 0;
    run_fields fields;
    std::size_t ordinal = 0;  // from 0 through the weave
    std::string_view bytes;
};

struct active_deletion {
    std::size_t record = 0;  // ordinal
    version_id by;
    position_range members;
    std::uint32_t before = no_position;  // position of the version whose lines it counts
    std::uint64_t lines = 0;             // that it counts in all
    std::uint64_t line = 0;              // of its record
};

// What a version's records count.
struct change_counts {
    std::uint64_t added = 0;
    std::uint64_t deleted = 0;
};

class weave_cursor {
public:
    // View and tree must outlive the cursor.
    weave_cursor(const container_view &view, const version_tree &tree,
                 fingerprints of = fingerprints::none);

    // The next stretch, false at the end. Lines outside every run are faults and no stretch.
    bool next(weave_stretch *out);

    // The parts of the last stretch's members that hold its lines.
    void holders(const weave_stretch &stretch, std::vector<position_range> *out) const {
        holders(stretch, stretch.members, out);
    }
    // Those of them that lie within a range.
    void holders(const weave_stretch &stretch, position_range within,
                 std::vector<position_range> *out) const;
    // The deletions that count the lines of the last stretch: O(active x log versions).
    void counting_deletions(const weave_stretch &stretch, std::vector<std::size_t> *records) const;

    // The I and D records passed by the last call of next(), those behind the stretch before it.
    const std::vector<weave_record> &records() const { return records_; }

    const std::vector<weave_fault> &faults() const { return faults_; }
    const std::vector<change_counts> &changes() const { return changes_; }
    // Versions with records in the weave, and how many, and none in the header.
    const std::map<version_id, std::uint64_t> &unlisted() const { return unlisted_; }
    // After the last stretch: what every version reads, by position.
    [[nodiscard]] std::vector<text_step> totals() { return members_.totals(); }
    // Bytes of the weave that have been passed.
    std::uint64_t passed() const { return static_cast<std::uint64_t>(at_ - first_); }

private:
    struct open_run {
        version_id id;
        position_range members;
        std::uint64_t remaining;
        std::size_t record;
        std::uint64_t line;
        bool told = false;  // that a deletion lies over it
    };
    using deletion_key =
        std::tuple<std::uint32_t, std::uint64_t, std::size_t>;  // before, due at, record

    void fault(std::uint64_t line, std::string reason, position_range doubt);
    position_range all() const;

    std::string_view line_here() const;
    void pass_line(std::string_view line);
    void end_deletions();
    void take_record(std::string_view line, char kind);
    bool take_run_fields(std::string_view line, char kind, run_fields *fields);
    void check_owner(char kind, version_id id, const tree_place &place);
    void open_insert(const run_fields &fields, position_range members, std::size_t ordinal);
    void begin_delete(const run_fields &fields, position_range members, std::size_t ordinal);
    void activate_announced();
    void pass_stray_lines();
    void check_under_deletion(open_run *run);
    void take_stretch(weave_stretch *out);
    void add_to_holders(const weave_stretch &stretch, const text_step &step);
    void take_plain(std::uint64_t most, weave_stretch *out, text_step *step);
    void take_marked(char kind, weave_stretch *out, text_step *step);
    void take_fingerprint(std::string_view line, text_step *step) const;
    const char *spelling_fault(std::string_view line, char kind) const;
    const char *line_fault(std::string_view line) const;
    void finish();

    const container_view &view_;
    const version_tree &tree_;
    const fingerprints fingerprints_;
    const char *first_;
    const char *at_;
    const char *end_;
    const char *nul_;     // the first NUL from `at_` on, or end_
    std::uint64_t line_;  // number of the line at `at_`
    std::size_t next_ordinal_ = 0;
    bool finished_ = false;
    member_tree members_;
    std::vector<open_run> runs_;
    std::map<deletion_key, active_deletion> deletions_;
    // Most deletions cover the lines that follow at once and nothing else is active then. Such a
    // one is only announced, and its lines are added around its versions, past the member tree.
    std::optional<active_deletion> announced_;  // while deletions_ is empty
    std::optional<active_deletion> passed_;     // whose lines are the last stretch
    std::vector<weave_record> records_;
    std::vector<weave_fault> faults_;
    std::vector<change_counts> changes_;
    std::map<version_id, std::uint64_t> unlisted_;
};

}  // namespace norvik

#endif

// The walk of one version, with the open runs and deletions of its lineage on two stacks beside the
// counter of lines to pass over. A line belongs to the innermost open run. One that the lineage has
// lost is counted by the innermost open deletion: deletions nest only with the newer one outside,
// and the oldest that is newer than the run is the one whose predecessor still has the line.
#include "annotation.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace norvik {
namespace {

struct open_insertion {
    version_id by;
    std::uint64_t remaining;
    bool member;  // of the lineage
};

struct open_deletion {
    version_id by;
    std::uint64_t remaining;
};

class annotator {
public:
    annotator(const container_view &view, std::vector<version_id> lineage, annotated_lines which)
        : view_(view), lineage_(std::move(lineage)), which_(which) {
        const std::string_view data = view.bytes.view();
        first_ = at_ = data.data() + view.weave_offset;
        end_ = data.data() + data.size();
    }

    std::optional<damage> run() {
        while (at_ != end_) {
            const std::string_view line =
                *at_ == format::record_mark ? line_here() : std::string_view();
            const char kind = format::kind_of(line);
            const char *const reason =
                holds_text(kind) ? take_stretch(line) : take_record(line, kind);
            if (reason != nullptr) {
                const auto above = static_cast<std::uint64_t>(std::count(first_, at_, '\n'));
                return damage{view_.weave_line + above, reason};
            }
        }
        return std::nullopt;
    }

    std::vector<annotated_stretch> stretches() { return std::move(stretches_); }

private:
    std::string_view line_here() const {
        const auto left = static_cast<std::size_t>(end_ - at_);
        const void *newline = std::memchr(at_, '\n', left);
        return {at_, newline == nullptr
                         ? left
                         : static_cast<std::size_t>(static_cast<const char *>(newline) + 1 - at_)};
    }

    // What is wrong with the record, or null; then it is passed.
    const char *take_record(std::string_view line, char kind) {
        run_fields run;
        if (format::counts_lines(kind)) {
            if (decode_run(line, &run) == spelling::malformed) {
                return "a record that cannot be read";
            }
            const version_id by{run.branch, run.version};
            const bool member = format::in_lineage(lineage_, by);
            const bool inserts = kind == format::kind_insert;
            skip_ += member != inserts ? run.count : 0;
            // Nothing would ever close a run of no lines.
            if (run.count != 0 && inserts) {
                insertions_.push_back({by, run.count, member});
            } else if (run.count != 0 && member) {
                deletions_.push_back({by, run.count});
            }
        }
        at_ += line.size();
        return nullptr;
    }

    // `marked` is the line at hand when it has a mark, else empty.
    const char *take_stretch(std::string_view marked) {
        if (insertions_.empty()) {
            return "a line outside every inserted run";
        }
        open_insertion &top = insertions_.back();
        std::uint64_t most = skip_ == 0 ? top.remaining : std::min(top.remaining, skip_);
        annotated_stretch stretch;
        stretch.run = top.by;
        if (!top.member) {
            stretch.tag = format::tag_foreign;
        } else if (skip_ != 0) {
            if (deletions_.empty()) {
                return "a line that no record deletes or leaves";
            }
            stretch.tag = format::tag_deleted;
            stretch.deleter = deletions_.back().by;
            most = std::min(most, deletions_.back().remaining);
        }
        take_lines(marked, most, &stretch);
        if (stretch.tag == format::tag_own) {
            stretch.number = own_lines_ + 1;
            own_lines_ += stretch.lines;
        }
        if ((top.remaining -= stretch.lines) == 0) {
            insertions_.pop_back();
        }
        skip_ -= std::min(skip_, stretch.lines);
        if (stretch.tag == format::tag_deleted &&
            (deletions_.back().remaining -= stretch.lines) == 0) {
            deletions_.pop_back();
        }
        if (stretch.tag == format::tag_own || which_ == annotated_lines::all ||
            (stretch.tag == format::tag_deleted && which_ == annotated_lines::lineage)) {
            stretches_.push_back(stretch);
        }
        return nullptr;
    }

    void take_lines(std::string_view marked, std::uint64_t most, annotated_stretch *stretch) {
        stretch->marked = !marked.empty();
        if (stretch->marked) {
            stretch->bytes = marked;
            stretch->lines = 1;
            at_ += marked.size();
            return;
        }
        const char *const first = at_;
        for (; stretch->lines < most && at_ != end_ && *at_ != format::record_mark;
             stretch->lines++) {
            at_ += line_here().size();
        }
        stretch->bytes = {first, static_cast<std::size_t>(at_ - first)};
    }

    const container_view &view_;
    const std::vector<version_id> lineage_;
    const annotated_lines which_;
    const char *first_;
    const char *at_;
    const char *end_;
    std::uint64_t skip_ = 0;
    std::uint64_t own_lines_ = 0;
    std::vector<open_insertion> insertions_;
    std::vector<open_deletion> deletions_;  // of the lineage alone
    std::vector<annotated_stretch> stretches_;
};

}  // namespace

result<std::vector<annotated_stretch>> annotate_version(const container_view &view,
                                                        version_id version, annotated_lines which) {
    std::vector<version_id> lineage;
    if (!lineage_of(view, version, &lineage)) {
        return damaged(
            view, {0, "the branches of " + version_name(view, version) + " cannot be followed"});
    }
    annotator walk(view, std::move(lineage), which);
    if (const std::optional<damage> found = walk.run()) {
        return damaged(view, *found);
    }
    return walk.stretches();
}

}  // namespace norvik

// The rules are those of weave_cursor.h. What that pass asks of sets of versions is asked here of
// the few deletions that are open at a line: one counts a line when the line's run is older, and no
// open deletion that is older than itself has taken the line away before.
#include "weave_soundness.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "listed_versions.h"
#include "record_decode.h"
#include "record_line.h"

namespace norvik {
namespace {

// More deletions than these are rarely open at once; each is compared with each.
constexpr std::size_t most_deletions = 12;
// Each is compared with all that follows it, which is little: they are the last lines of texts.
constexpr std::size_t most_unended = 8;

class soundness_pass {
public:
    explicit soundness_pass(const container_view &view)
        : listed_(view), at_(view.bytes.view().data() + view.weave_offset), end_(at_) {
        end_ += view.bytes.view().size() - view.weave_offset;
    }

    bool run() {
        if (!listed_.header_is_sound()) {
            return false;
        }
        if (at_ != end_ && (end_[-1] != '\n' || find('\0') != nullptr)) {
            return false;
        }
        bool sound = true;
        while (sound && at_ != end_) {
            sound = *at_ == format::record_mark ? take_marked_line() : take_plain_lines();
        }
        return sound && runs_.empty() && deletions_.empty();
    }

private:
    struct open_run {
        version_id id;
        std::uint64_t remaining;
    };
    struct open_deletion {
        version_id id;
        std::uint64_t remaining;
        bool counts;  // the lines of the innermost run
    };
    // A line without newline. The versions that hold it, those from `run` on and none from `gone`
    // on, may have no line behind it.
    struct unended_line {
        version_id run;
        std::vector<version_id> gone;
    };

    const char *find(char byte) const {
        return static_cast<const char *>(
            std::memchr(at_, byte, static_cast<std::size_t>(end_ - at_)));
    }

    bool take_marked_line() {
        const char kind = at_[1];
        if (format::counts_lines(kind)) {
            return take_record(kind);
        }
        const char *next = find('\n') + 1;
        const std::string_view line(at_, static_cast<std::size_t>(next - at_));
        at_ = next;
        return take_marked_text(line, kind);
    }

    // What is before the end of the bytes is known to hold a newline.
    bool take_number(char end, std::uint64_t *value) {
        format::terminated_bytes bytes{at_};
        const bool taken = format::take_written_number(&bytes, value) && bytes.front() == end;
        at_ = bytes.at + 1;
        return taken;
    }

    bool take_record(char kind) {
        version_id id;
        std::uint64_t count = 0;
        if (at_[2] != ' ') {
            return false;
        }
        at_ += record_prefix;
        if (!take_number(' ', &id.branch) || !take_number(' ', &id.number) ||
            !take_number('\n', &count) || count == 0) {
            return false;
        }
        if (id == version_id{0, 0} || (id != known_ && !listed_.lists(id))) {
            return false;
        }
        known_ = id;
        if (!runs_.empty() && !listed_.descends(id, runs_.back().id)) {
            return false;
        }
        if (kind == format::kind_delete) {
            return take_deletion(id, count);
        }
        runs_.push_back({id, count});
        return deletions_.empty() || enter_run();
    }

    // Most deletions count the lines that follow at once, and nothing else is open.
    bool take_deletion(version_id id, std::uint64_t count) {
        if (!deletions_.empty() || !unended_.empty() || runs_.empty() ||
            runs_.back().remaining < count) {
            return open(id, count);
        }
        std::uint64_t taken = 0;
        if (!pass_plain(count, &taken) || !listed_.has_before(id)) {
            return false;
        }
        open_run &run = runs_.back();
        run.remaining -= taken;
        if (run.remaining == 0) {
            runs_.pop_back();
        }
        return taken == count || open(id, count - taken);
    }

    bool open(version_id id, std::uint64_t count) {
        for (const open_deletion &other : deletions_) {
            if (other.id == id || listed_.descends(id, other.id)) {
                return false;
            }
        }
        if (!listed_.has_before(id) || deletions_.size() == most_deletions) {
            return false;
        }
        mixed_ = !deletions_.empty() && (mixed_ || deletions_.back().id.branch != id.branch);
        deletions_.push_back({id, count, false});
        return runs_.empty() || enter_run();
    }

    // Says which of the open deletions count the lines of the innermost run. False when that run
    // cannot stand inside one of them.
    bool enter_run() {
        const version_id run = runs_.back().id;
        in_line_ = !mixed_ && deletions_.back().id.branch == run.branch;
        if (in_line_) {
            nearest_ = deletions_.back().remaining;
            return run.number < deletions_.back().id.number;
        }
        nearest_ = UINT64_MAX;
        for (open_deletion &deletion : deletions_) {
            if (deletion.id == run || listed_.descends(run, deletion.id)) {
                return false;
            }
            deletion.counts =
                listed_.descends(deletion.id, run) &&
                std::none_of(deletions_.begin(), deletions_.end(), [&](const open_deletion &other) {
                    return other.id != deletion.id && listed_.descends(deletion.id, other.id);
                });
            if (deletion.counts) {
                nearest_ = std::min(nearest_, deletion.remaining);
            }
        }
        return true;
    }

    // Whether the versions from `id` on have the records of `older`.
    bool comes_from(version_id id, version_id older) const {
        return id == older || listed_.descends(id, older);
    }

    // Whether no version that holds the unended line holds the lines here. Unsure is no.
    bool is_past(const unended_line &line) const {
        const version_id run = runs_.back().id;
        return std::any_of(line.gone.begin(), line.gone.end(),
                           [&](version_id id) { return comes_from(run, id); }) ||
               std::any_of(deletions_.begin(), deletions_.end(),
                           [&](const open_deletion &d) { return comes_from(line.run, d.id); }) ||
               !(comes_from(run, line.run) || comes_from(line.run, run));
    }

    bool note_unended() {
        unended_line line{runs_.back().id, {}};
        for (const open_deletion &deletion : deletions_) {
            line.gone.push_back(deletion.id);
        }
        // Where the last line changes from version to version, one mark stands for all of them.
        for (unended_line &before : unended_) {
            if (before.gone.size() == 1 && before.gone.front() == line.run &&
                listed_.descends(line.run, before.run)) {
                before.gone = std::move(line.gone);
                return true;
            }
        }
        unended_.push_back(std::move(line));
        return unended_.size() <= most_unended;
    }

    // Lines of the innermost run have been passed, no more than are left of it or of a deletion.
    bool pass(std::uint64_t lines, bool unended = false) {
        const auto past = [this](const unended_line &line) { return is_past(line); };
        if (!std::all_of(unended_.begin(), unended_.end(), past) || (unended && !note_unended())) {
            return false;
        }
        const bool ends_run = (runs_.back().remaining -= lines) == 0;
        if (ends_run) {
            runs_.pop_back();
        }
        return deletions_.empty() || close_deletions(lines, ends_run);
    }

    bool close_deletions(std::uint64_t lines, bool ends_run) {
        const std::size_t open = deletions_.size();
        nearest_ -= nearest_ == UINT64_MAX ? 0 : lines;
        if (in_line_) {
            deletions_.back().remaining -= lines;
            if (nearest_ == 0) {
                deletions_.pop_back();
            }
        } else {
            close_counting(lines);
        }
        const bool same = deletions_.size() == open && !ends_run;
        return same || runs_.empty() || deletions_.empty() || enter_run();
    }

    void close_counting(std::uint64_t lines) {
        for (open_deletion &deletion : deletions_) {
            deletion.remaining -= deletion.counts ? lines : 0;
        }
        std::erase_if(deletions_, [](const open_deletion &d) { return d.remaining == 0; });
    }

    bool take_marked_text(std::string_view line, char kind) {
        const std::string_view text = text_of(line);
        const bool marked =
            (kind == format::kind_quoted || kind == format::kind_unended) &&
            line.size() > record_prefix && line[2] == ' ' &&
            (kind == format::kind_quoted ? text.starts_with(format::record_mark) : !text.empty());
        return marked && line.size() - 1 <= format::longest_stored(line) && !runs_.empty() &&
               pass(1, kind == format::kind_unended);
    }

    bool take_plain_lines() {
        if (runs_.empty()) {
            return false;
        }
        const std::uint64_t remaining = runs_.back().remaining;
        std::uint64_t taken = 0;
        return pass_plain(deletions_.empty() ? remaining : std::min(remaining, nearest_), &taken) &&
               pass(taken);
    }

    // Passes plain lines up to the next record or the end, `wanted` at most. False at one too long.
    bool pass_plain(std::uint64_t wanted, std::uint64_t *taken) {
        const char *at = at_;
        while (*taken < wanted && at != end_ && *at != format::record_mark) {
            const char *newline = static_cast<const char *>(
                std::memchr(at, '\n', static_cast<std::size_t>(end_ - at)));
            if (newline - at > static_cast<std::ptrdiff_t>(longest_line)) {
                return false;
            }
            at = newline + 1;
            ++*taken;
        }
        at_ = at;
        return true;
    }

    const listed_versions listed_;
    const char *at_;
    const char *end_;
    std::vector<open_run> runs_;
    std::vector<open_deletion> deletions_;
    std::vector<unended_line> unended_;
    bool mixed_ = false;  // deletions of several branches are open
    // All that is open is of one branch. A deletion opens inside newer ones only, so the last one
    // is the oldest and the one that counts.
    bool in_line_ = false;
    // Lines until the first deletion that counts them is closed.
    std::uint64_t nearest_ = UINT64_MAX;
    version_id known_{0, 0};  // the last one that was looked up, and listed
};

}  // namespace

bool is_plainly_sound(const container_view &view) {
    return soundness_pass(view).run();
}

}  // namespace norvik

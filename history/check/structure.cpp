// A version is read with one counter of lines to pass over. Plain lines are found whole between two
// records, by memory search, and handed over in one piece.
#include "structure.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "container_check.h"
#include "record_line.h"
#include "weave_soundness.h"

namespace norvik {
namespace {

const char *find_byte(const char *first, const char *last, char byte) {
    return static_cast<const char *>(
        std::memchr(first, byte, static_cast<std::size_t>(last - first)));
}

std::uint64_t count_lines(std::string_view text) {
    return static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

// The walk of one version: text not yet handed over runs from `piece` to `at`.
struct version_walk {
    const char *at;
    const char *end;
    std::uint64_t skip = 0;
    const text_sink &sink;

    bool flush(const char *first, const char *last) const {
        return first == last ||
               sink(std::string_view(first, static_cast<std::size_t>(last - first)));
    }
};

// The end of the plain lines at `at`: the next line that begins with `^`, or the end.
const char *end_of_plain(const char *at, const char *end) {
    const char *from = at;
    while (from != end) {
        const char *caret = find_byte(from, end, format::record_mark);
        if (caret == nullptr) {
            return end;
        }
        if (caret == at || caret[-1] == '\n') {
            return caret;
        }
        from = caret + 1;
    }
    return end;
}

bool walk_plain(version_walk *walk) {
    while (walk->skip > 0 && walk->at != walk->end && *walk->at != format::record_mark) {
        const char *newline = find_byte(walk->at, walk->end, '\n');
        walk->at = newline == nullptr ? walk->end : newline + 1;
        walk->skip--;
    }
    if (walk->skip > 0) {
        return true;
    }
    const char *first = walk->at;
    walk->at = end_of_plain(first, walk->end);
    return walk->flush(first, walk->at);
}

// A line that begins with `^`; false when the record cannot be read or the sink has enough.
bool walk_record(version_walk *walk, std::string_view record, std::span<const version_id> lineage,
                 bool *malformed) {
    const char kind = format::kind_of(record);
    if (format::counts_lines(kind)) {
        run_fields run;
        *malformed = decode_run(record, &run) == spelling::malformed;
        if (!*malformed &&
            in_lineage(lineage, {run.branch, run.version}) == (kind == format::kind_delete)) {
            walk->skip += run.count;
        }
        return !*malformed;
    }
    if (!holds_text(kind)) {
        return true;
    }
    if (walk->skip > 0) {
        walk->skip--;
        return true;
    }
    const std::string_view text = text_of(record);
    return text.empty() || walk->sink(text);
}

}  // namespace

std::optional<damage> scan_structure(const container_view &view) {
    if (is_plainly_sound(view)) {
        return std::nullopt;
    }
    std::vector<weave_fault> faults = check_container(view, fingerprints::none, {}).faults;
    if (faults.empty()) {
        return std::nullopt;
    }
    const auto certain = std::ranges::find(faults, false, &weave_fault::guess);
    return std::move((certain == faults.end() ? faults.begin() : certain)->what);
}

std::optional<damage> walk_version(const container_view &view, std::span<const version_id> lineage,
                                   const text_sink &sink) {
    const std::string_view weave = view.bytes.view().substr(view.weave_offset);
    version_walk walk{weave.data(), weave.data() + weave.size(), 0, sink};
    while (walk.at != walk.end) {
        if (*walk.at != format::record_mark) {
            if (!walk_plain(&walk)) {
                return std::nullopt;
            }
            continue;
        }
        const char *newline = find_byte(walk.at, walk.end, '\n');
        const char *next = newline == nullptr ? walk.end : newline + 1;
        const char *record = walk.at;
        bool malformed = false;
        walk.at = next;
        if (!walk_record(&walk, std::string_view(record, static_cast<std::size_t>(next - record)),
                         lineage, &malformed)) {
            if (!malformed) {
                return std::nullopt;
            }
            const auto above = static_cast<std::size_t>(record - weave.data());
            return damage{view.weave_line + count_lines(weave.substr(0, above)),
                          "a record that cannot be read"};
        }
    }
    return std::nullopt;
}

}  // namespace norvik

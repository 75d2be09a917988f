#include "structure.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "record_line.h"

namespace host {
namespace {

const char *find_byte(const char *first, const char *last, char byte) {
    return static_cast<const char *>(
        std::memchr(first, byte, static_cast<std::size_t>(last - first)));
}

std::string lines_text(uint64_t count) {
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

// An inserted run whose lines are not all seen.
struct open_run {
    uint64_t remaining;
    uint64_t line;  // of its record
};

// The deletion that reaches furthest: the number of text lines that the weave must have for it.
struct reach {
    uint64_t needed = 0;
    uint64_t line = 0;
    uint64_t count = 0;
};

struct structure_pass {
    const char *at;
    const char *end;
    uint64_t line;  // number of the line at `at`
    uint64_t text_lines = 0;
    std::vector<open_run> runs;
    reach furthest;
    std::optional<damage> found;

    void fail(std::string reason) { found = damage{line, std::move(reason)}; }
};

void take_run_record(structure_pass *pass, std::string_view record, char kind) {
    run_fields run;
    if (decode_run(record, &run) == spelling::malformed) {
        pass->fail(kind == 'I' ? "an insert record that cannot be read"
                               : "a delete record that cannot be read");
        return;
    }
    if (kind == 'I') {
        if (run.count > 0) {
            pass->runs.push_back({run.count, pass->line});
        }
        return;
    }
    const uint64_t needed =
        run.count > UINT64_MAX - pass->text_lines ? UINT64_MAX : pass->text_lines + run.count;
    if (needed > pass->furthest.needed) {
        pass->furthest = {needed, pass->line, run.count};
    }
}

void take_text_line(structure_pass *pass) {
    if (pass->runs.empty()) {
        pass->fail("a text line outside every inserted run");
        return;
    }
    pass->text_lines++;
    if (--pass->runs.back().remaining == 0) {
        pass->runs.pop_back();
    }
}

// A line that begins with `^`.
void take_record(structure_pass *pass, std::string_view record) {
    const char kind = record_kind(record);
    const std::size_t allowance = record.starts_with("^N ") ? record_prefix : 0;
    if (record.size() - 1 > longest_line + allowance) {
        pass->fail("a line longer than " + std::to_string(longest_line) + " bytes");
    } else if (kind == 'I' || kind == 'D') {
        take_run_record(pass, record, kind);
    } else if (!holds_text(kind)) {
        pass->fail("a record that does not belong into the weave");
    } else if (kind != 'T' && record.size() <= record_prefix) {
        pass->fail("a quoted line that is too short");
    } else {
        take_text_line(pass);
    }
}

// Plain lines up to the next record, the end of the innermost run or the end of the file.
void take_plain_lines(structure_pass *pass) {
    if (pass->runs.empty()) {
        pass->fail("a text line outside every inserted run");
        return;
    }
    const char *at = pass->at;
    uint64_t taken = 0;
    const uint64_t wanted = pass->runs.back().remaining;
    while (taken < wanted && at != pass->end && *at != '^') {
        const char *newline = find_byte(at, pass->end, '\n');
        if (newline - at > static_cast<std::ptrdiff_t>(longest_line)) {
            pass->line += taken;
            pass->fail("a line longer than " + std::to_string(longest_line) + " bytes");
            return;
        }
        at = newline + 1;
        taken++;
    }
    pass->at = at;
    pass->line += taken;
    pass->text_lines += taken;
    if ((pass->runs.back().remaining -= taken) == 0) {
        pass->runs.pop_back();
    }
}

std::optional<damage> judge_end(const structure_pass &pass) {
    if (!pass.runs.empty()) {
        const open_run &open = pass.runs.back();
        return damage{open.line, "the file ends " + lines_text(open.remaining) +
                                     " before the end of the run that this record opens"};
    }
    if (pass.furthest.needed > pass.text_lines) {
        return damage{pass.furthest.line,
                      "deletes " + lines_text(pass.furthest.count) + ", the file ends before that"};
    }
    return std::nullopt;
}

uint64_t count_lines(std::string_view text) {
    return static_cast<uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

// The walk of one version: text not yet handed over runs from `piece` to `at`.
struct version_walk {
    const char *at;
    const char *end;
    uint64_t skip = 0;
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
        const char *caret = find_byte(from, end, '^');
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
    while (walk->skip > 0 && walk->at != walk->end && *walk->at != '^') {
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
    const char kind = record_kind(record);
    if (kind == 'I' || kind == 'D') {
        run_fields run;
        *malformed = decode_run(record, &run) == spelling::malformed;
        if (!*malformed && in_lineage(lineage, {run.branch, run.version}) == (kind == 'D')) {
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

bool in_lineage(std::span<const version_id> lineage, version_id id) {
    const auto above = [](const version_id &bound, uint64_t branch) {
        return bound.branch > branch;
    };
    const auto found = std::lower_bound(lineage.begin(), lineage.end(), id.branch, above);
    return found != lineage.end() && found->branch == id.branch && found->number >= id.number;
}

std::optional<damage> scan_structure(const container_view &view) {
    if (!view.header_damages.empty()) {
        return view.header_damages.front();
    }
    const std::string_view data = view.bytes.view();
    const std::string_view weave = data.substr(view.weave_offset);
    if (data.back() != '\n') {
        const uint64_t last = view.weave_line + count_lines(weave);
        return damage{last, "the file ends in the middle of this line"};
    }
    // A NUL ends the pass where it stands: what comes before it is still checked first.
    const std::size_t nul = weave.find('\0');
    const bool has_nul = nul != std::string_view::npos;
    const std::size_t whole = has_nul ? weave.substr(0, nul).rfind('\n') + 1 : weave.size();
    structure_pass pass{weave.data(), weave.data() + whole, view.weave_line, 0, {}, {}, {}};
    while (pass.at != pass.end && !pass.found) {
        if (*pass.at != '^') {
            take_plain_lines(&pass);
            continue;
        }
        const char *next = find_byte(pass.at, pass.end, '\n') + 1;
        take_record(&pass, std::string_view(pass.at, static_cast<std::size_t>(next - pass.at)));
        pass.at = next;
        pass.line += pass.found ? 0 : 1;
    }
    if (!pass.found && has_nul) {
        pass.fail("a NUL byte");
    }
    return pass.found ? pass.found : judge_end(pass);
}

std::optional<damage> walk_version(const container_view &view, std::span<const version_id> lineage,
                                   const text_sink &sink) {
    const std::string_view weave = view.bytes.view().substr(view.weave_offset);
    version_walk walk{weave.data(), weave.data() + weave.size(), 0, sink};
    while (walk.at != walk.end) {
        if (*walk.at != '^') {
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

}  // namespace host

#include "history_proof.h"

#include <cstring>

#include "record_line.h"
#include "structure.h"

namespace host {

namespace {

std::string_view without_lines(std::string_view bytes, uint64_t lines) {
    for (; lines > 0 && !bytes.empty(); lines--) {
        const size_t newline = bytes.find('\n');
        bytes.remove_prefix(newline == std::string_view::npos ? bytes.size() : newline + 1);
    }
    return bytes;
}

}  // namespace

history_proof::history_proof(const container_view &view, const std::vector<version_id> &lineage,
                             uint64_t branch, uint64_t first) {
    std::string_view rest = view.bytes.view().substr(view.weave_offset);
    while (!rest.empty()) {
        const size_t newline = rest.find('\n');
        const std::string_view line =
            rest.substr(0, newline == std::string_view::npos ? newline : newline + 1);
        rest.remove_prefix(line.size());
        const char kind = record_kind(line);
        if (holds_text(kind)) {
            add_text(line);
            continue;
        }
        run_fields run;
        if (decode_run(line, &run) == spelling::malformed) {
            continue;
        }
        const bool ours = run.branch == branch && run.version >= first;
        const uint64_t since = ours                                             ? run.version
                               : in_lineage(lineage, {run.branch, run.version}) ? 0
                                                                                : never;
        events_.push_back({kind == 'I' ? event::insertion : event::deletion, since, run.count, {}});
    }
}

void history_proof::add_text(std::string_view stored_line) {
    const std::string_view text = text_of(stored_line);
    if (!events_.empty() && events_.back().kind == event::text) {
        event &last = events_.back();
        if (last.bytes.data() + last.bytes.size() == text.data()) {
            last.bytes = std::string_view(last.bytes.data(), last.bytes.size() + text.size());
            last.lines++;
            return;
        }
    }
    events_.push_back({event::text, 0, 1, text});
}

bool history_proof::equals(uint64_t number, std::string_view text) const {
    uint64_t skip = 0;
    for (const event &item : events_) {
        if (item.kind != event::text) {
            const bool acts = item.since <= number;
            skip += acts == (item.kind == event::deletion) ? item.lines : 0;
            continue;
        }
        if (skip >= item.lines) {
            skip -= item.lines;
            continue;
        }
        const std::string_view shown = skip == 0 ? item.bytes : without_lines(item.bytes, skip);
        skip = 0;
        if (!text.starts_with(shown)) {
            return false;
        }
        text.remove_prefix(shown.size());
    }
    return text.empty();
}

}  // namespace host

// Runs and pieces are views, into the old container or into lines that are owned here; only they
// are moved about. Hidden pieces are chained by index, so that a chain is joined to another in one
// step. 40 bytes a visible run, 24 a hidden piece.
#include "import_weave.h"

#include <cstring>
#include <utility>

#include "record_line.h"
#include "record_text.h"
#include "structure.h"

namespace norvik {

namespace {

// The length of the first `lines` lines.
std::size_t length_of_lines(std::string_view bytes, std::uint64_t lines) {
    const char *at = bytes.data();
    const char *end = at + bytes.size();
    for (; lines > 0; lines--) {
        at = static_cast<const char *>(std::memchr(at, '\n', static_cast<std::size_t>(end - at))) +
             1;
    }
    return static_cast<std::size_t>(at - bytes.data());
}

bool follows(std::string_view a, std::string_view b) {
    return a.data() + a.size() == b.data();
}

}  // namespace

import_weave::import_weave(const container_view &view, const std::vector<version_id> &lineage) {
    std::string_view rest = view.bytes.view().substr(view.weave_offset);
    std::uint64_t skip = 0;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, length_of_lines(rest, 1));
        rest.remove_prefix(line.size());
        const char kind = format::kind_of(line);
        if (holds_text(kind)) {
            if (skip == 0) {
                show(line, 1);
            } else {
                hide(line);
                skip--;
            }
            continue;
        }
        run_fields run;
        if (decode_run(line, &run) != spelling::malformed &&
            in_lineage(lineage, {run.branch, run.version}) == (kind == format::kind_delete)) {
            skip += run.count;
        }
        hide(line);
    }
}

void import_weave::hide(std::string_view bytes) {
    hidden_chain &chain = chain_here();
    if (chain.last != no_piece && follows(pieces_[chain.last].bytes, bytes)) {
        std::string_view &last = pieces_[chain.last].bytes;
        last = std::string_view(last.data(), last.size() + bytes.size());
        return;
    }
    const std::size_t piece = pieces_.size();
    pieces_.push_back({bytes, no_piece});
    (chain.last == no_piece ? chain.first : pieces_[chain.last].next) = piece;
    chain.last = piece;
}

void import_weave::show(std::string_view bytes, std::uint64_t lines) {
    if (!runs_.empty() && runs_.back().hidden.first == no_piece &&
        follows(runs_.back().bytes, bytes)) {
        visible_run &last = runs_.back();
        last.bytes = std::string_view(last.bytes.data(), last.bytes.size() + bytes.size());
        last.lines += lines;
        return;
    }
    runs_.push_back({bytes, lines, {}});
}

// Puts the pieces that stood behind the line last taken behind what the edit has added there.
void import_weave::join_pending() {
    const hidden_chain moved = std::exchange(pending_, {});
    if (moved.first == no_piece) {
        return;
    }
    hidden_chain &chain = chain_here();
    (chain.last == no_piece ? chain.first : pieces_[chain.last].next) = moved.first;
    chain.last = moved.last;
}

void import_weave::begin_edit(version_id id) {
    id_ = id;
    before_.clear();
    // Swapped, so that the room of the edit before is used again.
    before_.swap(runs_);
    run_ = 0;
    line_ = 0;
    pending_ = std::exchange(front_, {});
}

void import_weave::move_until(std::uint64_t line, bool keep) {
    while (line_ < line && run_ < before_.size()) {
        join_pending();
        visible_run &run = before_[run_];
        const bool whole = run.lines <= line - line_;
        const std::uint64_t lines = whole ? run.lines : line - line_;
        const std::size_t length = whole ? run.bytes.size() : length_of_lines(run.bytes, lines);
        if (keep) {
            show(run.bytes.substr(0, length), lines);
        } else {
            hide(run.bytes.substr(0, length));
        }
        line_ += lines;
        if (whole) {
            pending_ = run.hidden;
            run_++;
        } else {
            run.bytes.remove_prefix(length);
            run.lines -= lines;
        }
    }
}

void import_weave::keep_until(std::uint64_t line) {
    move_until(line, true);
}

void import_weave::add_record(char kind, std::uint64_t count) {
    std::string record;
    format::encode_run(kind, id_.branch, id_.number, count, norvik::append_to{record});
    hide(owned_.emplace_back(std::move(record)));
}

void import_weave::delete_until(std::uint64_t line) {
    // Ahead of the lines, which follow it as hidden pieces.
    add_record(format::kind_delete, line - line_);
    move_until(line, false);
}

void import_weave::insert(std::string stored, std::uint64_t lines) {
    add_record(format::kind_insert, lines);
    show(owned_.emplace_back(std::move(stored)), lines);
}

void import_weave::end_edit() {
    keep_until(UINT64_MAX);
    join_pending();
}

void import_weave::write_chain(const hidden_chain &chain, const piece_sink &sink) const {
    for (std::size_t piece = chain.first; piece != no_piece; piece = pieces_[piece].next) {
        sink(pieces_[piece].bytes);
    }
}

void import_weave::write_to(const piece_sink &sink) const {
    write_chain(front_, sink);
    for (const visible_run &run : runs_) {
        sink(run.bytes);
        write_chain(run.hidden, sink);
    }
}

}  // namespace norvik

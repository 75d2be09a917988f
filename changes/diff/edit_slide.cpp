// First every edit goes down as far as it can, then each that can go up to the one before it is
// joined to it. A line passed costs one comparison of lines, two under a deletion.
#include "edit_slide.h"

namespace norvik {

namespace {

bool is_insertion(const edit &e) {
    return e.base_first == e.base_end;
}

bool is_whole(const edit &e) {
    return is_insertion(e) != (e.file_first == e.file_end);
}

void shift(edit *e, std::int32_t lines) {
    e->base_first += lines;
    e->base_end += lines;
    e->file_first += lines;
    e->file_end += lines;
}

void join(edit *e, const edit &next) {
    e->base_end = next.base_end;
    e->file_end = next.file_end;
}

// Down as far as it goes; true when it comes to stand at `next`.
bool slide_to_next(const text_lines &base, const text_lines &file, edit *e, const edit *next) {
    const std::int32_t limit = next == nullptr ? base.count() : next->base_first;
    while (e->base_end < limit && slide_down_one(base, file, e)) {
    }
    return next != nullptr && e->base_end == next->base_first;
}

// Up to where it stands at `before`; false, and unmoved, when it does not get there.
bool slide_to_previous(const text_lines &base, const text_lines &file, edit *e,
                       const edit &before) {
    edit up = *e;
    while (up.base_first > before.base_end && slide_up_one(base, file, &up)) {
    }
    if (up.base_first != before.base_end) {
        return false;
    }
    *e = up;
    return true;
}

// From the last edit to the first, so that each one finds its successor where that stays.
void slide_all_down(const text_lines &base, const text_lines &file, std::vector<edit> *edits) {
    std::vector<edit> done;
    for (auto it = edits->rbegin(); it != edits->rend(); ++it) {
        edit e = *it;
        while (slide_to_next(base, file, &e, done.empty() ? nullptr : &done.back())) {
            join(&e, done.back());
            done.pop_back();
        }
        done.push_back(e);
    }
    edits->assign(done.rbegin(), done.rend());
}

}  // namespace

bool slide_down_one(const text_lines &base, const text_lines &file, edit *e) {
    if (!is_whole(*e) || e->base_end >= base.count()) {
        return false;
    }
    const bool same = is_insertion(*e) ? file.line(e->file_first) == file.line(e->file_end)
                                       : base.line(e->base_first) == base.line(e->base_end) &&
                                             base.line(e->base_end) == file.line(e->file_end);
    if (same) {
        shift(e, 1);
    }
    return same;
}

bool slide_up_one(const text_lines &base, const text_lines &file, edit *e) {
    if (!is_whole(*e) || e->base_first == 0) {
        return false;
    }
    const bool same = is_insertion(*e)
                          ? file.line(e->file_first - 1) == file.line(e->file_end - 1)
                          : base.line(e->base_first - 1) == base.line(e->base_end - 1) &&
                                base.line(e->base_first - 1) == file.line(e->file_first - 1);
    if (same) {
        shift(e, -1);
    }
    return same;
}

void settle_edits(const text_lines &base, const text_lines &file, std::vector<edit> *edits) {
    slide_all_down(base, file, edits);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < edits->size(); i++) {
        edit e = (*edits)[i];
        if (kept > 0 && slide_to_previous(base, file, &e, (*edits)[kept - 1])) {
            edit &joined = (*edits)[kept - 1];
            join(&joined, e);
            // Two insertions that became one may go on together, up to the next edit.
            const edit *next = i + 1 < edits->size() ? &(*edits)[i + 1] : nullptr;
            if (slide_to_next(base, file, &joined, next)) {
                join(&joined, *next);
                i++;
            }
        } else {
            (*edits)[kept++] = e;
        }
    }
    edits->resize(kept);
}

}  // namespace norvik

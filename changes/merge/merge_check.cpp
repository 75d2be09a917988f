// Lines are counted by their numbers, one table for all texts; the text between the places is
// compared as bytes. O(lines of the places and of the edits, of all contributors), and once through
// the whole texts when a line is in doubt; some 90 bytes a distinct line of the places.
#include "merge_check.h"

#include <algorithm>
#include <utility>

#include "line_numbers.h"

namespace norvik {

namespace {

// What is known of one distinct line, from the places alone but for `whole`. Contributors with the
// same text count once.
struct line_count {
    std::int32_t base = 0;
    std::int32_t merged = 0;
    // Of the contributors' edits: the most of one, and all together.
    std::int32_t most_inserted = 0;
    std::int32_t all_inserted = 0;
    std::int32_t most_deleted = 0;
    std::int32_t all_deleted = 0;
    // In the base and each contributor.
    std::int32_t least = 0;
    std::int32_t most = 0;
    std::int32_t current = 0;   // in the text that is being counted
    std::int32_t inserted = 0;  // by the contributor that is being counted
    std::int32_t deleted = 0;
    // The most in any whole text; -1: not counted, which is done for doubtful lines alone.
    std::int32_t whole = -1;
    std::int32_t first_merged = -1;
    bool excused = false;
    bool shared = false;  // in an edit that several made
    bool significant = false;
};

struct census {
    const merge_input &in;
    const merge_plan &plan;
    line_numbers numbers;
    std::vector<line_count> counts;
};

// A line of the merged text within a place, by its number; -1 where no text has it.
struct merged_line {
    std::int32_t line;
    std::int32_t number;
};

// A last line without an end of line is the line that it would be elsewhere: a text that moves it
// moves that one.
std::string_view without_end(std::string_view line) {
    return line.ends_with('\n') ? line.substr(0, line.size() - 1) : line;
}

std::int32_t find(const census &c, std::string_view line) {
    return c.numbers.find(without_end(line));
}

line_count &count_of(census &c, std::string_view line) {
    const auto number = static_cast<std::size_t>(c.numbers.number(without_end(line)));
    if (number == c.counts.size()) {
        c.counts.emplace_back();
        c.counts.back().significant = is_significant(line);
    }
    return c.counts[number];
}

void count_base(census &c) {
    for (const merge_place &place : c.plan.places) {
        for (std::int32_t i = place.base_first; i < place.base_end; i++) {
            line_count &count = count_of(c, c.in.base->line(i));
            count.least = count.most = ++count.base;
        }
    }
}

// A line that a later contributor brings for the first time stood in none of those before: all of
// its counts are 0 already.
void count_contributor(census &c, std::int32_t contributor) {
    for (const merge_place &place : c.plan.places) {
        const place_version version = version_at(c.in, place, contributor);
        for (std::int32_t i = version.first; i < version.end; i++) {
            count_of(c, version.text->line(i)).current++;
        }
    }
    const text_lines &file = *c.in.files[static_cast<std::size_t>(contributor)];
    for (const edit &e : c.in.changes[static_cast<std::size_t>(contributor)].edits) {
        for (std::int32_t i = e.base_first; i < e.base_end; i++) {
            count_of(c, c.in.base->line(i)).deleted++;
        }
        for (std::int32_t i = e.file_first; i < e.file_end; i++) {
            count_of(c, file.line(i)).inserted++;
        }
    }
    for (line_count &count : c.counts) {
        count.most_inserted = std::max(count.most_inserted, count.inserted);
        count.all_inserted += std::exchange(count.inserted, 0);
        count.most_deleted = std::max(count.most_deleted, count.deleted);
        count.all_deleted += std::exchange(count.deleted, 0);
        count.least = std::min(count.least, count.current);
        count.most = std::max(count.most, count.current);
        count.current = 0;
    }
}

void excuse(census &c, const text_lines &text, std::int32_t first, std::int32_t end) {
    for (std::int32_t i = first; i < end; i++) {
        count_of(c, text.line(i)).excused = true;
    }
}

// Edits of the same base lines in one place are the same edit, or a conflict. Contributors with the
// same text are one.
void mark_shared(census &c) {
    const auto text_of = [&](const place_edit &e) {
        return c.in.same_as[static_cast<std::size_t>(e.contributor)];
    };
    for (const merge_place &place : c.plan.places) {
        std::vector<place_edit> edits = place.edits;
        std::stable_sort(edits.begin(), edits.end(), [&](const place_edit &a, const place_edit &b) {
            return edit_at(c.in, a).base_first < edit_at(c.in, b).base_first;
        });
        for (std::size_t i = 1; i < edits.size(); i++) {
            const edit &e = edit_at(c.in, edits[i]);
            const edit &before = edit_at(c.in, edits[i - 1]);
            if (e.base_first != before.base_first || e.base_end != before.base_end ||
                text_of(edits[i]) == text_of(edits[i - 1])) {
                continue;
            }
            for (std::int32_t line = e.base_first; line < e.base_end; line++) {
                count_of(c, c.in.base->line(line)).shared = true;
            }
            const text_lines &file = *c.in.files[static_cast<std::size_t>(edits[i].contributor)];
            for (std::int32_t line = e.file_first; line < e.file_end; line++) {
                count_of(c, file.line(line)).shared = true;
            }
        }
    }
}

void excuse_undecided(census &c) {
    for (const merge_place &place : c.plan.places) {
        const merge_region &region = c.plan.regions[static_cast<std::size_t>(place.region)];
        if (!is_conflict(region) && region.answer.empty()) {
            continue;
        }
        excuse(c, *c.in.base, place.base_first, place.base_end);
        for (std::size_t k = 0; k < c.in.files.size(); k++) {
            const place_version version = version_at(c.in, place, static_cast<std::int32_t>(k));
            excuse(c, *version.text, version.first, version.end);
        }
    }
}

std::vector<merged_line> count_merged(census &c, const merged_text &merged) {
    std::vector<merged_line> lines;
    for (const placed_text &placed : merged.places) {
        if (placed.conflict || placed.answered) {
            continue;
        }
        const text_lines text = split_lines(
            std::string_view(merged.text).substr(placed.from, placed.end - placed.from));
        for (std::int32_t i = 0; i < text.count(); i++) {
            const std::int32_t number = find(c, text.line(i));
            lines.push_back({placed.first_line + i, number});
            if (number >= 0) {
                c.counts[static_cast<std::size_t>(number)].merged++;
            }
        }
    }
    return lines;
}

// Whether the merged count lies outside what the changes explain: every insertion and every
// deletion must have come through, equal ones at least once and at most as often as they were made.
// A line of which nobody has fewer than the base stands as often as in the contributor that has
// most; one of which nobody has more, no more often than in the one that has fewest. What several
// did together tells nothing of what one of them did besides, unless the line stands once: then it
// was moved.
bool is_fault(const line_count &count, line_fault_kind *kind) {
    if (count.excused || !count.significant) {
        return false;
    }
    std::int32_t least = count.base + count.most_inserted - count.all_deleted;
    std::int32_t most = count.base + count.all_inserted - count.most_deleted;
    if (!count.shared || count.whole <= 1) {
        least = count.least == count.base ? std::max(least, count.most) : least;
        most = count.most == count.base ? std::min(most, count.least) : most;
    }
    *kind = count.merged < least ? line_fault_kind::lost : line_fault_kind::doubled;
    return count.merged < least || count.merged > most;
}

bool is_repeated(const line_count &count) {
    return count.base == 0 && count.most == 1 && count.whole <= 1 && count.merged > 1 &&
           count.significant && !count.excused;
}

bool is_doubtful(const line_count &count) {
    line_fault_kind kind;
    return is_fault(count, &kind) || is_repeated(count);
}

// Counts the doubtful lines in the whole texts: one that stands somewhere else as well is not held
// to its count strictly.
void count_doubtful(census &c) {
    bool any = false;
    for (line_count &count : c.counts) {
        count.whole = is_doubtful(count) ? 0 : -1;
        any = any || count.whole == 0;
    }
    for (std::size_t k = 0; any && k <= c.in.files.size(); k++) {
        const text_lines &text = k == 0 ? *c.in.base : *c.in.files[k - 1];
        for (std::int32_t i = 0; i < text.count(); i++) {
            const std::int32_t number = find(c, text.line(i));
            if (number >= 0 && c.counts[static_cast<std::size_t>(number)].whole >= 0) {
                c.counts[static_cast<std::size_t>(number)].current++;
            }
        }
        for (line_count &count : c.counts) {
            count.whole = count.whole < 0 ? -1 : std::max(count.whole, count.current);
            count.current = 0;
        }
    }
}

// Whether the text between two places is the same everywhere; contributors are looked at only
// where lines are compared exactly.
bool same_between(const census &c, const merged_text &merged) {
    std::vector<std::int32_t> at(c.in.files.size(), 0);  // the line after the place before, by file
    std::size_t merged_at = 0;
    std::int32_t base_at = 0;
    for (std::size_t i = 0; i <= c.plan.places.size(); i++) {
        const merge_place *place = i < c.plan.places.size() ? &c.plan.places[i] : nullptr;
        const std::int32_t end = place != nullptr ? place->base_first : c.in.base->count();
        const std::string_view bytes = c.in.base->range(base_at, end);
        if (std::string_view(merged.text).substr(merged_at, bytes.size()) != bytes) {
            return false;
        }
        for (std::size_t k = 0; k < at.size(); k++) {
            const std::int32_t file_end = at[k] + (end - base_at);
            if (file_end > c.in.files[k]->count() ||
                (c.in.equality == line_equality::exact &&
                 c.in.files[k]->range(at[k], file_end) != bytes)) {
                return false;
            }
            if (place != nullptr) {
                const place_version version =
                    version_at(c.in, *place, static_cast<std::int32_t>(k));
                at[k] = version.of_base ? file_end + (version.end - version.first) : version.end;
            }
        }
        if (place != nullptr) {
            base_at = place->base_end;
            merged_at = merged.places[i].end;
        }
    }
    return true;
}

template <typename Predicate>
std::vector<std::int32_t> places_with(const census &c, Predicate wanted) {
    const auto any_wanted = [&](const text_lines &text, std::int32_t first, std::int32_t end) {
        for (std::int32_t i = first; i < end; i++) {
            const std::int32_t number = find(c, text.line(i));
            if (number >= 0 && wanted(c.counts[static_cast<std::size_t>(number)])) {
                return true;
            }
        }
        return false;
    };
    std::vector<std::int32_t> places;
    for (std::size_t i = 0; i < c.plan.places.size(); i++) {
        for (const place_edit &source : c.plan.places[i].edits) {
            const edit &e = edit_at(c.in, source);
            if (any_wanted(*c.in.base, e.base_first, e.base_end) ||
                any_wanted(*c.in.files[static_cast<std::size_t>(source.contributor)], e.file_first,
                           e.file_end)) {
                places.push_back(static_cast<std::int32_t>(i));
                break;
            }
        }
    }
    return places;
}

void find_faults(const census &c, merge_verdict *verdict) {
    for (std::int32_t number = 0; number < c.numbers.count(); number++) {
        line_fault_kind kind;
        if (is_fault(c.counts[static_cast<std::size_t>(number)], &kind)) {
            verdict->faults.push_back({kind, c.numbers.line(number)});
        }
    }
    if (!verdict->faults.empty()) {
        verdict->fault_places = places_with(c, [](const line_count &count) {
            line_fault_kind kind;
            return is_fault(count, &kind);
        });
    }
}

void find_repeated(census &c, const std::vector<merged_line> &lines, merge_verdict *verdict) {
    for (const merged_line &line : lines) {
        if (line.number < 0 || !is_repeated(c.counts[static_cast<std::size_t>(line.number)])) {
            continue;
        }
        line_count &count = c.counts[static_cast<std::size_t>(line.number)];
        repeated_lines *last = verdict->repeated.empty() ? nullptr : &verdict->repeated.back();
        if (count.first_merged < 0) {
            count.first_merged = line.line;
        } else if (last != nullptr && last->first + last->count == count.first_merged &&
                   last->second + last->count == line.line) {
            last->count++;
        } else {
            verdict->repeated.push_back({count.first_merged, line.line, 1});
        }
    }
    if (!verdict->repeated.empty()) {
        verdict->repeated_places = places_with(c, is_repeated);
    }
}

}  // namespace

merge_verdict check_merged(const merge_input &in, const merge_plan &plan,
                           const merged_text &merged) {
    merge_verdict verdict;
    census c{in, plan, line_numbers(in.equality), {}};
    count_base(c);
    for (std::size_t k = 0; k < in.files.size(); k++) {
        if (in.same_as[k] == static_cast<std::int32_t>(k)) {
            count_contributor(c, static_cast<std::int32_t>(k));
        }
    }
    mark_shared(c);
    excuse_undecided(c);
    const std::vector<merged_line> lines = count_merged(c, merged);
    count_doubtful(c);
    for (const merged_line &line : lines) {
        if (line.number < 0) {
            verdict.faults.push_back({line_fault_kind::foreign, ""});
        }
    }
    if (!same_between(c, merged)) {
        verdict.faults.push_back({line_fault_kind::foreign, ""});
    }
    find_faults(c, &verdict);
    find_repeated(c, lines, &verdict);
    return verdict;
}

}  // namespace norvik

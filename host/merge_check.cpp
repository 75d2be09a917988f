#include "merge_check.h"

#include <algorithm>

#include "line_numbers.h"

namespace host {

namespace {

// What is known of one distinct line.
struct line_count {
    int32_t base = 0;
    int32_t merged = 0;
    int32_t added = 0;  // by all contributors together
    int32_t removed = 0;
    int32_t least = 0;  // in any text but the merged one
    int32_t most = 0;
    int32_t current = 0;  // in the contributor that is being counted
    int32_t first_merged = -1;
    bool excused = false;
    bool significant = false;
};

struct census {
    const merge_input &in;
    line_numbers numbers;
    std::vector<line_count> counts;
    int32_t head = 0;  // lines before and after which no contributor changed anything
    int32_t tail = 0;
};

line_count &count_of(census &c, std::string_view line) {
    const auto number = static_cast<size_t>(c.numbers.number(line));
    if (number == c.counts.size()) {
        c.counts.emplace_back();
        c.counts.back().significant = is_significant(line);
    }
    return c.counts[number];
}

void count_base(census &c) {
    for (int32_t i = c.head; i < c.in.base->count() - c.tail; i++) {
        line_count &count = count_of(c, c.in.base->line(i));
        count.least = count.most = ++count.base;
    }
}

// A line that a later contributor brings for the first time stood in none of those before: all of
// its counts are 0 already.
void count_contributor(census &c, const text_lines &file) {
    for (int32_t i = c.head; i < file.count() - c.tail; i++) {
        count_of(c, file.line(i)).current++;
    }
    for (line_count &count : c.counts) {
        const int32_t change = count.current - count.base;
        count.added += std::max(0, change);
        count.removed += std::max(0, -change);
        count.least = std::min(count.least, count.current);
        count.most = std::max(count.most, count.current);
        count.current = 0;
    }
}

void excuse(census &c, std::string_view bytes) {
    const text_lines lines = split_lines(bytes);
    for (int32_t i = 0; i < lines.count(); i++) {
        count_of(c, lines.line(i)).excused = true;
    }
}

void excuse_conflicts(census &c, const merge_plan &plan) {
    for (const merge_place &place : plan.places) {
        const merge_region &region = plan.regions[static_cast<size_t>(place.region)];
        if (!is_conflict(region) && region.answer.empty()) {
            continue;
        }
        excuse(c, c.in.base->range(place.base_first, place.base_end));
        for (size_t k = 0; k < c.in.files.size(); k++) {
            excuse(c, version_at(c.in, place, static_cast<int32_t>(k)).bytes());
        }
    }
}

// The numbers of the merged lines between the head and the tail; -1 for lines between markers or in
// an answer, -2
// for a line that no text has.
std::vector<int32_t> count_merged(census &c, const merged_text &merged, const text_lines &lines) {
    std::vector<int32_t> numbers;
    auto place = merged.places.begin();
    for (int32_t i = c.head; i < lines.count() - c.tail; i++) {
        const size_t at = lines.starts[static_cast<size_t>(i)];
        while (place != merged.places.end() && place->end <= at) {
            ++place;
        }
        if (place != merged.places.end() && (place->conflict || place->answered) &&
            place->from <= at) {
            numbers.push_back(-1);
            continue;
        }
        const int32_t number = c.numbers.find(lines.line(i));
        numbers.push_back(number < 0 ? -2 : number);
        if (number >= 0) {
            c.counts[static_cast<size_t>(number)].merged++;
        }
    }
    return numbers;
}

// Whether the merged count lies outside what the changes explain. Lines that no text has twice
// are held to it strictly; for others a contributor may have removed one and another a second.
bool is_fault(const line_count &count, line_fault_kind *kind) {
    if (count.excused || !count.significant) {
        return false;
    }
    int32_t least = count.base - count.removed;
    int32_t most = count.base + count.added;
    if (count.most <= 1) {
        least = count.removed == 0 ? count.most : least;
        most = count.added == 0 ? count.least : most;
    }
    *kind = count.merged < least ? line_fault_kind::lost : line_fault_kind::doubled;
    return count.merged < least || count.merged > most;
}

bool is_repeated(const line_count &count) {
    return count.base == 0 && count.most == 1 && count.merged > 1 && count.significant &&
           !count.excused;
}

template <typename Predicate>
std::vector<int32_t> places_with(const census &c, const merge_plan &plan, Predicate wanted) {
    const auto any_wanted = [&](const text_lines &text, int32_t first, int32_t end) {
        for (int32_t i = first; i < end; i++) {
            const int32_t number = c.numbers.find(text.line(i));
            if (number >= 0 && wanted(c.counts[static_cast<size_t>(number)])) {
                return true;
            }
        }
        return false;
    };
    std::vector<int32_t> places;
    for (size_t i = 0; i < plan.places.size(); i++) {
        for (const place_edit &source : plan.places[i].edits) {
            const edit &e = edit_at(c.in, source);
            if (any_wanted(*c.in.base, e.base_first, e.base_end) ||
                any_wanted(*c.in.files[static_cast<size_t>(source.contributor)], e.file_first,
                           e.file_end)) {
                places.push_back(static_cast<int32_t>(i));
                break;
            }
        }
    }
    return places;
}

void find_faults(const census &c, const merge_plan &plan, merge_verdict *verdict) {
    for (int32_t number = 0; number < c.numbers.count(); number++) {
        line_fault_kind kind;
        if (is_fault(c.counts[static_cast<size_t>(number)], &kind)) {
            verdict->faults.push_back({kind, c.numbers.line(number)});
        }
    }
    if (!verdict->faults.empty()) {
        verdict->fault_places = places_with(c, plan, [](const line_count &count) {
            line_fault_kind kind;
            return is_fault(count, &kind);
        });
    }
}

void find_repeated(census &c, const std::vector<int32_t> &numbers, const merge_plan &plan,
                   merge_verdict *verdict) {
    for (size_t i = 0; i < numbers.size(); i++) {
        if (numbers[i] < 0 || !is_repeated(c.counts[static_cast<size_t>(numbers[i])])) {
            continue;
        }
        line_count &count = c.counts[static_cast<size_t>(numbers[i])];
        const int32_t line = c.head + static_cast<int32_t>(i);
        repeated_lines *last = verdict->repeated.empty() ? nullptr : &verdict->repeated.back();
        if (count.first_merged < 0) {
            count.first_merged = line;
        } else if (last != nullptr && last->first + last->count == count.first_merged &&
                   last->second + last->count == line) {
            last->count++;
        } else {
            verdict->repeated.push_back({count.first_merged, line, 1});
        }
    }
    if (!verdict->repeated.empty()) {
        verdict->repeated_places = places_with(c, plan, is_repeated);
    }
}

}  // namespace

merge_verdict check_merged(const merge_input &in, const merge_plan &plan,
                           const merged_text &merged) {
    merge_verdict verdict;
    if (plan.places.empty()) {
        return verdict;
    }
    census c{in,
             line_numbers(in.ignore_blanks),
             {},
             plan.places.front().base_first,
             in.base->count() - plan.places.back().base_end};
    c.numbers.reset(static_cast<size_t>(in.base->count() - c.head - c.tail));
    count_base(c);
    for (const text_lines *file : in.files) {
        count_contributor(c, *file);
    }
    excuse_conflicts(c, plan);
    const text_lines lines = split_lines(merged.text);
    const std::vector<int32_t> numbers = count_merged(c, merged, lines);
    for (size_t i = 0; i < numbers.size(); i++) {
        if (numbers[i] == -2) {
            verdict.faults.push_back(
                {line_fault_kind::foreign, lines.line(c.head + static_cast<int32_t>(i))});
        }
    }
    find_faults(c, plan, &verdict);
    find_repeated(c, numbers, plan, &verdict);
    return verdict;
}

}  // namespace host

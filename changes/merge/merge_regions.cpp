// Edits are sorted by base line and swept once into places; places are tied into regions by a
// union-find with path halving, whose root is the least place (R. E. Tarjan and J. van Leeuwen,
// "Worst-Case Analysis of Set Union Algorithms", JACM 1984). O(edits x log edits), and the bytes of
// a region once for every contributor that changed it.
#include "merge_regions.h"

#include <algorithm>
#include <numeric>

#include "merge_ambiguity.h"
#include "moved_text.h"

namespace norvik {

namespace {

std::vector<place_edit> all_edits(const merge_input &in) {
    std::vector<place_edit> all;
    for (std::size_t k = 0; k < in.changes.size(); k++) {
        for (std::size_t i = 0; i < in.changes[k].edits.size(); i++) {
            all.push_back({static_cast<std::int32_t>(k), static_cast<std::int32_t>(i)});
        }
    }
    std::sort(all.begin(), all.end(), [&](const place_edit &a, const place_edit &b) {
        const edit &x = edit_at(in, a);
        const edit &y = edit_at(in, b);
        return x.base_first != y.base_first ? x.base_first < y.base_first
               : x.base_end != y.base_end   ? x.base_end < y.base_end
                                            : a.contributor < b.contributor;
    });
    return all;
}

bool belongs_to(const merge_input &in, const merge_place &place, const edit &e,
                bool apply_adjacent) {
    if (e.base_first > place.base_end) {
        return false;
    }
    // Two insertions before one line overlap: nobody can say which comes first.
    const bool overlap = e.base_first < place.base_end ||
                         (place.base_first == place.base_end && e.base_first == e.base_end);
    return overlap || !apply_adjacent || e.base_end == in.base->count();
}

// Joins the places that one of the ranges touches.
void join_ambiguous(std::vector<base_range> ranges, std::vector<merge_place> *places) {
    std::sort(ranges.begin(), ranges.end(),
              [](const base_range &a, const base_range &b) { return a.first < b.first; });
    std::size_t next = 0;  // range
    std::size_t kept = 0;
    std::int32_t tied_to = -1;
    for (merge_place &place : *places) {
        const bool tied = place.base_first <= tied_to;
        bool ambiguous = tied;
        for (; next < ranges.size() && ranges[next].first <= place.base_end; next++) {
            ambiguous = true;
            tied_to = std::max(tied_to, ranges[next].end);
        }
        if (tied) {
            merge_place &before = (*places)[kept - 1];
            before.base_end = place.base_end;
            before.edits.insert(before.edits.end(), place.edits.begin(), place.edits.end());
            continue;
        }
        place.ambiguous = ambiguous;
        if (&(*places)[kept] != &place) {
            (*places)[kept] = std::move(place);
        }
        kept++;
    }
    places->resize(kept);
}

void make_places(const merge_input &in, bool apply_adjacent, merge_plan *plan) {
    for (const file_edits &changes : in.changes) {
        plan->facts.emplace_back(changes.edits.size());
    }
    std::vector<merge_place> &places = plan->places;
    const std::vector<place_edit> order = all_edits(in);
    for (const place_edit &next : order) {
        const edit &e = edit_at(in, next);
        if (places.empty() || !belongs_to(in, places.back(), e, apply_adjacent)) {
            places.push_back({e.base_first, e.base_end, 0, false, {}});
        }
        places.back().base_end = std::max(places.back().base_end, e.base_end);
        places.back().edits.push_back(next);
    }
    join_ambiguous(ambiguous_ranges(in, order), &places);
    for (std::size_t i = 0; i < places.size(); i++) {
        std::sort(places[i].edits.begin(), places[i].edits.end(),
                  [](const place_edit &a, const place_edit &b) {
                      return a.contributor != b.contributor ? a.contributor < b.contributor
                                                            : a.edit < b.edit;
                  });
        for (const place_edit &e : places[i].edits) {
            plan->facts[static_cast<std::size_t>(e.contributor)][static_cast<std::size_t>(e.edit)]
                .place = static_cast<std::int32_t>(i);
        }
    }
}

// Groups of places that are tied together, by the least place of each group.
class place_groups {
public:
    explicit place_groups(std::size_t count) : parent_(count) {
        std::iota(parent_.begin(), parent_.end(), 0);
    }
    std::int32_t find(std::int32_t i) {
        while (parent_[static_cast<std::size_t>(i)] != i) {
            std::int32_t &up = parent_[static_cast<std::size_t>(i)];
            up = parent_[static_cast<std::size_t>(up)];
            i = up;
        }
        return i;
    }
    void tie(std::int32_t a, std::int32_t b) {
        const std::int32_t x = find(a);
        const std::int32_t y = find(b);
        parent_[static_cast<std::size_t>(std::max(x, y))] = std::min(x, y);
    }

private:
    std::vector<std::int32_t> parent_;
};

void tie_moves(const merge_input &in, merge_plan *plan, place_groups *groups) {
    for (std::size_t k = 0; k < in.changes.size(); k++) {
        const file_edits &changes = in.changes[k];
        for (const line_run &run : changes.moves) {
            const std::int32_t from = edit_removing(changes.edits, run.base_first);
            const std::int32_t to = edit_inserting(changes.edits, run.file_first);
            edit_fact &left = plan->facts[k][static_cast<std::size_t>(from)];
            edit_fact &entered = plan->facts[k][static_cast<std::size_t>(to)];
            left.moves = true;
            entered.moves = true;
            groups->tie(left.place, entered.place);
        }
    }
}

void sort_unique(std::vector<std::int32_t> *values) {
    std::sort(values->begin(), values->end());
    values->erase(std::unique(values->begin(), values->end()), values->end());
}

void make_regions(const merge_input &in, merge_plan *plan) {
    place_groups groups(plan->places.size());
    tie_moves(in, plan, &groups);
    std::vector<std::int32_t> region_of(plan->places.size(), -1);
    for (std::size_t i = 0; i < plan->places.size(); i++) {
        std::int32_t &region =
            region_of[static_cast<std::size_t>(groups.find(static_cast<std::int32_t>(i)))];
        if (region < 0) {
            region = static_cast<std::int32_t>(plan->regions.size());
            plan->regions.emplace_back();
        }
        plan->places[i].region = region;
        merge_region &r = plan->regions[static_cast<std::size_t>(region)];
        r.places.push_back(static_cast<std::int32_t>(i));
        for (const place_edit &e : plan->places[i].edits) {
            r.contributors.push_back(e.contributor);
        }
    }
    for (merge_region &r : plan->regions) {
        sort_unique(&r.contributors);
    }
}

std::string_view new_lines(const merge_input &in, const place_edit &source) {
    const edit &e = edit_at(in, source);
    return in.files[static_cast<std::size_t>(source.contributor)]->range(e.file_first, e.file_end);
}

// Whether the edit lies within the moved run: it must leave something of the run, and not stand at
// its edge, where nobody can say whether it belongs to the run or to what stands beside it.
bool lies_within(const edit &e, const line_run &run) {
    const std::int32_t end = run.base_first + run.count;
    if (e.base_first == e.base_end) {
        return e.base_first > run.base_first && e.base_end < end;
    }
    return e.base_first >= run.base_first && e.base_end <= end &&
           e.base_end - e.base_first < run.count;
}

// The run of `changes` that the edit can be carried with; null for none.
const line_run *run_around(const file_edits &changes, const edit &e) {
    const auto after = std::upper_bound(
        changes.moves.begin(), changes.moves.end(), e.base_first,
        [](std::int32_t line, const line_run &run) { return line < run.base_first; });
    return after != changes.moves.begin() && lies_within(e, *(after - 1)) ? &*(after - 1) : nullptr;
}

// Whether the edit can be carried with a run that another contributor of the region moved; else it
// counts as a change of the region itself.
bool can_be_carried(const merge_input &in, const merge_plan &plan, const merge_region &region,
                    const place_edit &source) {
    const edit &e = edit_at(in, source);
    if (fact_of(plan, source).moves || lacks_last_newline(new_lines(in, source))) {
        return false;
    }
    return std::any_of(region.contributors.begin(), region.contributors.end(), [&](std::int32_t k) {
        return k != source.contributor &&
               run_around(in.changes[static_cast<std::size_t>(k)], e) != nullptr;
    });
}

bool same_versions(const merge_input &in, const merge_plan &plan, const merge_region &region,
                   std::int32_t a, std::int32_t b) {
    return std::all_of(region.places.begin(), region.places.end(), [&](std::int32_t i) {
        const merge_place &place = plan.places[static_cast<std::size_t>(i)];
        return version_at(in, place, a).bytes() == version_at(in, place, b).bytes();
    });
}

// Carried edits of several contributors must keep apart or be the same; of the same ones one is
// kept.
bool settle_carried(const merge_input &in, std::vector<carried_edit> *carried) {
    std::sort(carried->begin(), carried->end(), [&](const carried_edit &a, const carried_edit &b) {
        const edit &x = edit_at(in, a.source);
        const edit &y = edit_at(in, b.source);
        return x.base_first != y.base_first ? x.base_first < y.base_first
               : x.base_end != y.base_end   ? x.base_end < y.base_end
                                            : a.source.contributor < b.source.contributor;
    });
    std::vector<carried_edit> kept;
    for (const carried_edit &next : *carried) {
        const edit &e = edit_at(in, next.source);
        const edit *last = kept.empty() ? nullptr : &edit_at(in, kept.back().source);
        if (last == nullptr || e.base_first > last->base_end) {
            kept.push_back(next);
        } else if (e.base_first != last->base_first || e.base_end != last->base_end ||
                   new_lines(in, next.source) != new_lines(in, kept.back().source)) {
            return false;
        }
    }
    *carried = std::move(kept);
    return true;
}

bool has_moves(const merge_plan &plan, const merge_region &region) {
    for (const std::int32_t i : region.places) {
        for (const place_edit &e : plan.places[static_cast<std::size_t>(i)].edits) {
            if (fact_of(plan, e).moves) {
                return true;
            }
        }
    }
    return false;
}

// Divides the region's edits into those that are carried and those that change the region; false
// when the contributors of the latter differ, or the former do not go together.
bool decide_clean(const merge_input &in, const merge_plan &plan, bool moves, merge_region *region) {
    std::vector<std::int32_t> changers;
    for (const std::int32_t i : region->places) {
        for (const place_edit &e : plan.places[static_cast<std::size_t>(i)].edits) {
            if (moves && can_be_carried(in, plan, *region, e)) {
                region->carried.push_back({e, {}});
            } else {
                changers.push_back(e.contributor);
            }
        }
    }
    // Each would be carried with another's move, and no text is there to begin with.
    if (changers.empty()) {
        return false;
    }
    sort_unique(&changers);
    region->taken = changers.front();
    for (const std::int32_t k : changers) {
        if (k != region->taken && !same_versions(in, plan, *region, k, region->taken)) {
            return false;
        }
    }
    // It can be carried with somebody's run; only those of the text that is taken are there.
    for (carried_edit &c : region->carried) {
        const line_run *run =
            run_around(in.changes[static_cast<std::size_t>(region->taken)], edit_at(in, c.source));
        if (run == nullptr) {
            return false;
        }
        c.run = *run;
    }
    if (!settle_carried(in, &region->carried)) {
        return false;
    }
    std::sort(region->carried.begin(), region->carried.end(),
              [&](const carried_edit &a, const carried_edit &b) {
                  return carried_to(in, a) < carried_to(in, b);
              });
    return true;
}

void decide(const merge_input &in, const merge_plan &plan, merge_region *region) {
    region->taken = region->contributors.front();
    if (region->contributors.size() == 1) {
        return;
    }
    if (std::any_of(region->places.begin(), region->places.end(), [&](std::int32_t i) {
            return plan.places[static_cast<std::size_t>(i)].ambiguous;
        })) {
        region->conflict = conflict_reason::ambiguous;
        return;
    }
    const bool moves = has_moves(plan, *region);
    if (!decide_clean(in, plan, moves, region)) {
        region->carried.clear();
        region->conflict = moves ? conflict_reason::moved : conflict_reason::differ;
    }
}

}  // namespace

std::int32_t carried_to(const merge_input &in, const carried_edit &c) {
    return c.run.file_first + (edit_at(in, c.source).base_first - c.run.base_first);
}

place_version version_at(const merge_input &in, const merge_place &place,
                         std::int32_t contributor) {
    const edit *first = nullptr;
    const edit *last = nullptr;
    for (const place_edit &e : place.edits) {
        if (e.contributor == contributor) {
            first = first == nullptr ? &edit_at(in, e) : first;
            last = &edit_at(in, e);
        }
    }
    if (first == nullptr) {
        return {in.base, place.base_first, place.base_end, true};
    }
    return {in.files[static_cast<std::size_t>(contributor)],
            first->file_first - (first->base_first - place.base_first),
            last->file_end + (place.base_end - last->base_end), false};
}

merge_plan plan_merge(const merge_input &in, bool apply_adjacent) {
    merge_plan plan;
    make_places(in, apply_adjacent, &plan);
    make_regions(in, &plan);
    for (merge_region &region : plan.regions) {
        decide(in, plan, &region);
    }
    return plan;
}

void force_conflict(merge_plan *plan, const std::vector<std::int32_t> &places,
                    conflict_reason reason) {
    std::vector<std::int32_t> regions;
    regions.reserve(places.size());
    for (const std::int32_t place : places) {
        regions.push_back(plan->places[static_cast<std::size_t>(place)].region);
    }
    sort_unique(&regions);
    if (regions.empty()) {
        return;
    }
    // Regions are in order of their first place, so that the joined one stays in order.
    merge_region &first = plan->regions[static_cast<std::size_t>(regions.front())];
    for (const std::int32_t r : regions) {
        merge_region &other = plan->regions[static_cast<std::size_t>(r)];
        for (const std::int32_t place : other.places) {
            plan->places[static_cast<std::size_t>(place)].region = regions.front();
        }
        if (&other != &first) {
            first.places.insert(first.places.end(), other.places.begin(), other.places.end());
            first.contributors.insert(first.contributors.end(), other.contributors.begin(),
                                      other.contributors.end());
            other = {};
        }
    }
    sort_unique(&first.places);
    sort_unique(&first.contributors);
    first.carried.clear();
    first.answer.clear();
    first.conflict = first.conflict == conflict_reason::none ? reason : first.conflict;
}

}  // namespace norvik

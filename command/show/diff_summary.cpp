// Differences without their lines: sums, the library's blocks, JSON. One pass over the edits.
#include <algorithm>
#include <array>

#include "diff_output.h"
#include "escaped_text.h"
#include "json_text.h"

namespace norvik {

namespace {

constexpr std::array kind_names{"unchanged", "change",       "insert",
                                "delete",    "moved_insert", "moved_delete"};

struct line_sums {
    std::int64_t inserted = 0;
    std::int64_t deleted = 0;
    std::int64_t moved = 0;
};

// With marked moves, moved lines are counted by themselves.
line_sums sums_of(const file_edits &edits, bool mark_moves) {
    line_sums sums;
    sums.moved = mark_moves ? moved_lines(edits) : 0;
    for (const edit &e : edits.edits) {
        sums.inserted += e.file_end - e.file_first;
        sums.deleted += e.base_end - e.base_first;
    }
    sums.inserted -= sums.moved;
    sums.deleted -= sums.moved;
    return sums;
}

// At most 40 marks, in proportion.
std::string bar(const line_sums &sums, bool color) {
    const std::int64_t all = sums.inserted + sums.deleted;
    const std::int64_t width = std::min<std::int64_t>(all, 40);
    // Rounded up, and a mark kept for what is deleted: neither kind disappears beside the other.
    std::int64_t plus = all == 0 ? 0 : (sums.inserted * width + all - 1) / all;
    plus = sums.deleted > 0 ? std::min(plus, width - 1) : plus;
    const std::string added(static_cast<std::size_t>(plus), '+');
    const std::string gone(static_cast<std::size_t>(width - plus), '-');
    return color ? "\x1b[32m" + added + "\x1b[31m" + gone + "\x1b[m" : added + gone;
}

void describe_range(json_writer &json, const char *key, std::int32_t first, std::int32_t end) {
    json.begin_object(key);
    json.field("first", first + 1);
    json.field("count", end - first);
    json.end();
}

void describe_file(json_writer &json, const file_difference &d, std::size_t number) {
    const line_sums sums = sums_of(d.edits, true);
    json.begin_object();
    json.field("file", number);
    json.text("name", d.file_label);
    json.field("same", d.edits.edits.empty());
    json.field("inserted", sums.inserted + sums.moved);
    json.field("deleted", sums.deleted + sums.moved);
    json.field("moved", sums.moved);
    json.begin_array("edits");
    for (const edit &e : d.edits.edits) {
        json.begin_object();
        describe_range(json, "base", e.base_first, e.base_end);
        describe_range(json, "file", e.file_first, e.file_end);
        json.end();
    }
    json.end();
    json.begin_array("moves");
    for (const line_run &run : d.edits.moves) {
        json.begin_object();
        json.field("base", run.base_first + 1);
        json.field("file", run.file_first + 1);
        json.field("count", run.count);
        json.end();
    }
    json.end();
    json.end();
}

}  // namespace

std::int64_t moved_lines(const file_edits &edits) {
    std::int64_t lines = 0;
    for (const line_run &run : edits.moves) {
        lines += run.count;
    }
    return lines;
}

void write_stat(output_writer &out, const diff_view &view,
                const std::vector<file_difference> &files) {
    line_sums all;
    std::size_t changed = 0;
    for (const file_difference &d : files) {
        if (d.edits.edits.empty()) {
            continue;
        }
        const line_sums sums = sums_of(d.edits, view.mark_moves);
        changed++;
        all.inserted += sums.inserted;
        all.deleted += sums.deleted;
        all.moved += sums.moved;
        const std::string name = escape_name(d.file_label);
        const std::string moved =
            sums.moved == 0 ? "" : " " + std::to_string(sums.moved) + " moved";
        out.printf(" %s | %lld %s%s\n", name.c_str(),
                   static_cast<long long>(sums.inserted + sums.deleted),
                   bar(sums, view.color).c_str(), moved.c_str());
    }
    if (changed > 0) {
        out.printf(" %zu of %zu files changed, %lld insertions(+), %lld deletions(-), %lld moved\n",
                   changed, files.size(), static_cast<long long>(all.inserted),
                   static_cast<long long>(all.deleted), static_cast<long long>(all.moved));
    }
}

void write_blocks(output_writer &out, const std::vector<diff_block> &blocks) {
    for (const diff_block &b : blocks) {
        out.printf("%u %s %d %d %d %d %d %d\n", b.file_index,
                   b.kind < kind_names.size() ? kind_names[b.kind] : "unknown", b.base_first,
                   b.base_last, b.other_first, b.other_last, b.moved_first, b.moved_last);
    }
}

void write_diff_json(const std::vector<file_difference> &files) {
    json_writer json(1);
    json.field("same", std::all_of(files.begin(), files.end(),
                                   [](const file_difference &d) { return d.edits.edits.empty(); }));
    json.text("base", files.front().base_label);
    json.begin_array("files");
    for (std::size_t i = 0; i < files.size(); i++) {
        describe_file(json, files[i], i + 1);
    }
    json.end();
    json.print();
}

}  // namespace norvik

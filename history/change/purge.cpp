// The version is deleted first, then the weave is rewritten without its lines that no survivor
// holds, and the result is searched for them. Lines are compared as texts: an equal line that
// nobody holds goes as well, wherever it came from. Each of these steps is a pass over the weave,
// and so are the proofs; both new containers are in memory.
#include "purge.h"

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <unordered_set>

#include "descriptor_path.h"
#include "memory_file.h"
#include "weave_cursor.h"
#include "weave_rewrite.h"

namespace norvik {
namespace {

// Lines and holders that are listed one by one.
constexpr std::size_t most_lines = 50;
constexpr std::size_t most_holders = 4;

std::string_view without_newline(std::string_view text) {
    return text.ends_with('\n') ? text.substr(0, text.size() - 1) : text;
}

std::vector<bool> alive_by_position(const container_view &view, const version_tree &tree,
                                    const deletion_request &request) {
    std::vector<bool> alive(tree.versions.size());
    for (const version_record &version : view.versions) {
        alive[position_of(tree, version.id)] = request.survives(version);
    }
    return alive;
}

struct held_line {
    version_id inserter;
    std::string_view text;                       // without its newline
    const std::vector<position_range> &holders;  // the parts that have survivors
    bool purged_holds;
};

// Hands over every line of a container with the survivors that hold it.
class holder_pass {
public:
    using visitor = std::function<void(const held_line &)>;

    holder_pass(const container_view &view, const deletion_request &request)
        : view_(view),
          tree_(build_version_tree(view)),
          alive_(alive_by_position(view, tree_, request)),
          survivors_(alive_) {}

    // `purged` is the position of the version that goes, empty when it is gone.
    void visit(position_range purged, const visitor &visit_line) const {
        weave_cursor cursor(view_, tree_);
        weave_stretch stretch;
        std::vector<position_range> holders;
        while (cursor.next(&stretch)) {
            holders.clear();
            cursor.holders(stretch, &holders);
            const bool purged_holds = !purged.empty() && std::any_of(holders.begin(), holders.end(),
                                                                     [purged](position_range part) {
                                                                         return part.holds(purged);
                                                                     });
            std::erase_if(holders,
                          [this](position_range part) { return !survivors_.any_in(part); });
            for (std::string_view rest = stretch.bytes; !rest.empty();) {
                const std::string_view line = rest.substr(0, rest.find('\n') + 1);
                rest.remove_prefix(line.size());
                visit_line({stretch.run, without_newline(text_of(line)), holders, purged_holds});
            }
        }
    }

    void note(std::string_view text, const std::vector<position_range> &holders,
              kept_lines *lines) const {
        lines->count++;
        if (lines->first.size() == most_lines) {
            return;
        }
        kept_line &line = lines->first.emplace_back();
        line.text = text;
        for (const position_range &part : holders) {
            for (std::uint32_t i = part.first; i < part.end; i++) {
                if (alive_[i] && ++line.holder_count <= most_holders) {
                    line.holders.push_back(tree_.versions[i]);
                }
            }
        }
    }

    const version_tree &tree() const { return tree_; }
    const survivor_set &survivors() const { return survivors_; }

private:
    const container_view &view_;
    version_tree tree_;
    std::vector<bool> alive_;
    survivor_set survivors_;
};

using text_set = std::unordered_set<std::string_view>;

// The lines of the version that no survivor holds; those that one holds go into the result. A line
// of a version deleted before that only the purged one still holds is its own, too: an annotation
// may name it for that line, and once it is gone no version is left to purge for it.
text_set lines_to_take_out(const container_view &view, version_id version,
                           const deletion_request &request, purge_result *lines) {
    const holder_pass pass(view, request);
    const version_record *record = find_version(view, version);
    position_range purged;
    if (record != nullptr && !record->deleted) {
        purged.first = position_of(pass.tree(), version);
        purged.end = purged.first + 1;
    }
    text_set secret;
    pass.visit(purged, [&](const held_line &line) {
        const bool is_last = line.purged_holds && line.holders.empty();
        if (line.inserter != version && !is_last) {
            return;
        }
        lines->inserted++;
        if (line.holders.empty()) {
            secret.insert(line.text);
        } else {
            pass.note(line.text, line.holders, &lines->held);
        }
    });
    return secret;
}

// The notes of records that are commented out, in the order of the file.
std::vector<std::string_view> dead_notes(const container_view &view) {
    std::vector<std::string_view> found;
    const auto add = [&found](const auto &record) {
        if (record.deleted && !record.notes.empty()) {
            found.push_back(record.notes);
        }
    };
    std::ranges::for_each(view.versions, add);
    std::ranges::for_each(view.branches, add);
    std::ranges::sort(found, {}, [](std::string_view notes) { return notes.data(); });
    return found;
}

// A digest alone says nothing of the text: it goes with the rest, but is no reason to purge.
bool says_more_than_sum(std::string_view notes) {
    return notes.find(' ') != std::string_view::npos;
}

// The header as it stands, but for these, each with the blank before it.
std::string header_without(const container_view &view, const std::vector<std::string_view> &notes) {
    const std::string_view header = view.bytes.view().substr(0, view.weave_offset);
    const char *at = header.data();
    std::string out;
    for (const std::string_view words : notes) {
        out.append(at, words.data() - 1);
        at = words.data() + words.size();
    }
    return out.append(at, header.data() + header.size());
}

result<> write_without(const container_view &view, const text_set &secret,
                       const deletion_request &request, int descriptor) {
    std::string out = header_without(view, dead_notes(view));
    const holder_pass pass(view, request);
    const rewrite_plan plan{
        [&secret](std::string_view text) { return secret.contains(without_newline(text)); }};
    weave_rewrite(view, pass.tree(), pass.survivors(), plan).write([&out](std::string_view piece) {
        out += piece;
    });
    const std::error_code error = write_bytes(descriptor, out);
    return error ? result<>(system_failure(view.name, "cannot write", error)) : result<>();
}

// Looks for the lines taken out in what has been written. One that no survivor holds is a failure.
result<> search(const container_view &after, const text_set &secret,
                const deletion_request &request, purge_result *lines) {
    const holder_pass pass(after, request);
    text_set told;
    bool left = false;
    pass.visit({}, [&](const held_line &line) {
        const auto found = secret.find(line.text);
        if (found == secret.end()) {
            return;
        }
        left = left || line.holders.empty();
        if (!line.holders.empty() && told.insert(*found).second) {
            pass.note(line.text, line.holders, &lines->copies);
        }
    });
    if (left || !dead_notes(after).empty()) {
        return refusal(after.name, left ? "a line to purge is still there; nothing is changed"
                                        : "notes to purge are still there; nothing is changed");
    }
    return {};
}

}  // namespace

result<> purge_into(const container_view &before, const std::string &container_path,
                    version_id version, const deletion_request &request, int descriptor,
                    container_view *after, purge_result *lines) {
    memory_file memory;
    if (const std::error_code error = memory.create(before.name)) {
        return system_failure(before.name, "no memory for the new container", error);
    }
    if (auto done = delete_into(before, container_path, request, memory.path()); !done) {
        return done;
    }
    const auto without_version =
        open_container(memory.descriptor(), before.name, "cannot be read without the version");
    if (!without_version) {
        return without_version.failure();
    }
    // Asked of the old container: the new one may lack some already whose copies must be found.
    const text_set secret = lines_to_take_out(before, version, request, lines);
    lines->notes = static_cast<std::uint64_t>(
        std::ranges::count_if(dead_notes(*without_version), says_more_than_sum));
    if (auto written = write_without(*without_version, secret, request, descriptor); !written) {
        return written;
    }
    auto opened = open_container(descriptor, before.name, "the new container cannot be read");
    if (!opened) {
        return opened.failure();
    }
    *after = std::move(*opened);
    if (auto proven = prove_survivors(before, *after, request); !proven) {
        return proven;
    }
    return search(*after, secret, request, lines);
}

}  // namespace norvik

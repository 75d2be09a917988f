// Comparisons and merges of texts.
#include <algorithm>

#include "comparison.h"
#include "failure_words.h"
#include "moved_text.h"
#include "targets.h"
#include "tdm_session/line_hash.h"

namespace fuzz {

namespace {

std::string replayed(const norvik::text_lines &base, const norvik::text_lines &file,
                     const std::vector<norvik::edit> &edits) {
    std::string text;
    int32_t base_line = 0;
    int32_t file_line = 0;
    for (const norvik::edit &edit : edits) {
        require(edit.base_first > base_line || (edit.base_first == 0 && text.empty()),
                "edits that touch");
        require(edit.base_first - base_line == edit.file_first - file_line &&
                    edit.base_end >= edit.base_first && edit.file_end >= edit.file_first &&
                    edit.base_end + edit.file_end > edit.base_first + edit.file_first,
                "edits out of step");
        text += base.range(base_line, edit.base_first);
        text += file.range(edit.file_first, edit.file_end);
        base_line = edit.base_end;
        file_line = edit.file_end;
    }
    return text += base.range(base_line, base.count());
}

// Lines first .. last, from 1.
std::string_view take(const norvik::text_lines &text, int32_t first, int32_t last) {
    require(first >= 1 && last <= text.count(), "lines that are not there");
    return text.range(first - 1, last);
}

struct rebuilt_file {
    std::string text;
    int32_t base_end;  // the last base line that a block has dealt with
};

void add(const norvik::text_lines &base, const norvik::text_lines &file, const diff_block &block,
         rebuilt_file *out) {
    if (block.kind == tdm_diff_insert || block.kind == tdm_diff_moved_insert) {
        require(block.base_first == out->base_end, "an insertion out of place");
    } else {
        require(block.base_first == out->base_end + 1 && block.base_last >= block.base_first,
                "a gap");
        out->base_end = block.base_last;
    }
    if (block.kind == tdm_diff_moved_insert) {
        out->text += take(base, block.moved_first, block.moved_last);
    } else if (block.kind == tdm_diff_moved_delete) {
        require(take(file, block.moved_first, block.moved_last) ==
                    take(base, block.base_first, block.base_last),
                "moved lines differ");
    } else if (block.kind != tdm_diff_delete) {
        const std::string_view lines = take(file, block.other_first, block.other_last);
        require(block.kind != tdm_diff_unchanged ||
                    lines == take(base, block.base_first, block.base_last),
                "unchanged lines differ");
        out->text += lines;
    }
}

bool have_equal_hashes(const std::vector<norvik::text_lines> &texts) {
    std::map<uint64_t, std::string_view> known;
    for (const norvik::text_lines &text : texts) {
        for (int32_t i = 0; i < text.count(); i++) {
            const auto line = text.line(i);
            if (known.try_emplace(tdm::exact_line_hash(line), line).first->second != line) {
                return true;
            }
        }
    }
    return false;
}

struct outcome {
    int status;
    std::string text;  // of a clean merge
    friend bool operator==(const outcome &, const outcome &) = default;
};

outcome merged(std::vector<std::string> words) {
    words.insert(words.begin(), {"merge", "-q", "-f", "-o", "out"});
    const int status = run(std::move(words));
    require(status < 2, "texts that cannot be merged");
    return {status, status == 0 ? read_file("out") : ""};
}

// A line that stands at most once in every text: where nobody has fewer of it than the base, the
// merge has as many as the one that has most; a clean one, where nobody has more than the base, no
// more than the one that has fewest. Of a line that stands several times, two may have removed the
// same one and one of them put it back elsewhere, so these counts tell nothing. A clean merge has
// only lines of the texts.
void check_lines(const std::vector<std::string> &texts, const std::string &result, bool clean) {
    std::map<std::string, std::vector<int>> counts;
    for (size_t i = 0; i <= texts.size(); i++) {
        for (std::string line : split(i < texts.size() ? texts[i] : result)) {
            line.erase(line.find_last_not_of('\n') + 1);
            auto &numbers = counts[line];
            numbers.resize(texts.size() + 1);
            numbers[i]++;
        }
    }
    for (const auto &[line, numbers] : counts) {
        const auto [least, most] = std::minmax_element(numbers.begin(), numbers.end() - 1);
        require(*most > 0 || !clean, "a line comes from nowhere");
        if (norvik::is_significant(line) && *most <= 1) {
            require(*least < numbers[0] || numbers.back() >= *most, "a line is lost");
            require(*most > numbers[0] || numbers.back() <= *least || !clean, "a line is doubled");
        }
    }
}

}  // namespace

// Replaying a file's edits on the base gives the file; edits are in order and apart; moved lines
// are equal, and in what an edit removes and an edit inserts.
void compare(std::string_view input) {
    const auto texts = texts_of_input(input, 2, 4);
    std::vector<norvik::lined_text> files(texts.size());
    for (size_t i = 0; i < texts.size(); i++) {
        require(told(norvik::hold_text("text", texts[i], &files[i])) == 0, "no memory file");
    }
    norvik::comparison compared;
    require(told(norvik::compare_files(&files, "compare", false,
                                       norvik::after_compare::close_session, &compared)) == 0,
            "texts that cannot be compared");
    const norvik::text_lines &base = files[0].lines;
    for (size_t i = 1; i < files.size(); i++) {
        const norvik::text_lines &file = files[i].lines;
        const norvik::file_edits found = norvik::edits_of(compared, files, i, {});
        require(replayed(base, file, found.edits) == texts[i], "the edits do not give the file");
        require(found.edits.empty() == (texts[i] == texts[0]), "edits of equal texts");
        for (const norvik::line_run &move : found.moves) {
            for (int32_t n = 0; n < move.count; n++) {
                const int32_t from = move.base_first + n;
                const int32_t to = move.file_first + n;
                require(base.line(from) == file.line(to), "moved lines differ");
                require(norvik::edit_removing(found.edits, from) >= 0 &&
                            norvik::edit_inserting(found.edits, to) >= 0,
                        "a moved line that is in no edit");
            }
        }
    }
}

// The library's blocks of each file, in their order, walk the base without a gap and give the file.
// Lines whose hashes are equal are one line to its sessions, so that texts in which two different
// ones have the same hash tell nothing.
void stream(std::string_view input) {
    const auto texts = texts_of_input(input, 2, 6);
    std::vector<std::unique_ptr<held_file>> files;
    std::vector<const char *> paths;
    std::vector<norvik::text_lines> lines;
    for (const std::string &text : texts) {
        files.push_back(std::make_unique<held_file>(text));
        paths.push_back(files.back()->path().c_str());
        lines.push_back(norvik::split_lines(text));
    }
    if (have_equal_hashes(lines)) {
        return;
    }
    tdm_session *opened = nullptr;
    int identical = 0;
    require(tdm_create_session(static_cast<int>(paths.size()), paths.data(), &opened) == 0,
            "no session");
    const std::unique_ptr<tdm_session, norvik::session_closer> session(opened);
    require(tdm_compare(opened, &identical) == 0, "texts that cannot be compared");
    if (identical != 0) {
        return;
    }
    uint64_t head = 0;
    uint64_t tail = 0;
    require(tdm_init_diff_stream(opened, &head, &tail) == 0, "no stream");
    const auto first = static_cast<int32_t>(head);
    const int32_t last = lines[0].count() - static_cast<int32_t>(tail);
    std::vector<rebuilt_file> rebuilt(texts.size(), {std::string(take(lines[0], 1, first)), first});
    uint32_t end = 0;
    for (diff_block block{}; tdm_get_next_diff(opened, &end, &block) == 0 && end == 0;) {
        add(lines[0], lines.at(block.file_index), block, &rebuilt.at(block.file_index));
    }
    require(end != 0, "a stream that does not end");
    for (size_t i = 1; i < texts.size(); i++) {
        require(rebuilt[i].base_end == last, "the base is not walked to its end");
        rebuilt[i].text += take(lines[0], last + 1, lines[0].count());
        require(rebuilt[i].text == texts[i], "the blocks do not give the file");
    }
}

// A merge is the same in every order of its contributors; one that is there twice, or has changed
// nothing, makes no difference; one alone is taken; no line comes from nowhere or is lost.
void merge(std::string_view input) {
    const auto texts = texts_of_input(input, 3, 5);
    std::vector<std::string> names;
    for (size_t i = 0; i < texts.size(); i++) {
        names.push_back("text" + std::to_string(i));
        write_file(names[i], texts[i]);
    }
    write_file("again", texts[1]);
    write_file("same", texts[0]);
    const outcome first = merged(names);
    check_lines(texts, read_file("out"), first.status == 0);
    for (size_t i = 1; i < texts.size(); i++) {
        require(merged({names[0], names[i], "same"}) == outcome{0, texts[i]},
                "the only change is not taken");
    }
    std::reverse(names.begin() + 1, names.end());
    require(merged(names) == first, "the order of the contributors decides");
    names.push_back("again");
    require(merged(names) == first, "a contributor that is there twice decides");
    names.back() = "same";
    require(merged(names) == first, "a contributor without changes decides");
}

}  // namespace fuzz

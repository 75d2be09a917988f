// Inputs are changed line by line; a container also by what the library makes of it, so that sound
// ones of many shapes come about, and damage in all places of them.
#include <norviktdm/tdm.h>

#include <algorithm>
#include <cstring>

#include "targets.h"
#include "text_lines.h"

namespace fuzz {

std::vector<std::string> split(std::string_view text) {
    const norvik::text_lines lines = norvik::split_lines(text);
    std::vector<std::string> out;
    for (int32_t i = 0; i < lines.count(); i++) {
        out.emplace_back(lines.line(i));
    }
    return out;
}

std::string join(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) {
        text += line;
    }
    return text;
}

std::vector<std::string> &word_list() {
    static std::vector<std::string> words = split(
        "a\nb\nc\n}\n\n {\nword one\nword two\n{ 0, 0 }\na\r\n%%\n%-\n"
        "^Q ^quoted\n^N open\n^T text\n^I 0 1 1\n^I 1 1 2\n^D 0 2 1\n^D 1 1 2\n"
        "^S db1 2\n^V v 0 9 1\n^B x 2 0 1\n^#^V w 0 1 1\n^E e\n");
    return words;
}

void edit_lines(std::vector<std::string> *lines, choices *random) {
    const size_t from = random->below(lines->size());
    const size_t most = 1 + random->below(random->below(5) == 0 ? 40 : 3);
    const auto first = lines->begin() + static_cast<long>(from);
    const auto last = first + static_cast<long>(std::min(most, lines->size() - from));
    std::vector<std::string> put(first, last);
    const size_t kind = random->below(6);
    if (kind == 3 && first != last) {
        std::swap(*first, random->of(*lines));
        return;
    }
    if (kind != 1 && kind != 5) {
        lines->erase(first, last);
    }
    if (kind >= 3) {
        put = {random->of(word_list())};
    }
    if (kind != 0) {
        const auto at = static_cast<long>(random->below(lines->size() + 1));
        lines->insert(lines->begin() + at, put.begin(), put.end());
    }
}

std::vector<std::string> texts_of_input(std::string_view input, size_t least, size_t most) {
    std::vector<std::string> texts(1);
    for (std::string &line : split(input)) {
        std::erase(line, '\0');
        std::string &text = texts.back();
        if (line != "%%\n" && line != "%-\n") {
            text += line.substr(0, 7000) + (line.size() > 7000 ? "\n" : "");
            continue;
        }
        if (line == "%-\n" && text.ends_with('\n')) {
            text.pop_back();
        }
        if (texts.size() == most) {
            return texts;
        }
        texts.emplace_back();
    }
    texts.resize(std::max(texts.size(), least));
    return texts;
}

namespace {

// One hexadecimal number of a record gets a near or an odd value.
void change_number(std::string *line, choices *random) {
    std::vector<size_t> places;
    for (size_t i = 2; i < line->size(); i++) {
        if ((*line)[i - 1] == ' ' && std::isxdigit(static_cast<unsigned char>((*line)[i])) != 0) {
            places.push_back(i);
        }
    }
    if (places.empty()) {
        return;
    }
    constexpr const char *values[] = {"0",
                                      "1",
                                      "2",
                                      "3",
                                      "4",
                                      "5",
                                      "6",
                                      "7",
                                      "8",
                                      "9",
                                      "1a",
                                      "fffffffffffffffe",
                                      "ffffffffffffffff"};
    const size_t at = random->of(places);
    const size_t end = std::min(line->find_first_not_of("0123456789abcdef", at), line->size());
    line->replace(at, end - at, random->of(values));
}

// A version less, one more on the newest of a branch, or one on a branch of its own: what the
// library makes of a sound container.
std::string grown(std::string_view bytes, choices *random) {
    const held_container old(bytes);
    const held_file out;
    if (!old.opened || old.view.versions.empty() || !is_sound(old.view)) {
        return std::string(bytes);
    }
    const norvik::version_record &base = random->of(old.view.versions);
    const std::string oid(base.oid);
    const norvik::branch_record *branch = find_branch(old.view, base.id.branch);
    const auto number = next_version_number(old.view, base.id.branch);
    const auto text = library_text(old, oid);
    int status = -1;
    if (random->below(5) == 0 && base.id != norvik::version_id{0, 0}) {
        const char *oids[] = {oid.c_str()};
        status = tdm_delete_versions_and_branches(old.file.path().c_str(), out.path().c_str(), 1,
                                                  oids, 0, nullptr);
    } else if (branch != nullptr && number && text) {
        std::vector<std::string> lines = split(*text);
        for (size_t edits = 1 + random->below(3); edits > 0; edits--) {
            edit_lines(&lines, random);
        }
        std::string fresh = join(lines);
        fresh.resize(fresh.size() - (random->below(5) == 0 && fresh.ends_with('\n') ? 1 : 0));
        const bool fork = random->below(4) == 0;
        const std::string parent(branch->oid);
        const std::string tail = std::to_string(random->random());
        const auto *newest = newest_version(old.view, base.id.branch);
        uint32_t same = 0;
        status = tdm_store_ver(7, ("v" + tail).c_str(), (fork ? "b" + tail : parent).c_str(),
                               fork ? 1 : *number, out.path().c_str(), nullptr, parent.c_str(),
                               fork || newest == nullptr ? base.id.number : newest->id.number,
                               old.file.path().c_str(), held_file(fresh).path().c_str(), 0, &same);
    }
    return status == 0 ? read_file(out.path()) : std::string(bytes);
}

}  // namespace
}  // namespace fuzz

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t most, unsigned seed) {
    fuzz::choices random(seed);
    if (random.below(6) == 0) {
        return LLVMFuzzerMutate(data, size, most);
    }
    std::string bytes(reinterpret_cast<const char *>(data), size);
    if (bytes.starts_with("^S ") && random.below(2) == 0) {
        bytes = fuzz::grown(bytes, &random);
        fuzz::drop_library_files();
    } else {
        std::vector<std::string> lines = fuzz::split(bytes);
        for (size_t edits = 1 + random.below(2); edits > 0; edits--) {
            if (std::string *line = lines.empty() ? nullptr : &random.of(lines);
                line != nullptr && line->starts_with('^') && random.below(2) == 0) {
                fuzz::change_number(line, &random);
            } else {
                fuzz::edit_lines(&lines, &random);
            }
        }
        bytes = fuzz::join(lines);
    }
    if (bytes.size() > most) {
        return size;
    }
    std::memcpy(data, bytes.data(), bytes.size());
    return bytes.size();
}

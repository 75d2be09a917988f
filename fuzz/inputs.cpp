// Inputs are changed line by line; a container also by what the library makes of it, so that sound
// ones of many shapes come about, and damage in all places of them.
#include <norviktdm/tdm.h>

#include <algorithm>
#include <cstring>

#include "support.h"

namespace fuzz {

std::vector<std::string> split(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
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
    const size_t count =
        std::min(1 + random->below(random->below(5) == 0 ? 40 : 3), lines->size() - from);
    const auto first = lines->begin() + static_cast<long>(from);
    const auto last = first + static_cast<long>(count);
    const std::vector<std::string> taken(first, last);
    const auto put = [&](const std::vector<std::string> &some) {
        const auto at = static_cast<long>(random->below(lines->size() + 1));
        lines->insert(lines->begin() + at, some.begin(), some.end());
    };
    switch (random->below(6)) {
        case 0:
            lines->erase(first, last);
            break;
        case 1:
            put(taken);
            break;
        case 2:
            lines->erase(first, last);
            put(taken);
            break;
        case 3:
            if (count > 0) {
                std::swap((*lines)[from], (*lines)[random->below(lines->size())]);
            }
            break;
        case 4:
            lines->erase(first, last);
            [[fallthrough]];
        default:
            put({word_list()[random->below(word_list().size())]});
    }
}

std::vector<std::string> texts_of_input(std::string_view input, size_t least, size_t most) {
    std::vector<std::string> texts(1);
    for (std::string &line : split(input)) {
        line.erase(std::remove(line.begin(), line.end(), '\0'), line.end());
        std::string &text = texts.back();
        if (line != "%%\n" && line != "%-\n") {
            text += line.substr(0, 7000) + (line.size() > 7000 ? "\n" : "");
            continue;
        }
        if (line == "%-\n" && !text.empty() && text.back() == '\n') {
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
    const size_t at = places[random->below(places.size())];
    const size_t end = std::min(line->find_first_not_of("0123456789abcdef", at), line->size());
    unsigned long long value = std::strtoull(line->substr(at, end - at).c_str(), nullptr, 16);
    constexpr unsigned long long odd[] = {0, 1, 0xffffffff, ~0ull, ~0ull - 1};
    value =
        random->below(8) == 0 ? odd[random->below(std::size(odd))] : value + random->below(5) - 2;
    char digits[20];
    (void)std::snprintf(digits, sizeof digits, "%llx", value);
    line->replace(at, end - at, digits);
}

void damage_lines(std::vector<std::string> *lines, choices *random) {
    if (!lines->empty() && random->below(2) == 0) {
        std::string &line = (*lines)[random->below(lines->size())];
        if (line.starts_with("^")) {
            change_number(&line, random);
            return;
        }
    }
    edit_lines(lines, random);
}

// A further version by the library, on the newest of a branch or on a branch of its own.
std::optional<std::string> check_in(const held_container &old, choices *random) {
    const auto &versions = old.view.versions;
    const host::version_record &base = versions[random->below(versions.size())];
    const host::branch_record *branch = find_branch(old.view, base.id.branch);
    const auto number = next_version_number(old.view, base.id.branch);
    const auto text = library_text(old.file.path(), base.oid);
    if (branch == nullptr || !number || !text) {
        return std::nullopt;
    }
    std::vector<std::string> lines = split(*text);
    for (size_t edits = 1 + random->below(3); edits > 0; edits--) {
        edit_lines(&lines, random);
    }
    std::string fresh_text = join(lines);
    if (random->below(5) == 0 && fresh_text.ends_with('\n')) {
        fresh_text.pop_back();
    }
    host::memory_file input;
    host::memory_file out;
    require(input.create() == 0 && input.write(fresh_text) == 0 && out.create() == 0,
            "no memory file");
    const bool fork = random->below(4) == 0;
    const std::string parent(branch->oid);
    const std::string tail = std::to_string(random->random());
    const std::string name = fork ? "b" + tail : parent;
    const host::version_record *newest = newest_version(old.view, base.id.branch);
    uint32_t same = 0;
    const uint64_t below = fork || newest == nullptr ? base.id.number : newest->id.number;
    const int status = tdm_store_ver(7, ("v" + tail).c_str(), name.c_str(), fork ? 1 : *number,
                                     out.path().c_str(), nullptr, parent.c_str(), below,
                                     old.file.path().c_str(), input.path().c_str(), 0, &same);
    return status == 0 ? std::optional(read_file(out.path())) : std::nullopt;
}

std::optional<std::string> delete_one(const held_container &old, choices *random) {
    host::memory_file out;
    require(out.create() == 0, "no memory file");
    const host::version_record &version =
        old.view.versions[random->below(old.view.versions.size())];
    if (version.id == host::version_id{0, 0}) {
        return std::nullopt;
    }
    const std::string oid(version.oid);
    const char *oids[] = {oid.c_str()};
    const int status = tdm_delete_versions_and_branches(old.file.path().c_str(), out.path().c_str(),
                                                        1, oids, 0, nullptr);
    return status == 0 ? std::optional(read_file(out.path())) : std::nullopt;
}

// What the library makes of a sound container.
std::string grown(std::string_view bytes, choices *random) {
    const held_container old(bytes);
    if (!old.opened || old.view.versions.empty() || !is_sound(old.view)) {
        return std::string(bytes);
    }
    const auto fresh = random->below(5) == 0 ? delete_one(old, random) : check_in(old, random);
    return fresh ? *fresh : std::string(bytes);
}

}  // namespace
}  // namespace fuzz

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t most, unsigned seed) {
    fuzz::choices random(seed);
    if (random.below(6) == 0) {
        return LLVMFuzzerMutate(data, size, most);
    }
    std::string bytes(fuzz::bytes_of(data, size));
    if (bytes.starts_with("^S ") && random.below(2) == 0) {
        bytes = fuzz::grown(bytes, &random);
        fuzz::drop_library_files();
    } else {
        std::vector<std::string> lines = fuzz::split(bytes);
        for (size_t edits = 1 + random.below(2); edits > 0; edits--) {
            fuzz::damage_lines(&lines, &random);
        }
        bytes = fuzz::join(lines);
    }
    if (bytes.size() > most) {
        return size;
    }
    std::memcpy(data, bytes.data(), bytes.size());
    return bytes.size();
}

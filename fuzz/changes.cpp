// The commands that change a container, on sound and on damaged ones.
#include <set>

#include "record_line.h"
#include "structure.h"
#include "targets.h"
#include "version_names.h"

namespace fuzz {

namespace {

struct outcome {
    int status;
    held_container after;
};

// Runs the command, which knows the input as c.tdm. Refused, it has changed nothing; what was sound
// stays so; and no file is left.
outcome change(const held_container &input, std::vector<std::string> words) {
    const std::string_view bytes = input.view.bytes.view();
    write_file("c.tdm", bytes);
    const size_t files = files_in(".").size();
    const int status = run(std::move(words));
    outcome result{status, held_container(read_file("c.tdm"))};
    require(files_in(".").size() == files, "a file is left");
    require(status == 0 || result.after.view.bytes.view() == bytes, "refused, and changed");
    require(!is_sound(input.view) || is_sound(result.after.view), "not sound any more");
    return result;
}

// A word of the command line that names the version, empty when there is none.
std::string word_for(const norvik::container_view &view, const norvik::version_record &version) {
    for (const std::string &word : {version_name(view, version.id), std::string(version.oid)}) {
        const auto found = resolve_version(view, word);
        if (found && (*found)->id == version.id) {
            return word;
        }
    }
    return "";
}

// Whether enough stays: without its first version a container could be left with none.
bool can_delete_from(const held_container &input) {
    const norvik::version_record *first =
        input.opened ? norvik::find_version(input.view, {0, 0}) : nullptr;
    return first != nullptr && !first->deleted && texts_of(input).contains({0, 0});
}

}  // namespace

// Whatever a check-in is built on, the new version reads back and the old ones stay; what verify
// passes it takes, and what the scan sees it refuses.
void checkin(std::string_view bytes) {
    const held_container input(bytes);
    if (!input.opened || input.view.versions.empty()) {
        return;
    }
    choices random(bytes);
    const norvik::version_record &base = random.of(input.view.versions);
    const norvik::branch_record *branch = norvik::find_branch(input.view, base.id.branch);
    const std::string word = word_for(input.view, base);
    if (branch == nullptr || word.empty() || base.deleted ||
        norvik::find_branch(input.view, branch->oid) != branch) {
        return;
    }
    std::vector<std::string> lines =
        split(walked_text(input.view, base.id).value_or("all\nis\nnew\n"));
    edit_lines(&lines, &random);
    // Unreadable text is refused for its own sake.
    const std::string text = texts_of_input(join(lines), 1, 1).front();
    write_file("t", text);
    std::vector<std::string> words = {"checkin", "-q", "--allow-same", "--", "c.tdm", "t"};
    const bool fork = random.below(4) == 0;
    words.insert(words.begin() + 1, "--branch=" + (fork ? "new" : std::string(branch->oid)));
    words.insert(words.begin() + 1, fork ? "--from=" + word : "-q");
    const auto [status, after] = change(input, words);
    if (status != 0) {
        // A full container has no number for a branch, a full branch none for a version.
        require(!is_sound(input.view) || !norvik::next_branch_number(input.view) ||
                    !norvik::next_version_number(input.view, base.id.branch),
                "verify passes it");
        return;
    }
    require(!norvik::scan_structure(input.view), "the scan refuses it");
    texts_by_id texts = texts_of(after);
    const norvik::version_id fresh = after.view.versions.front().id;
    require(texts[fresh] == text, "the new version is another text");
    texts.erase(fresh);
    require(texts == texts_of(input), "an old version has changed");
}

// From what verify passes every version but the first can be deleted; all others keep their texts.
// Nothing is deleted from anything else.
void delete_versions(std::string_view bytes) {
    const held_container input(bytes);
    if (!can_delete_from(input)) {
        return;
    }
    choices random(bytes);
    texts_by_id expected = texts_of(input);
    std::vector<std::string> words = {"delete", "-q", "--yes", "--", "c.tdm"};
    for (size_t count = 1 + random.below(3); count > 0; count--) {
        const norvik::version_record &version = random.of(input.view.versions);
        const std::string word = word_for(input.view, version);
        if (version.id != norvik::version_id{0, 0} && !word.empty() && expected.erase(version.id)) {
            words.push_back(word);
        }
    }
    if (words.size() > 5) {
        const bool sound = is_sound(input.view);
        const auto [status, after] = change(input, words);
        require(status == (sound ? 0 : 2), "a wrong exit status");
        require(!sound || texts_of(after) == expected, "survivors have changed");
    }
}

// Every survivor keeps its text, and what a live version alone has brought is in no line any more.
void purge(std::string_view bytes) {
    const held_container input(bytes);
    if (!can_delete_from(input) || !is_sound(input.view)) {
        return;
    }
    choices random(bytes);
    const norvik::version_record &version = random.of(input.view.versions);
    const std::string oid(version.oid);
    const std::string word = version.deleted ? oid : word_for(input.view, version);
    if (version.id == norvik::version_id{0, 0} || word.empty()) {
        return;
    }
    texts_by_id expected = texts_of(input);
    expected.erase(version.id);
    std::set<std::string> brought;
    if (!version.deleted) {
        for (const std::string &line : split(library_text(input, oid, 1).value_or(""))) {
            if (line.starts_with("I " + oid + " ")) {
                brought.insert(line.substr(oid.size() + 3));
            }
        }
    }
    const auto [status, after] = change(input, {"purge", "-q", "--yes", "--", "c.tdm", word});
    require(status < 2 || version.deleted, "a sound container is refused");
    if (status != 0) {
        return;
    }
    require(texts_of(after) == expected, "survivors have changed");
    for (const auto &[id, text] : expected) {
        for (const std::string &line : split(text)) {
            brought.erase(line + (line.ends_with('\n') ? "" : "\n"));
        }
    }
    for (const std::string &line : split(after.view.bytes.view().substr(after.view.weave_offset))) {
        const std::string text(norvik::text_of(line));
        const bool is_text = norvik::holds_text(format::kind_of(line));
        require(!is_text || !brought.contains(text + (text.ends_with('\n') ? "" : "\n")),
                "a copy is left");
    }
}

// What repair saves is sound, and says of every version what reading the damaged container says.
void repair(std::string_view bytes) {
    const held_container input(bytes);
    if (!input.opened) {
        return;
    }
    write_file("new.tdm", "");
    const auto [status, after] = change(input, {"repair", "-q", "-f", "-o", "new.tdm", "c.tdm"});
    require(after.view.bytes.view() == bytes, "the damaged container has changed");
    require(status == 0 || bytes.empty() || !is_sound(input.view), "sound, and not saved");
    const std::string saved = read_file("new.tdm");
    require(!saved.empty() || status != 0, "nothing is saved, and that is success");
    const held_container output(saved);
    require(saved.empty() || is_sound(output.view), "what is saved is not sound");
    for (const auto &[id, text] : texts_of(output)) {
        require(id == norvik::version_id{0, 0} || walked_text(input.view, id) == text,
                "a saved text is another one");
    }
}

}  // namespace fuzz

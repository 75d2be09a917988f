// Whatever a check-in is built on, the new version reads back and the old ones stay; what verify
// passes it takes, and what the scan sees it refuses.
#include "structure.h"
#include "support.h"

namespace {

struct plan {
    std::vector<std::string> words = {"checkin", "-q", "--allow-same"};
    std::string text;
};

// A version to build on and an edit of its text; none where no word names the branch.
bool make_plan(const fuzz::held_container &input, fuzz::choices *random, plan *out) {
    const auto &base = input.view.versions[random->below(input.view.versions.size())];
    const host::branch_record *branch = host::find_branch(input.view, base.id.branch);
    const std::string word = fuzz::word_for(input.view, base);
    if (branch == nullptr || word.empty() || host::find_branch(input.view, branch->oid) != branch) {
        return false;
    }
    const bool fork = random->below(4) == 0;
    out->words.push_back("--branch=" + (fork ? "a-new-branch" : std::string(branch->oid)));
    if (fork) {
        out->words.push_back("--from=" + word);
    }
    std::vector<std::string> lines =
        fuzz::split(fuzz::walked_text(input.view, base.id).value_or("all\nis\nnew\n"));
    fuzz::edit_lines(&lines, random);
    // Unreadable text is refused for its own sake.
    out->text = fuzz::texts_of_input(fuzz::join(lines), 1, 1).front();
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view bytes = fuzz::bytes_of(data, size);
    const fuzz::held_container input(bytes);
    fuzz::choices random(bytes);
    plan next;
    if (!input.opened || input.view.versions.empty() || !make_plan(input, &random, &next)) {
        return 0;
    }
    next.words.insert(next.words.end(), {"--", "c.tdm", "t"});
    fuzz::write_file("c.tdm", bytes);
    fuzz::write_file("t", next.text);
    const int status = fuzz::run(next.words);
    const fuzz::held_container output(fuzz::read_file("c.tdm"));
    fuzz::require(fuzz::files_here().size() == 2, "a file is left");
    const bool sound = fuzz::is_sound(input.view);
    if (status != 0) {
        fuzz::require(output.view.bytes.view() == bytes, "refused, and changed");
        fuzz::require(!sound || !host::next_branch_number(input.view), "verify passes it");
        return 0;
    }
    fuzz::require(!host::scan_structure(input.view), "the scan refuses it");
    fuzz::require(!sound || fuzz::is_sound(output.view), "not sound any more");
    fuzz::texts_by_id texts = fuzz::texts_of(output);
    const host::version_record &fresh = output.view.versions.front();
    fuzz::require(texts[fresh.id] == next.text, "the new version is another text");
    texts.erase(fresh.id);
    fuzz::require(texts == fuzz::texts_of(input), "an old version has changed");
    return 0;
}

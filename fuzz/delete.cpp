// From what verify passes every version but the first can be deleted; all others keep their texts.
// Nothing is deleted from anything else.
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view bytes = fuzz::bytes_of(data, size);
    const fuzz::held_container input(bytes);
    if (!input.opened || input.view.versions.size() < 2) {
        return 0;
    }
    fuzz::choices random(bytes);
    fuzz::texts_by_id expected = fuzz::texts_of(input);
    std::vector<std::string> words = {"delete", "-q", "--yes", "--", "c.tdm"};
    for (size_t count = 1 + random.below(3); count > 0; count--) {
        const auto &version = input.view.versions[random.below(input.view.versions.size())];
        const std::string word = fuzz::word_for(input.view, version);
        if (version.id != host::version_id{0, 0} && !word.empty() && expected.erase(version.id)) {
            words.push_back(word);
        }
    }
    // Without its first version a container could be left with none.
    if (words.size() == 5 || !expected.contains({0, 0})) {
        return 0;
    }
    fuzz::write_file("c.tdm", bytes);
    const bool sound = fuzz::is_sound(input.view);
    fuzz::require(fuzz::run(words) == (sound ? 0 : 2), "a wrong exit status");
    const fuzz::held_container output(fuzz::read_file("c.tdm"));
    if (!sound) {
        fuzz::require(output.view.bytes.view() == bytes, "refused, and changed");
        return 0;
    }
    fuzz::require(fuzz::is_sound(output.view), "not sound any more");
    fuzz::require(fuzz::texts_of(output) == expected, "survivors have changed");
    fuzz::require(fuzz::files_here().size() == 1, "a file is left");
    return 0;
}

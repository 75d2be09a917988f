// What purge takes out of a sound container is in it no more, and every survivor keeps its text.
#include <set>

#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view bytes = fuzz::bytes_of(data, size);
    const fuzz::held_container input(bytes);
    if (!input.opened || input.view.versions.size() < 2 || !fuzz::is_sound(input.view)) {
        return 0;
    }
    fuzz::choices random(bytes);
    const auto &version = input.view.versions[random.below(input.view.versions.size())];
    const std::string word =
        version.deleted ? std::string(version.oid) : fuzz::word_for(input.view, version);
    if (version.id == host::version_id{0, 0} || word.empty()) {
        return 0;
    }
    fuzz::texts_by_id expected = fuzz::texts_of(input);
    expected.erase(version.id);
    // Without its first version a container could be left with none.
    if (!expected.contains({0, 0})) {
        return 0;
    }
    fuzz::write_file("c.tdm", bytes);
    const int status = fuzz::run({"purge", "-q", "--yes", "--", "c.tdm", word});
    const fuzz::held_container output(fuzz::read_file("c.tdm"));
    fuzz::require(fuzz::files_here().size() == 1, "a file is left");
    if (status != 0) {
        fuzz::require(output.view.bytes.view() == bytes, "refused, and changed");
        fuzz::require(status == 1 || version.deleted, "a sound container is refused");
        return 0;
    }
    fuzz::require(fuzz::is_sound(output.view), "not sound any more");
    fuzz::require(fuzz::texts_of(output) == expected, "survivors have changed");
    // Its lines that nobody holds when it is gone: those that nobody held in the output.
    std::set<std::string, std::less<>> held;
    std::set<std::string, std::less<>> unheld;
    fuzz::visit_lines(output.view, [&](host::version_id run, std::string_view text, bool by_some) {
        (by_some ? held : unheld).emplace(text);
        fuzz::require(run != version.id || by_some, "a line of the purged version is left");
    });
    fuzz::visit_lines(input.view, [&](host::version_id run, std::string_view text, bool) {
        fuzz::require(run != version.id || held.contains(text) || !unheld.contains(text),
                      "a copy of a purged line is left");
    });
    return 0;
}

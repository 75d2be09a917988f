// Annotated text without its annotation is the plain text, and names versions that are there.
#include <set>

#include "support.h"

namespace {

// The lines that the version has, as in a plain text whose last line ends.
std::string stripped(const std::string &annotated,
                     const std::set<std::string, std::less<>> &known) {
    std::string text;
    for (const std::string &line : fuzz::split(annotated)) {
        const size_t blank = line.find(' ', 2);
        fuzz::require(blank != std::string::npos &&
                          std::string_view("IDU").find(line[0]) != std::string_view::npos &&
                          line[1] == ' ',
                      "an annotated line of no known form");
        const std::string_view names = std::string_view(line).substr(2, blank - 2);
        const size_t comma = line[0] == 'D' ? names.find(',') : std::string_view::npos;
        fuzz::require(known.contains(names.substr(0, comma)), "an unknown version is named");
        text += line[0] == 'I' ? line.substr(blank + 1) : "";
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const fuzz::held_container input(fuzz::bytes_of(data, size));
    if (!input.opened || !fuzz::is_sound(input.view)) {
        return 0;
    }
    std::set<std::string, std::less<>> known{std::string(32, '0')};
    for (const host::version_record &version : input.view.versions) {
        known.emplace(version.oid);
    }
    for (auto &[id, text] : fuzz::texts_of(input)) {
        text += text.empty() || text.back() == '\n' ? "" : "\n";
        const std::string oid(host::find_version(input.view, id)->oid);
        for (const uint32_t flags : {1u, 3u, 5u, 7u}) {
            const auto annotated = fuzz::library_text(input.file.path(), oid, flags);
            fuzz::require(annotated && stripped(*annotated, known) == text,
                          "the annotated text is another one");
        }
    }
    return 0;
}

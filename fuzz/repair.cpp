// What repair saves is sound, and says of every version what reading the damaged container says.
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view bytes = fuzz::bytes_of(data, size);
    const fuzz::held_container input(bytes);
    if (!input.opened) {
        return 0;
    }
    fuzz::write_file("c.tdm", bytes);
    const int status = fuzz::run({"repair", "-q", "-f", "-o", "new.tdm", "c.tdm"});
    const std::string saved = fuzz::read_file("new.tdm");
    (void)std::remove("new.tdm");
    fuzz::require(fuzz::read_file("c.tdm") == bytes, "the damaged container has changed");
    fuzz::require(fuzz::files_here().size() == 1, "a file is left");
    if (fuzz::is_sound(input.view) && !bytes.empty()) {
        fuzz::require(status == 0, "a sound container is not saved");
    }
    if (saved.empty()) {
        fuzz::require(status != 0, "nothing is saved, and that is success");
        return 0;
    }
    const fuzz::held_container output(saved);
    fuzz::require(fuzz::is_sound(output.view), "what is saved is not sound");
    for (const auto &[id, text] : fuzz::texts_of(output)) {
        if (id != host::version_id{0, 0}) {
            fuzz::require(fuzz::walked_text(input.view, id) == text, "a saved text is another one");
        }
    }
    return 0;
}

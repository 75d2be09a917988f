// A merge is the same in every order of its contributors; one that is there twice, or has changed
// nothing, makes no difference; one alone is taken; no line comes from nowhere.
#include <algorithm>
#include <set>

#include "support.h"

namespace {

struct outcome {
    int status;
    std::string text;  // of a clean merge
    friend bool operator==(const outcome &, const outcome &) = default;
};

outcome merge(std::vector<std::string> words) {
    words.insert(words.begin(), {"merge", "-q", "-f", "-o", "out"});
    const int status = fuzz::run(std::move(words));
    fuzz::require(status < 2, "texts that cannot be merged");
    return {status, status == 0 ? fuzz::read_file("out") : ""};
}

void check_lines(const std::vector<std::string> &texts, const std::string &merged) {
    std::set<std::string> known;
    for (const std::string &text : texts) {
        for (const std::string &line : fuzz::split(text)) {
            known.insert(line);
        }
    }
    for (const std::string &line : fuzz::split(merged)) {
        // A last line may have got its newline.
        fuzz::require(known.contains(line) || known.contains(line.substr(0, line.size() - 1)),
                      "a line comes from nowhere");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto texts = fuzz::texts_of_input(fuzz::bytes_of(data, size), 3, 5);
    std::vector<std::string> names;
    for (size_t i = 0; i < texts.size(); i++) {
        names.push_back("text" + std::to_string(i));
        fuzz::write_file(names[i], texts[i]);
    }
    fuzz::write_file("again", texts[1]);
    fuzz::write_file("same", texts[0]);
    const outcome first = merge(names);
    check_lines(texts, first.text);
    std::vector<std::string> others = names;
    std::reverse(others.begin() + 1, others.end());
    fuzz::require(merge(others) == first, "the order of the contributors decides");
    others.push_back("again");
    fuzz::require(merge(others) == first, "a contributor that is there twice decides");
    others.back() = "same";
    fuzz::require(merge(others) == first, "a contributor without changes decides");
    for (size_t i = 1; i < texts.size(); i++) {
        fuzz::require(merge({names[0], names[i], "same"}) == outcome{0, texts[i]},
                      "the only change is not taken");
    }
    for (const std::string &name : fuzz::files_here()) {
        (void)std::remove(name.c_str());
    }
    return 0;
}

// Merges of texts.
#include <algorithm>

#include "targets.h"
#include "text_lines.h"

namespace fuzz {

namespace {

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

// Where nobody has fewer of a line than the base, the merge has as many as the one that has most. A
// clean one has only lines of the texts, and where nobody has more than the base, no more than the
// one that has fewest.
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
        if (host::is_significant(line)) {
            require(*least < numbers[0] || numbers.back() >= *most, "a line is lost");
            require(*most > numbers[0] || numbers.back() <= *least || !clean, "a line is doubled");
        }
    }
}

}  // namespace

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

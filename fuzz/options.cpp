#include <algorithm>
#include <sstream>

#include "commands.h"
#include "targets.h"

namespace fuzz {

namespace {

constexpr std::string_view container =
    "^S db1 0\n^V v2 0 2 2\n^V v1 0 1 1\n^V v0 0 0 0\n^B main 0 0 0\n^E e\n"
    "^I 0 1 2\none\n^D 0 2 1\ntwo\n^I 0 2 1\nthree\n";

std::vector<std::string> words_of(std::string_view input) {
    std::vector<std::string> words;
    for (std::string word : split(input.substr(0, 2000))) {
        // Nothing outside of the folder may be named; and an end of the word is its end.
        word = word.substr(0, word.find_first_of(std::string_view("/\n\0", 3)));
        words.push_back(word == ".." ? "" : word);
    }
    return words;
}

// Of what the options' target is to put into its command lines.
std::vector<std::string> known_words() {
    std::istringstream options(
        "--help -h --json -q --force --dry-run --yes -o new c.tdm a.txt b.txt main@1 main v1 - -- "
        "--branch --branch=x --from=main@1 --all --deleted --raw --porcelain --stat -y --word -W "
        "80 --brief -U1 -c --label --git --style merge zdiff3 --report --mq --strict --adjacent "
        "--marker-size=3 --time=@5 --allow-same --from-list --digests -n1 --oneline --reverse "
        "--lock-timeout=0 --drop-stray --color=always --base=main@1 --no-base --update --damaged");
    std::vector<std::string> words;
    for (std::string word; options >> word;) {
        words.push_back(word + "\n");
    }
    for (const norvik::command_entry &entry : norvik::command_table()) {
        words.push_back(entry.name + std::string("\n"));
    }
    return words;
}

}  // namespace

// Any command line, one word a line, on a folder of small files: an exit status from 0 to 2; only a
// success changes the container, none of a rehearsal, and no text that is not named as an output.
void options(std::string_view input) {
    static const bool filled = (word_list() = known_words(), true);
    (void)filled;
    write_file("a.txt", "one\ntwo\n");
    write_file("b.txt", "one\nthree\n");
    write_file("c.tdm", container);
    const std::vector<std::string> words = words_of(input);
    const int status = run(words);
    // Only what is named as an output, or to git's driver, is a text that may change.
    if (std::any_of(words.begin(), words.end(), [](const std::string &word) {
            return word == "git-merge" || word.starts_with("--rep") || word.starts_with("--out") ||
                   word.starts_with("--up") ||
                   (word.starts_with("-") && word.find('o') != std::string::npos);
        })) {
        return;
    }
    require(read_file("a.txt") == "one\ntwo\n", "a text has changed");
    const std::string left = read_file("c.tdm");
    require(is_sound(held_container(left).view), "a container is unsound");
    require(status == 0 || left == container, "a failure has changed the container");
    const bool dry = std::find(words.begin(), words.end(), "--dry-run") != words.end();
    require(!dry || left == container, "a rehearsal has changed the container");
}

}  // namespace fuzz

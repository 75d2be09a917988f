// Any command line, one word a line, on a folder of small files: an exit status from 0 to 2; only a
// success changes the container, none of a rehearsal, and no text that is not named as an output.
#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

#include "cli.h"
#include "support.h"

namespace {

const std::map<std::string, std::string> &given_files() {
    static const std::map<std::string, std::string> files = {
        {"a.txt", "one\ntwo\n"},
        {"b.txt", "one\nthree\n"},
        {"c.tdm",
         "^S db1 0\n^V v2 0 2 2\n^V v1 0 1 1\n^V v0 0 0 0\n^B main 0 0 0\n^E e\n"
         "^I 0 1 2\none\n^D 0 2 1\ntwo\n^I 0 2 1\nthree\n"}};
    return files;
}

std::vector<std::string> words_of(std::string_view input) {
    std::vector<std::string> words;
    for (std::string word : fuzz::split(input.substr(0, 2000))) {
        // Nothing outside of the folder may be named; and an end of the word is its end.
        word = word.substr(0, word.find_first_of(std::string_view("/\n\0", 3)));
        words.push_back(word == ".." ? "" : word);
    }
    return words;
}

void fill_word_list() {
    std::istringstream options(
        "--help -h --json -q --force --dry-run --yes -o new c.tdm a.txt b.txt main@1 main v1 - -- "
        "--branch --branch=x --from=main@1 --all --deleted --raw --porcelain --stat -y --word -W "
        "80 --brief -U1 -c --label --git --style merge zdiff3 --report --mq --strict --adjacent "
        "--marker-size=3 --time=@5 --allow-same --from-list --digests -n1 --oneline --reverse "
        "--lock-timeout=0 --drop-stray --color=always");
    fuzz::word_list().clear();
    for (std::string word; options >> word;) {
        fuzz::word_list().push_back(word + "\n");
    }
    for (const host::command_entry &entry : host::command_table()) {
        fuzz::word_list().push_back(entry.name + std::string("\n"));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool filled = (fill_word_list(), true);
    (void)filled;
    for (const auto &[name, bytes] : given_files()) {
        fuzz::write_file(name, bytes);
    }
    const std::vector<std::string> words = words_of(fuzz::bytes_of(data, size));
    const int status = fuzz::run(words);
    // Only what is named as an output, or to git's driver, is a text that may change.
    const bool names_outputs = std::any_of(words.begin(), words.end(), [](const std::string &word) {
        return word == "git-merge" || word.starts_with("--rep") || word.starts_with("--out") ||
               (word.starts_with("-") && word.find('o') != std::string::npos);
    });
    fuzz::require(names_outputs || fuzz::read_file("a.txt") == given_files().at("a.txt"),
                  "a text has changed");
    const std::string left = fuzz::read_file("c.tdm");
    const fuzz::held_container container(left);
    fuzz::require(names_outputs || fuzz::is_sound(container.view), "a container is unsound");
    const bool same = left == given_files().at("c.tdm");
    fuzz::require(names_outputs || status == 0 || same, "a failure has changed the container");
    const bool dry = std::find(words.begin(), words.end(), "--dry-run") != words.end();
    fuzz::require(names_outputs || !dry || same, "a rehearsal has changed the container");
    for (const std::string &name : fuzz::files_here()) {
        std::filesystem::remove_all(name);
    }
    return 0;
}

#include "command_in_process.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "cli.h"
#include "redirection.h"

namespace {

std::string normal(std::string text) {
    const auto is_hex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
    for (auto at = text.begin(); at != text.end();) {
        const auto end = std::find_if_not(at, text.end(), is_hex);
        const bool is_chance = end - at == 32 || end - at == 16;  // identifiers and digests
        std::fill(at, is_chance ? end : at, 'x');
        at = end == text.end() ? end : end + 1;
    }
    return text;
}

}  // namespace

long open_descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

void command_in_process::SetUp() {
    setenv("SOURCE_DATE_EPOCH", "5", 1);
    std::string text;
    for (int i = 0; i < 6; i++) {
        text = "line " + std::to_string(i) + "\n" + text + (i % 2 == 0 ? "^mark\n" : "x");
        write_file("t" + std::to_string(i), text);
    }
    tdm({"create", "c"});
    tdm({"import", "c", "t0", "t1", "t2"});
    tdm({"checkin", "c", "t3", "--branch", "draft", "--from", "main@2"});
    std::string bad = read_file("c");
    const size_t lost = bad.find("\n^V") + 1;
    write_file("d", tdm({"verify", "--json", "c"}).out);
    write_file("bad", bad.erase(lost, bad.find('\n', lost) + 1 - lost));
    before_ = contents();
}

folder_contents command_in_process::contents() {
    folder_contents files;
    for (const std::string &name : files_in(".")) {
        files[name] = read_file(name);
    }
    return files;
}

folder_contents command_in_process::normal_contents() {
    folder_contents now = contents();
    for (auto &[name, bytes] : now) {
        bytes = normal(bytes);
    }
    return now;
}

void command_in_process::restore() {
    for (const std::string &name : files_in(".")) {
        std::filesystem::remove(name);
    }
    for (const auto &[name, bytes] : before_) {
        write_file(name, bytes);
    }
}

command_result command_in_process::run_here(
    const std::string &line, const std::function<int(const std::function<int()> &)> &around) {
    if (contents() != before_) {
        restore();
    }
    std::string room = "tdm " + line;
    std::vector<char *> words{room.data()};
    for (char &byte : room) {
        if (byte == ' ') {
            byte = '\0';
            words.push_back(&byte + 1);
        }
    }
    const support::scratch_file in("^input\nline"), out, err;
    command_result result;
    {
        const support::redirection from(STDIN_FILENO, in.descriptor);
        const support::redirection to(STDOUT_FILENO, out.descriptor);
        const support::redirection words_to(STDERR_FILENO, err.descriptor);
        result.status = around(
            [&] { return norvik::run_command_line(static_cast<int>(words.size()), words.data()); });
    }
    result.out = normal(out.contents());
    result.err = err.contents();
    return result;
}

bool command_in_process::is_partly_done(const folder_contents &now,
                                        const folder_contents &after) const {
    return std::ranges::all_of(now, [&](const auto &file) {
        const auto &[name, bytes] = file;
        const auto old = before_.find(name);
        const auto fresh = after.find(name);
        return (old != before_.end() && bytes == normal(old->second)) ||
               (fresh != after.end() && bytes == fresh->second);
    });
}

bool command_in_process::is_done(const command_result &result, const command_result &plain,
                                 const folder_contents &after) {
    return result.status == plain.status && result.out == plain.out && normal_contents() == after;
}

bool command_in_process::keeps_both_sides(const command_result &result) {
    const std::string ours = before_["t2"] + (before_["t2"].ends_with('\n') ? "" : "\n");
    return result.status == 1 && result.err.find("both sides are kept") != std::string::npos &&
           read_file("t2").find("\n" + ours + "=") < 20;
}

// Every command in process, with its n-th allocation failing, alone and with all that follow.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>

#include "cli.h"
#include "command/run_command.h"
#include "failing_allocator.h"
#include "redirection.h"

namespace {

using folder_contents = std::map<std::string, std::string>;

folder_contents contents() {
    folder_contents files;
    for (const std::string &name : files_in(".")) {
        files[name] = read_file(name);
    }
    return files;
}

// Identifiers made at random are all alike.
std::string normal(std::string text) {
    const auto is_hex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
    for (auto at = text.begin(); at != text.end();) {
        const auto end = std::find_if_not(at, text.end(), is_hex);
        std::fill(at, end - at == 32 ? end : at, 'x');
        at = end == text.end() ? end : end + 1;
    }
    return text;
}

long open_descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// The values of the JSON library that --digests reads take memory in their destructors, and a
// command that gets none there ends its process where it stands: a child then runs it.
int end_of_own_process(const std::function<int()> &run) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(run());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

class out_of_memory : public ::testing::Test {
protected:
    void SetUp() override {
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

    void restore() {
        for (const std::string &name : files_in(".")) {
            std::filesystem::remove(name);
        }
        for (const auto &[name, bytes] : before_) {
            write_file(name, bytes);
        }
    }

    command_result run_here(const std::string &line) {
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
            const auto run = [&] {
                allocator.count = 0;
                allocator.counts = true;
                return norvik::run_command_line(static_cast<int>(words.size()), words.data());
            };
            const bool apart = allocator.fails_at != 0 && line.find("--digests") != line.npos;
            result.status = apart ? end_of_own_process(run) : run();
            allocator.counts = false;
        }
        result.out = normal(out.contents());
        result.err = err.contents();
        return result;
    }

    folder_contents normal_contents() {
        folder_contents now = contents();
        for (auto &[name, bytes] : now) {
            bytes = normal(bytes);
        }
        return now;
    }

    // Whether every file is as it was or as it should become: one of several may be in place.
    bool is_partly_done(const folder_contents &now, const folder_contents &after) {
        return std::ranges::all_of(now, [&](const auto &file) {
            const auto &[name, bytes] = file;
            const auto old = before_.find(name);
            const auto fresh = after.find(name);
            return (old != before_.end() && bytes == normal(old->second)) ||
                   (fresh != after.end() && bytes == fresh->second);
        });
    }

    // Whether a run in which an allocation failed has ended as it may.
    bool is_in_order(const command_result &result, const command_result &plain,
                     const folder_contents &after) {
        const folder_contents now = normal_contents();
        const bool done = now == after;
        if (result.status == plain.status && done && result.out == plain.out) {
            return true;
        }
        if (result.err.find("both sides are kept") != std::string::npos) {
            const std::string ours = before_["t2"] + (before_["t2"].ends_with('\n') ? "" : "\n");
            return result.status == 1 && read_file("t2").find("\n" + ours + "=") < 20;
        }
        const bool replaced = result.err.find("is replaced") != std::string::npos;
        return result.status == 2 && result.err.find("out of memory") != std::string::npos &&
               (contents() == before_ || (replaced && is_partly_done(now, after)));
    }

    scratch_folder folder_;
    folder_contents before_;
};

TEST_F(out_of_memory, ends_every_command_in_order) {
    const long most_open = open_descriptors() + 1;  // the library's last temporary file stays
    long runs = 0;
    for (const char *line : {"checkin c t4",
                             "checkin c - --branch n --from main@1",
                             "import c t4 t5",
                             "branch c n main@1",
                             "create n",
                             "delete c main@2 --yes",
                             "delete c main@2 --dry-run",
                             "purge c draft@1 --yes",
                             "repair bad -o n",
                             "checkout c main@1 -f -o t5",
                             "checkout c draft",
                             "merge t1 t2 t3 -f -o t0 --report n",
                             "merge --mq 2 t1 t2 t3 -f -o t0",
                             "git-merge t1 t2 t3",
                             "diff t1 t3",
                             "diff -y t1 t3",
                             "diff --word t1 t3",
                             "diff -c c main@1 main@3",
                             "annotate c --all",
                             "log c",
                             "show c main@2",
                             "info c -o n",
                             "dump c",
                             "list c",
                             "config git",
                             "verify c",
                             "verify --json c bad",
                             "verify --digests d c",
                             "merge --json t1 t2 t3 -f -o t0",
                             "diff --json t1 t3",
                             "log --json c",
                             "list --json c",
                             "checkin --help"}) {
        allocator.fails_at = 0;
        const command_result plain = run_here(line);
        ASSERT_LT(plain.status, 2) << line << ": " << plain.err;
        const long total = allocator.count;
        EXPECT_GT(total, 30) << line;
        const folder_contents after = normal_contents();
        for (const bool on : {false, true}) {
            for (long at = 1; at <= total; at++) {
                allocator.fails_at = at;
                allocator.fails_on = on;
                const command_result result = run_here(line);
                EXPECT_TRUE(is_in_order(result, plain, after))
                    << line << ", allocation " << at << (on ? " and all after it" : "") << ": "
                    << result.status << " " << result.err;
                runs++;
            }
        }
        EXPECT_LE(open_descriptors(), most_open) << line;
        std::printf("%6ld allocations: %s\n", total, line);
    }
    std::printf("%6ld runs\n", runs);
}

}  // namespace

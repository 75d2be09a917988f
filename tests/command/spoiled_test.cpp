// What a changing command has written is spoiled before it is proven: every command must refuse,
// and leave the old container as it is.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "cli.h"
#include "run_command.h"
#include "small_texts.h"

namespace {

enum class spoil { drop, repeat, alter, source, unpurged };

struct planned_spoil {
    spoil how = spoil::drop;
    size_t line = SIZE_MAX;  // from 0; none when it is beyond the file
    bool done = false;
};
planned_spoil plan;

void spoil_file(int descriptor, off_t size) {
    std::string bytes(static_cast<size_t>(size), '\0');
    ASSERT_EQ(pread(descriptor, bytes.data(), bytes.size(), 0), size);
    if (plan.how == spoil::source) {
        write_file("text", read_file("text") + "more meanwhile\n");
        return;
    }
    std::vector<std::string> lines = split_lines(bytes);
    ASSERT_LT(plan.line, lines.size());
    const auto place = lines.begin() + static_cast<long>(plan.line);
    if (plan.how == spoil::unpurged) {
        lines = {read_file("unpurged")};
    } else if (plan.how == spoil::drop) {
        lines.erase(place);
    } else if (plan.how == spoil::repeat) {
        lines.insert(place, std::string(*place));
    } else {
        (*place)[place->size() - 2] ^= 1;
    }
    bytes = joined(lines);
    ASSERT_EQ(ftruncate(descriptor, 0), 0);
    ASSERT_EQ(pwrite(descriptor, bytes.data(), bytes.size(), 0), static_cast<long>(bytes.size()));
}

}  // namespace

// In place of the system's: all that is proven is looked at by its descriptor first.
extern "C" int fstat(int descriptor, struct stat *status) noexcept {
    const auto look = [&] {
        return static_cast<int>(syscall(SYS_newfstatat, descriptor, "", status, AT_EMPTY_PATH));
    };
    const int result = look();
    if (plan.line == SIZE_MAX || plan.done || result != 0 || status->st_size == 0 ||
        (fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDWR) {
        return result;
    }
    char name[4096] = "";
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    if (readlink(link.c_str(), name, sizeof name - 1) < 0 || strstr(name, "/.tdm-") == nullptr) {
        return result;
    }
    plan.done = true;
    spoil_file(descriptor, status->st_size);
    return look();
}

// Nothing here outlives the power.
extern "C" int fsync(int descriptor) {
    return plan.line == SIZE_MAX ? static_cast<int>(syscall(SYS_fsync, descriptor)) : 0;
}

namespace {

constexpr const char *sound =
    "^S db1 1\n^V ver4 0 4 7\n^V ver6 1 2 6\n^V ver5 1 1 5\n^B draft 1 0 2\n^#^V ver3 0 3 4\n"
    "^V ver2 0 2 3\n^V ver1 0 1 2\n^V ver0 0 0 1\n^B main 0 0 0\n^E elem\n^I 0 1 4\na\n^I 0 4 1\n"
    "four\n^D 0 2 1\nb\n^I 0 2 2\n^Q ^q\n^I 1 1 1\ndraft\nx\n^D 0 3 1\nc\nd\n^I 0 3 1\n^N end\n";

// Runs the command in a process of its own, with the library's and the command's code in it.
int run_spoiled(const std::string &words, spoil how, size_t line) {
    const pid_t child = fork();
    if (child == 0) {
        plan = {how, line, false};
        const int quiet = open("/dev/null", O_WRONLY);
        dup2(quiet, STDOUT_FILENO);
        dup2(open("told", O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        std::vector<std::string> copies = words_of("tdm " + words);
        std::vector<char *> arguments;
        for (std::string &word : copies) {
            arguments.push_back(word.data());
        }
        const int status =
            norvik::run_command_line(static_cast<int>(arguments.size()), arguments.data());
        _exit(plan.done || line == SIZE_MAX ? status : 99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
}

TEST(spoiled, whatever_is_written_wrong_is_refused_before_it_counts) {
    const struct {
        const char *words, *target;
        std::string shown_by_none;  // a line that no living version needs
    } rows[] = {
        {"checkin c text", "c", {}},
        {"checkin c text --branch new --from main@2", "c", {}},
        {"import c text text2", "c", {}},
        {"branch c new main@2", "c", {}},
        {"delete c main@1 draft@2 --yes", "c", "b\n"},
        {"purge c main@4 --yes", "c", {}},
        {"checkout c -f -o saved", "saved", {}},
        {"info c -f -o saved", "saved", {}},
        {"repair bad -f -o saved", "saved", "^#^V ver3 0 3 4\n"},
    };
    const scratch_folder folder;
    const std::string text = "a\nfour\nnew\n^q\n";
    write_file("text", text);
    write_file("text2", "a\nother\n");
    std::string bad = sound;
    bad[bad.find("^V ver6 1 2 6") + 12] = 'z';
    write_file("bad", bad);
    write_file("saved", "before\n");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.words);
        write_file("c", sound);
        const std::string old = read_file(row.target);
        ASSERT_LT(run_spoiled(row.words, spoil::drop, SIZE_MAX), 2) << read_file("told");
        const std::vector<std::string> lines = split_lines(read_file(row.target));
        const std::vector<std::string> names = files_in(".");
        for (size_t line = 0; line < lines.size(); line++) {
            for (const spoil how : {spoil::drop, spoil::repeat, spoil::alter}) {
                if (how == spoil::alter && lines[line] == row.shown_by_none) {
                    continue;
                }
                write_file(row.target, old);
                EXPECT_EQ(run_spoiled(row.words, how, line), 2)
                    << static_cast<int>(how) << " line " << line + 1 << ": " << lines[line];
                EXPECT_EQ(read_file(row.target), old);
            }
        }
        EXPECT_EQ(files_in("."), names);
        if (std::string(row.words).starts_with("import")) {
            write_file("c", sound);
            EXPECT_EQ(run_spoiled(row.words, spoil::source, 0), 2);
            write_file("text", text);
        }
        write_file(row.target, old);
    }
    // All survivors are right, but the version's line is in the file still.
    ASSERT_EQ(tdm("delete c main@1 --yes -q").status, 0);
    write_file("unpurged", read_file("c"));
    write_file("c", sound);
    EXPECT_EQ(run_spoiled("purge c main@1 --yes", spoil::unpurged, 0), 2);
    EXPECT_EQ(read_file("c"), sound);
}

}  // namespace

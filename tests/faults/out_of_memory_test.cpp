// Every command in process, with its n-th allocation failing, alone and with all that follow.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "command_in_process.h"
#include "failing_allocator.h"

namespace {

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

class out_of_memory : public command_in_process {
protected:
    command_result run_counted(const std::string &line) {
        return run_here(line, [&](const std::function<int()> &command) {
            const auto run = [&] {
                allocator.count = 0;
                allocator.counts = true;
                return command();
            };
            const bool apart = allocator.fails_at != 0 && line.find("--digests") != line.npos;
            const int status = apart ? end_of_own_process(run) : run();
            allocator.counts = false;
            return status;
        });
    }

    // Whether a run in which an allocation failed has ended as it may.
    bool is_in_order(const command_result &result, const command_result &plain,
                     const folder_contents &after) {
        if (is_done(result, plain, after) || keeps_both_sides(result)) {
            return true;
        }
        const bool replaced = result.err.find("is replaced") != std::string::npos;
        return result.status == 2 && result.err.find("out of memory") != std::string::npos &&
               (contents() == before_ || (replaced && is_partly_done(normal_contents(), after)));
    }
};

TEST_F(out_of_memory, ends_every_command_in_order) {
    const long most_open = open_descriptors() + 1;  // the library's last temporary file stays
    long runs = 0;
    for (const char *line : command_lines) {
        allocator.fails_at = 0;
        const command_result plain = run_counted(line);
        ASSERT_LT(plain.status, 2) << line << ": " << plain.err;
        const long total = allocator.count;
        EXPECT_GT(total, 30) << line;
        const folder_contents after = normal_contents();
        for (const bool on : {false, true}) {
            for (long at = 1; at <= total; at++) {
                allocator.fails_at = at;
                allocator.fails_on = on;
                const command_result result = run_counted(line);
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

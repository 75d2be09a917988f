#include "run_command.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>
#include <regex>
#include <sstream>

#include "redirection.h"

namespace {

[[noreturn]] void become(const std::vector<std::string> &words, const command_options &options,
                         int input, int out, int err) {
    dup2(input, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, 0);
    signal(SIGPIPE, SIG_DFL);
    if (options.file_size_limit >= 0) {
        const auto bytes = static_cast<rlim_t>(options.file_size_limit);
        const rlimit limit{bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
        // A build that counts its lines would spoil the counts of all others with what it cuts off.
        setenv("GCOV_PREFIX", "/dev/null", 1);
    }
    std::vector<char *> arguments;
    for (const std::string &word : words) {
        arguments.push_back(const_cast<char *>(word.c_str()));
    }
    arguments.push_back(nullptr);
    for (const char *name : {"NO_COLOR", "SOURCE_DATE_EPOCH", "PAGER", "TDM_PAGER"}) {
        unsetenv(name);
    }
    for (const std::string &setting : options.environment) {
        putenv(const_cast<char *>(setting.c_str()));
    }
    if (options.unprivileged && geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0)) {
        _exit(126);
    }
    execvp(arguments[0], arguments.data());
    _exit(127);
}

// A copy of the command and its libraries that every user can reach: the build tree may lie in a
// folder that is closed to others, such as root's home.
std::string command_for_all() {
    static const struct shared_copy {
        shared_copy() {
            char path[] = "/tmp/tdm-test-command-XXXXXX";
            folder = mkdtemp(path);
            const std::filesystem::path bin = std::filesystem::path(TDM_COMMAND).parent_path();
            create_directories(folder / "bin");
            copy_file(TDM_COMMAND, folder / "bin/tdm");
            create_directories(folder / "lib");
            for (const char *name : {"libnorviktdm.so.1", "libnorvikruntime.so.1"}) {
                copy_file(bin.parent_path() / "lib" / name, folder / "lib" / name);
            }
            permissions(folder, std::filesystem::perms(0755));
        }
        ~shared_copy() { std::filesystem::remove_all(folder); }
        std::filesystem::path folder;
    } copy;
    return copy.folder / "bin/tdm";
}

}  // namespace

command_result run(const std::vector<std::string> &words, const command_options &options) {
    const support::scratch_file input(options.input), out, err;
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int elsewhere = options.output_path.empty() ? -1
                                                      : open(options.output_path.c_str(),
                                                             O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    const pid_t child = fork();
    if (child == 0) {
        become(words, options, options.input.empty() ? nothing : input.descriptor,
               elsewhere < 0 ? out.descriptor : elsewhere, err.descriptor);
    }
    int status = 0;
    waitpid(child, &status, 0);
    close(nothing);
    close(elsewhere);
    return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), out.contents(),
            err.contents()};
}

command_result tdm(const std::vector<std::string> &arguments, const command_options &options) {
    std::vector<std::string> words = {options.unprivileged ? command_for_all() : TDM_COMMAND};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return run(words, options);
}

std::vector<std::string> words_of(const std::string &text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

command_result tdm(const char *arguments, const command_options &options) {
    return tdm(words_of(arguments), options);
}

command_result shell(const std::string &script, command_options options) {
    // The leak check of a sanitizer build cannot run in a traced process.
    for (const char *setting :
         {"ASAN_OPTIONS=detect_leaks=0", "TDM=" TDM_COMMAND,
          "SLOW=strace -o /dev/null -e trace=fsync -e inject=fsync:delay_enter=800000:when=1"}) {
        options.environment.emplace_back(setting);
    }
    return run({"bash", "-c", script}, options);
}

command_result on_terminal(const std::string &arguments, const std::string &answers,
                           const command_options &options) {
    write_file("answers", answers);
    const command_result result =
        shell("TERM=xterm COLUMNS=100 script -qec \"$TDM " + arguments + "\" /dev/null <answers",
              options);
    std::filesystem::remove("answers");
    return result;
}

void expect_told(const command_result &result, int status, const std::string &said,
                 const char *file, int line) {
    const testing::ScopedTrace from(file, line, "told '" + said + "'");
    EXPECT_EQ(result.status, status) << result.out << result.err;
    EXPECT_EQ(result.err.empty(), said.empty()) << result.err;
    EXPECT_NE(result.err.find(said), std::string::npos) << result.err;
}

std::string without_identifiers(const std::string &text) {
    return std::regex_replace(text, std::regex("[0-9a-f]{32}"), "IDENTIFIER");
}

// JSON with each object and array that is short enough on one line.
static std::string joined_json(const std::string &printed) {
    std::string joined;
    std::vector<size_t> open;
    for (const char c : printed) {
        joined += c;
        if (c == '{' || c == '[') {
            open.push_back(joined.size() - 1);
        } else if ((c == '}' || c == ']') && !open.empty()) {
            const std::string inner = joined.substr(open.back());
            const std::string one = std::regex_replace(inner, std::regex("\n *"), " ");
            joined.replace(open.back(), inner.size(), one.size() < 240 ? one : inner);
            open.pop_back();
        }
    }
    return joined;
}

void expect_golden(const std::string &name, const std::string &printed) {
    const std::string actual = name.ends_with(".json") ? joined_json(printed) : printed;
    const std::string path = std::string(TDM_SOURCE_DIR) + "/tests/golden/" + name;
    if (getenv("TDM_UPDATE_GOLDEN") != nullptr) {
        write_file(path, actual);
    }
    EXPECT_EQ(actual, read_file(path)) << path;
}

// Runs the built command (or any other) in a folder of its own and catches what it says.
#ifndef TDM_TESTS_RUN_COMMAND_H
#define TDM_TESTS_RUN_COMMAND_H

#include <string>
#include <vector>

// A sanitizer build starts slowly and makes system calls of its own.
#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

struct command_result {
    int status = -1;  // exit status; 128 + N for death by signal N
    std::string out;
    std::string err;
};

struct command_options {
    std::string input = {};                     // standard input; empty: /dev/null
    std::vector<std::string> environment = {};  // NAME=VALUE, on top of a small fixed environment
    std::string output_path = {};               // standard output goes there instead of into `out`
    bool unprivileged = false;                  // as the user nobody when the tests run as root
    long file_size_limit = -1;                  // RLIMIT_FSIZE in bytes
};

// A new empty folder that is the working directory until the object goes, with all that is in it.
class scratch_folder {
public:
    scratch_folder();
    ~scratch_folder();
    scratch_folder(const scratch_folder &) = delete;
    scratch_folder &operator=(const scratch_folder &) = delete;
    const std::string &path() const { return path_; }

private:
    std::string path_;
    std::string before_;
};

// Runs `words` (the first is the program) and waits for its end.
command_result run(const std::vector<std::string> &words, const command_options &options = {});

// Runs the command under test with these arguments.
command_result tdm(const std::vector<std::string> &arguments, const command_options &options = {});

void write_file(const std::string &path, const std::string &bytes);
std::string read_file(const std::string &path);
std::vector<std::string> files_in(const std::string &folder);  // names, dot files included, sorted

// Compares with tests/golden/NAME, or rewrites that file when TDM_UPDATE_GOLDEN is set. JSON
// stands in the file on fewer lines than it was printed on.
void expect_golden(const std::string &name, const std::string &printed);

#endif

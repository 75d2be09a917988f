// The command in this process.
#include <fcntl.h>
#include <unistd.h>

#include "cli.h"
#include "support.h"

namespace fuzz {

int run(std::vector<std::string> words) {
    words.insert(words.begin(), "tdm");
    std::vector<char *> arguments;
    for (std::string &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const int status = host::run_command_line(static_cast<int>(words.size()), arguments.data());
    drop_library_files();
    require(fcntl(STDOUT_FILENO, F_GETFD) >= 0, "standard output is closed");
    require(status >= 0 && status <= 2, "the exit status is " + std::to_string(status));
    return status;
}

}  // namespace fuzz

// A folder of a test's own, and whole files.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

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

void write_file(const std::string &path, std::string_view bytes);
std::string read_file(const std::string &path);
std::vector<std::string> files_in(const std::string &folder);  // names, dot files included, sorted
mode_t mode_of(const std::string &path);                       // its permission bits

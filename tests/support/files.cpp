#include "files.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

scratch_folder::scratch_folder() : path_("/tmp/tdm-test-XXXXXX") {
    before_ = std::filesystem::current_path();
    std::filesystem::current_path(mkdtemp(path_.data()));
}

scratch_folder::~scratch_folder() {
    std::filesystem::current_path(before_);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void write_file(const std::string &path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> files_in(const std::string &folder) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

mode_t mode_of(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

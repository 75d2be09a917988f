// What the library's tests share: a scratch folder, whole-file input and output, captured messages,
// and containers written down as text.
#pragma once

#include <gtest/gtest.h>
#include <norviktdm/tdm.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace test {

/// A folder of its own for each test, removed at the end.
class scratch : public testing::Test {
protected:
    scratch() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tdm-test-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
    }
    ~scratch() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string path(std::string_view name) const {
        return folder_ + "/" + std::string(name);
    }

    std::string write(std::string_view name, std::string_view bytes) const {
        std::string file = path(name);
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

    static std::string read(const std::string &file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    [[nodiscard]] size_t files_in_folder() const {
        const std::filesystem::directory_iterator all(folder_);
        return static_cast<size_t>(std::distance(begin(all), end(all)));
    }

private:
    std::string folder_;
};

/// What a call prints on standard error.
template <typename Call>
std::string messages_of(Call &&call) {
    testing::internal::CaptureStderr();
    call();
    fflush(stderr);
    return testing::internal::GetCapturedStderr();
}

}  // namespace test

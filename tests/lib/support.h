// What the library's tests share: a scratch folder, whole-file input and output, captured messages,
// and containers written down as text.
#pragma once

#include <gtest/gtest.h>
#include <norviktdm/tdm.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "files.h"

namespace test {

/// A folder of its own for each test, removed at the end.
class scratch : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string &name) const {
        return folder_.path() + "/" + name;
    }
    std::string write(const std::string &name, std::string_view bytes) const {
        write_file(path(name), bytes);
        return path(name);
    }
    static std::string read(const std::string &file) { return read_file(file); }
    [[nodiscard]] size_t files_in_folder() const { return files_in(folder_.path()).size(); }

    /// A version's text; with flags the annotation.
    std::string construct(const std::string &file, const std::string &oid, uint32_t flags = 0) {
        EXPECT_EQ(tdm_construct_ver(file.c_str(), path("out").c_str(), oid.c_str(), flags), 0)
            << oid;
        return read(path("out"));
    }

private:
    const scratch_folder folder_;
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

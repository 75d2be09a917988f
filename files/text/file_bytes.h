// The bytes of a file, whole.
#ifndef NORVIK_FILE_BYTES_H
#define NORVIK_FILE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace norvik {

// As many bytes as are taken from what is no regular file, such as a pipe, which may have no end.
inline constexpr std::uint64_t longest_stream = std::uint64_t{4} << 30;

// Reads what follows in an open file into `text`, with room for `expected` bytes from the start;
// EFBIG when there are more than these and more than `most`.
[[nodiscard]] std::error_code read_to_end(int descriptor, std::size_t expected, std::string *text,
                                          std::uint64_t most = longest_stream);

// A read-only mapping, or a copy for what cannot be mapped (a pipe).
class file_bytes {
public:
    file_bytes() = default;
    file_bytes(file_bytes &&other) noexcept;
    file_bytes &operator=(file_bytes &&other) noexcept;
    file_bytes(const file_bytes &) = delete;
    file_bytes &operator=(const file_bytes &) = delete;
    ~file_bytes();

    // Takes the bytes of an open file, from its start where it can be mapped. The descriptor stays
    // the caller's and may be closed afterwards.
    [[nodiscard]] std::error_code load(int descriptor);
    [[nodiscard]] std::string_view view() const;

private:
    void release();

    void *mapping_ = nullptr;
    std::size_t mapped_ = 0;
    std::string copy_;
};

}  // namespace norvik

#endif

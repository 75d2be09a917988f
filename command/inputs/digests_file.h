// The file of digests that an earlier `tdm verify --json` has printed.
#ifndef NORVIK_DIGESTS_FILE_H
#define NORVIK_DIGESTS_FILE_H

#include <optional>
#include <string>

#include "kept_digests.h"

namespace norvik {

// What `tdm verify --json` prints; in the earlier form, digests were of the lines of a text.
inline constexpr int verify_schema = 2;
inline constexpr int verify_schema_of_lines = 1;

// Reads the file `name`, "-" for standard input; nothing after a message.
[[nodiscard]] std::optional<kept_digests> read_digests(const std::string &name);

}  // namespace norvik

#endif

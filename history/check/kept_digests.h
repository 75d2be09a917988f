// The digests of texts that an earlier `tdm verify --json` has printed: with them a changed byte of
// text is seen, for which the format itself has no checksum.
#ifndef NORVIK_KEPT_DIGESTS_H
#define NORVIK_KEPT_DIGESTS_H

#include <map>
#include <string>

#include "container_check.h"

namespace norvik {

class kept_digests {
public:
    // Reads the file `name`; 0, or status_trouble after a message.
    [[nodiscard]] int read(const std::string &name);

    // Adds a fault to `check`, whose totals have fingerprints, for every version that the file
    // lists for this container and that is not there or reads otherwise. Versions are known by
    // their identifiers; the container by its name, or by being the only one that the file lists.
    void compare(const container_view &view, container_check *check) const;

private:
    struct kept_version {
        std::string name;
        std::string digest;
    };
    using versions_by_identifier = std::map<std::string, kept_version, std::less<>>;

    std::string file_;
    std::map<std::string, versions_by_identifier> containers_;
};

}  // namespace norvik

#endif

// The digests of texts as they once were: with them a changed byte of text is seen, for which the
// format itself has no checksum.
#ifndef NORVIK_KEPT_DIGESTS_H
#define NORVIK_KEPT_DIGESTS_H

#include <map>
#include <string>

#include "container_check.h"

namespace norvik {

struct kept_version {
    std::string name;
    std::string digest;  // of its text, as hexadecimal() spells it
};

class kept_digests {
public:
    // `source` is what faults call the list; `of` what its digests are, of bytes or of lines.
    kept_digests(std::string source, fingerprints of) : source_(std::move(source)), of_(of) {}

    // Adds a container, which may have no versions, and one of its versions.
    void add(const std::string &container) { containers_[container]; }
    void add(const std::string &container, const std::string &identifier, kept_version version) {
        containers_[container][identifier] = std::move(version);
    }

    // Adds a fault to `check`, whose totals have fingerprints of bytes, for every version that is
    // listed for this container and that is not there or reads otherwise. Versions are known by
    // their identifiers; the container by its name, or by being the only one that is listed. One
    // more pass for digests of lines.
    void compare(const container_view &view, container_check *check) const;

private:
    using versions_by_identifier = std::map<std::string, kept_version, std::less<>>;

    std::string source_;
    fingerprints of_;
    std::map<std::string, versions_by_identifier> containers_;
};

}  // namespace norvik

#endif

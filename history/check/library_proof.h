// What one implementation wrote the other reads: versions of a new container, reconstructed by the
// library.
#ifndef NORVIK_LIBRARY_PROOF_H
#define NORVIK_LIBRARY_PROOF_H

#include <string>
#include <string_view>

#include "descriptor_path.h"
#include "failure.h"
#include "shown_path.h"

namespace norvik {

class library_proof {
public:
    // For the container in the open file `descriptor`, which failures call `name`; the file stays
    // the caller's and must stay open and as it is.
    result<> open(int descriptor, const std::string &name);

    // Proves that the library reads the living version `oid` as `text`. One pass of the library
    // over the container; its text is in memory meanwhile.
    result<> prove(std::string_view oid, std::string_view text) const;

private:
    std::string name_;
    descriptor_path path_;
    shown_path shown_;
};

}  // namespace norvik

#endif

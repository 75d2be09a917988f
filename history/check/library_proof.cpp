#include "library_proof.h"

#include <norviktdm/tdm.h>

#include "file_bytes.h"
#include "memory_file.h"

namespace norvik {

result<> library_proof::open(int descriptor, const std::string &name) {
    name_ = name;
    const std::error_code error = path_.read_from(descriptor);
    shown_ = shown_path(path_.path(), name);
    return error ? system_failure(name, "the new container cannot be read", error) : result<>();
}

result<> library_proof::prove(std::string_view oid, std::string_view text) const {
    memory_file read_back;
    if (const std::error_code error = read_back.create(name_)) {
        return system_failure(name_, "no memory for a version's text", error);
    }
    if (tdm_construct_ver(path_.path().c_str(), read_back.path().c_str(), std::string(oid).c_str(),
                          0) != 0) {
        return refusal(name_, "the new container is refused: the library does not read it");
    }
    file_bytes bytes;
    if (const std::error_code error = bytes.load(read_back.descriptor())) {
        return system_failure(name_, "the version read back cannot be read", error);
    }
    return bytes.view() == text
               ? result<>()
               : refusal(name_,
                         "the new container is refused: the library reads another text "
                         "from it than was given");
}

}  // namespace norvik

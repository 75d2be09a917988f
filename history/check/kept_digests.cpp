#include "kept_digests.h"

#include <unistd.h>

// Without memory a value is half made for a moment; the exception tells, no assertion should.
#define JSON_ASSERT(condition) static_cast<void>(0)
#include <nlohmann/json.hpp>

#include "escaped_text.h"
#include "exit_status.h"
#include "failure_words.h"
#include "file_lock.h"
#include "output.h"
#include "random_digits.h"

namespace norvik {

int kept_digests::read(const std::string &name) {
    owned_descriptor file;
    file_bytes bytes;
    const bool standard = name == "-";
    file_ = standard ? "<stdin>" : name;
    if (!standard && told(open_to_read(name), &file) != status_done) {
        return status_trouble;
    }
    if (const std::error_code error = bytes.load(standard ? STDIN_FILENO : file.get()); error) {
        return say_errno(file_, "cannot be read", error);
    }
    try {
        const nlohmann::json document = nlohmann::json::parse(bytes.view());
        for (const nlohmann::json &container : document.at("containers")) {
            versions_by_identifier &versions =
                containers_[container.at("container").get<std::string>()];
            for (const nlohmann::json &version : container.at("versions")) {
                versions[version.at("identifier").get<std::string>()] = {
                    version.at("name").get<std::string>(), version.at("digest").get<std::string>()};
            }
        }
    } catch (const nlohmann::json::exception &) {
        say_of_file(file_, "is not what 'tdm verify --json' prints");
        return status_trouble;
    }
    return status_done;
}

void kept_digests::compare(const container_view &view, container_check *check) const {
    auto found = containers_.find(view.name);
    if (found == containers_.end() && containers_.size() == 1) {
        found = containers_.begin();
    }
    if (found == containers_.end()) {
        check->faults.push_back({{0, escape_name(file_) + " lists no such container"}, {}, false});
        return;
    }
    for (const auto &[identifier, kept] : found->second) {
        const version_record *version = find_version_by_oid(view, identifier);
        if (version == nullptr) {
            check->faults.push_back(
                {{0, "version " + escape_name(kept.name) + " is not there any more"}, {}, false});
            continue;
        }
        const uint32_t position = position_of(check->scan.tree, version->id);
        if (hexadecimal(check->scan.totals[position].offset) != kept.digest) {
            check->in_doubt[position] = true;
            check->faults.push_back(
                {{0, "version " + escape_name(kept.name) + " reads otherwise than " +
                         escape_name(file_) + " has it"},
                 {},
                 false});
        }
    }
}

}  // namespace norvik

#include "digests_file.h"

#include <unistd.h>

// Without memory a value is half made for a moment; the exception tells, no assertion should.
#define JSON_ASSERT(condition) static_cast<void>(0)
#include <nlohmann/json.hpp>

#include "exit_status.h"
#include "failure_words.h"
#include "file_bytes.h"
#include "file_lock.h"
#include "output.h"

namespace norvik {

std::optional<kept_digests> read_digests(const std::string &name) {
    owned_descriptor file;
    file_bytes bytes;
    const bool standard = name == "-";
    const std::string shown = standard ? "<stdin>" : name;
    if (!standard && told(open_to_read(name), &file) != status_done) {
        return std::nullopt;
    }
    if (const std::error_code error = bytes.load(standard ? STDIN_FILENO : file.get()); error) {
        (void)say_errno(shown, "cannot be read", error);
        return std::nullopt;
    }
    kept_digests kept(shown);
    try {
        const nlohmann::json document = nlohmann::json::parse(bytes.view());
        for (const nlohmann::json &container : document.at("containers")) {
            const auto path = container.at("container").get<std::string>();
            kept.add(path);
            for (const nlohmann::json &version : container.at("versions")) {
                kept.add(path, version.at("identifier").get<std::string>(),
                         {version.at("name").get<std::string>(),
                          version.at("digest").get<std::string>()});
            }
        }
    } catch (const nlohmann::json::exception &) {
        say_of_file(shown, "is not what 'tdm verify --json' prints");
        return std::nullopt;
    }
    return kept;
}

}  // namespace norvik

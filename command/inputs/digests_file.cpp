// Of the document only paths, identifiers, names and digests count. A path that is not UTF-8 stands
// there changed, and is found only where its container is the only one.
#include "digests_file.h"

// Without memory a value is half made for a moment; the exception tells, no assertion should.
#define JSON_ASSERT(condition) static_cast<void>(0)
#include <nlohmann/json.hpp>

#include "exit_status.h"
#include "failure_words.h"
#include "input_text.h"
#include "output.h"

namespace norvik {

std::optional<kept_digests> read_digests(const std::string &name) {
    input_text input;
    const std::string shown = name == "-" ? "<stdin>" : name;
    if (told(input.read(name)) != status_done) {
        return std::nullopt;
    }
    try {
        const nlohmann::json document = nlohmann::json::parse(input.text());
        const int schema = document.at("schema").get<int>();
        if (schema != verify_schema && schema != verify_schema_of_lines) {
            say_of_file(shown, "has a schema that is not known, " + std::to_string(schema));
            return std::nullopt;
        }
        kept_digests kept(shown,
                          schema == verify_schema ? fingerprints::bytes : fingerprints::lines);
        for (const nlohmann::json &container : document.at("containers")) {
            const auto path = container.at("container").get<std::string>();
            kept.add(path);
            for (const nlohmann::json &version : container.at("versions")) {
                kept.add(path, version.at("identifier").get<std::string>(),
                         {version.at("name").get<std::string>(),
                          version.at("digest").get<std::string>()});
            }
        }
        return kept;
    } catch (const nlohmann::json::exception &) {
        say_of_file(shown, "is not what 'tdm verify --json' prints");
        return std::nullopt;
    }
}

}  // namespace norvik

// What all JSON output shares: it begins with a schema number, keeps the order of its fields and
// is valid UTF-8. docs/json.md describes every form.
#ifndef TDM_HOST_JSON_TEXT_H
#define TDM_HOST_JSON_TEXT_H

// Without memory an object is half made for a moment; the exception tells, no assertion should.
#define JSON_ASSERT(condition) static_cast<void>(0)
#include <nlohmann/json.hpp>
#include <string_view>

namespace host {

// To be made by json_object::object() or json_object::array(): one that becomes either by its first
// member is left torn when there is no memory for it.
using json_object = nlohmann::ordered_json;

// A new object whose first field is the schema number of its form.
json_object json_document(int schema);

// Sets object[key] to `bytes`. Bytes that are not UTF-8 show as U+FFFD there, and the exact bytes
// follow in object[key + "_base64"]; that field is absent when the text is UTF-8.
void set_text(json_object &object, const char *key, std::string_view bytes);

// Writes the object to standard output, indented by two blanks, with a newline.
void print_json(const json_object &object);

}  // namespace host

#endif

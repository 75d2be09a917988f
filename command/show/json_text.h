// What all JSON output shares: it begins with a schema number, keeps the order of its fields and
// is valid UTF-8. docs/json.md describes every form.
#ifndef NORVIK_JSON_TEXT_H
#define NORVIK_JSON_TEXT_H

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>

namespace norvik {

// Writes one JSON document, a field a line, each level indented by two blanks more. Fields take a
// key, which is written as it is, and stand in objects; elements have none and stand in arrays.
// What is begun must be ended.
class json_writer {
public:
    // Begins the document's object; its first field is the schema number of its form.
    explicit json_writer(int schema);

    void begin_object() { begin("", '{'); }
    void begin_object(std::string_view key) { begin(key, '{'); }
    void begin_array(std::string_view key) { begin(key, '['); }
    void end();  // of the object or array begun last

    void null(std::string_view key) { put(key, "null"); }
    // A number, true or false.
    template <std::integral value>
    void field(std::string_view key, value number) {
        if constexpr (std::same_as<value, bool>) {
            put(key, number ? "true" : "false");
        } else {
            put(key, std::to_string(number));
        }
    }
    void element(std::integral auto number) { field("", number); }

    // A text. Bytes that are not UTF-8 show as U+FFFD there, and the exact bytes follow in a field
    // KEY_base64, which is absent when the text is UTF-8.
    void text(std::string_view key, std::string_view bytes);

    // Ends the document and writes it to standard output, with a newline.
    void print();

private:
    void begin(std::string_view key, char bracket);
    void start_value(std::string_view key);
    void put(std::string_view key, std::string_view value);

    std::string text_;
    std::string ends_;   // the brackets that are missing, the innermost last
    bool empty_ = true;  // nothing stands in the innermost object or array yet
};

}  // namespace norvik

#endif

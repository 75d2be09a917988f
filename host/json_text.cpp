#include "json_text.h"

#include "escaped_text.h"
#include "output.h"

namespace host {

namespace {

std::string base64(std::string_view bytes) {
    constexpr const char *digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t taken = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t k = 0; k < 3; k++) {
            group = (group << 8) | (k < taken ? static_cast<uint8_t>(bytes[i + k]) : 0U);
        }
        for (size_t k = 0; k < 4; k++) {
            out += k <= taken ? digits[(group >> (18 - 6 * k)) & 63U] : '=';
        }
    }
    return out;
}

}  // namespace

json_object json_document(int schema) {
    json_object object = json_object::object();
    object["schema"] = schema;
    return object;
}

void set_text(json_object &object, const char *key, std::string_view bytes) {
    if (is_utf8(bytes)) {
        object[key] = bytes;
        return;
    }
    // The writer replaces what is no UTF-8.
    const json_object raw = bytes;
    const std::string shown = raw.dump(-1, ' ', false, json_object::error_handler_t::replace);
    object[key] = json_object::parse(shown).get<std::string>();
    object[std::string(key) + "_base64"] = base64(bytes);
}

void print_json(const json_object &object) {
    standard_output().write(object.dump(2));
    standard_output().put('\n');
}

}  // namespace host

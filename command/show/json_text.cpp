// The document is made in memory and written in one piece: a command that fails on the way has
// printed none of it.
#include "json_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "escaped_text.h"
#include "output.h"

namespace norvik {

namespace {

std::string base64(std::string_view bytes) {
    constexpr const char *digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t taken = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; k++) {
            group = (group << 8) | (k < taken ? static_cast<std::uint8_t>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; k++) {
            out += k <= taken ? digits[(group >> (18 - 6 * k)) & 63U] : '=';
        }
    }
    return out;
}

// The bytes of a character that is broken off: of `text`, which begins with no whole character, as
// many as could begin one, and one at least.
std::size_t broken_length(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = byte(0);
    if (lead < 0xc2 || lead > 0xf4 || text.size() == 1) {
        return 1;
    }
    const std::uint8_t least = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const std::uint8_t most = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    if (byte(1) < least || byte(1) > most) {
        return 1;
    }
    const std::size_t whole = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
    std::size_t length = 2;
    while (length < std::min(whole, text.size()) && (byte(length) & 0xc0) == 0x80) {
        length++;
    }
    return length;
}

void append_ascii(std::string &out, char c) {
    constexpr std::string_view named = "\"\\\b\f\n\r\t";
    constexpr std::string_view names = "\"\\bfnrt";
    const std::size_t found = named.find(c);
    if (found != named.npos) {
        out += {'\\', names[found]};
    } else if (static_cast<std::uint8_t>(c) < 0x20) {
        char buffer[8];
        std::snprintf(buffer, sizeof buffer, "\\u%04x", static_cast<unsigned>(c));
        out += buffer;
    } else {
        out += c;
    }
}

std::string quoted(std::string_view text) {
    std::string out = "\"";
    while (!text.empty()) {
        std::uint32_t character = 0;
        const std::size_t length = decode_utf8(text, character);
        if (length == 1) {
            append_ascii(out, text[0]);
        } else {
            out += length == 0 ? "\xef\xbf\xbd" : text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? broken_length(text) : length);
    }
    return out + '"';
}

}  // namespace

json_writer::json_writer(int schema) : text_("{"), ends_("}") {
    field("schema", schema);
}

void json_writer::start_value(std::string_view key) {
    text_ += empty_ ? "\n" : ",\n";
    text_.append(2 * ends_.size(), ' ');
    if (!key.empty()) {
        text_.append("\"").append(key).append("\": ");
    }
    empty_ = false;
}

void json_writer::put(std::string_view key, std::string_view value) {
    start_value(key);
    text_ += value;
}

void json_writer::begin(std::string_view key, char bracket) {
    start_value(key);
    text_ += bracket;
    ends_ += bracket == '{' ? '}' : ']';
    empty_ = true;
}

void json_writer::end() {
    const char bracket = ends_.back();
    ends_.pop_back();
    if (!empty_) {
        text_.append("\n").append(2 * ends_.size(), ' ');
    }
    text_ += bracket;
    empty_ = false;
}

void json_writer::text(std::string_view key, std::string_view bytes) {
    put(key, quoted(bytes));
    if (!is_utf8(bytes)) {
        put(std::string(key) + "_base64", quoted(base64(bytes)));
    }
}

void json_writer::print() {
    end();
    standard_output().write(text_);
    standard_output().put('\n');
}

}  // namespace norvik

// The form that encoders write is tried first, field by field; only what is not of that form goes
// through the library's readers and is asked how it differs. O(bytes of the record).
#include "record_line.h"

#include "record_decode.h"
#include "version_notes.h"

namespace norvik {
namespace {

using fields_reader = format::field_reader<format::bounded_bytes>;

// What stands behind a record's prefix; nothing in a line that no reader of records takes.
format::bounded_bytes fields_of(std::string_view line) {
    constexpr std::size_t longest = longest_line + record_prefix + 1;
    if (line.size() <= record_prefix || line.size() > longest ||
        line.substr(0, record_prefix).find('\0') != std::string_view::npos) {
        line = {};
    }
    const std::size_t prefix = line.empty() ? 0 : record_prefix;
    return {line.data() + prefix, line.data() + line.size()};
}

bool has_blank(std::string_view line) {
    return line.size() > record_prefix && line[2] == ' ';
}

bool take_byte(format::bounded_bytes *bytes, char wanted) {
    const bool there = bytes->front() == wanted;
    bytes->at += there ? 1 : 0;
    return there;
}

bool ends_line(format::bounded_bytes rest) {
    return rest.at == rest.end || (rest.end - rest.at == 1 && *rest.at == '\n');
}

// An identifier without bytes that an encoder would refuse.
bool take_oid(format::bounded_bytes *bytes, std::string_view *oid) {
    const char *const first = bytes->at;
    while (bytes->at != bytes->end && static_cast<unsigned char>(*bytes->at) > ' ' &&
           *bytes->at != 0x7f) {
        bytes->at++;
    }
    *oid = {first, static_cast<std::size_t>(bytes->at - first)};
    return !oid->empty() && oid->size() <= format::longest_read_oid;
}

template <std::size_t N>
bool take_numbers(format::bounded_bytes *bytes, std::uint64_t (&numbers)[N]) {
    for (std::size_t i = 0; i < N; i++) {
        if ((i > 0 && !take_byte(bytes, ' ')) || !format::take_written_number(bytes, &numbers[i])) {
            return false;
        }
    }
    return true;
}

// Nothing but notes, as they are written, and the line's end.
bool take_rest(std::string_view line, format::bounded_bytes rest, object_fields *out) {
    if (ends_line(rest)) {
        return true;
    }
    std::string_view words{rest.at, static_cast<std::size_t>(rest.end - rest.at)};
    if (words.back() == '\n') {
        words.remove_suffix(1);
        line.remove_suffix(1);
    }
    std::uint64_t sum = 0;
    if (line.size() > longest_noted_record || words.front() != ' ' ||
        !take_notes(words.substr(1), &sum)) {
        return false;
    }
    out->notes = words.substr(1);
    out->sum = sum;
    return true;
}

// Whether it is damaged notes, and no line that its newline parted from the record.
bool is_of_notes(std::string_view rest) {
    for (std::size_t mark = 0; (mark = rest.find(format::record_mark, mark)) != rest.npos; mark++) {
        if (std::string_view("VBE#").find(format::kind_of(rest.substr(mark))) != rest.npos) {
            return false;
        }
    }
    return rest.starts_with(" sum=");
}

// How a line is spelled that decodes, but is not in canonical form. `fields` is how many it has.
spelling odd_spelling(std::string_view line, std::size_t fields) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    std::size_t end = record_prefix;
    for (std::size_t i = 0; i < fields; i++) {
        end = line.find_first_of(blanks, line.find_first_not_of(blanks, end));
    }
    const bool last_is_number =
        fields == 1 || line.substr(0, end).find_last_not_of("0123456789abcdefABCDEFxX+-") ==
                           line.substr(0, end).find_last_of(blanks);
    return last_is_number && (line.find_first_not_of(blanks, end) == std::string_view::npos ||
                              (fields == 4 && is_of_notes(line.substr(end))))
               ? spelling::odd
               : spelling::followed;
}

}  // namespace

spelling decode_run(std::string_view line, run_fields *out) {
    const format::bounded_bytes fields = fields_of(line);
    format::bounded_bytes rest = fields;
    std::uint64_t numbers[3];
    if (has_blank(line) && take_numbers(&rest, numbers) && ends_line(rest)) {
        *out = {numbers[0], numbers[1], numbers[2]};
        return spelling::canonical;
    }
    return fields_reader(fields)
                   .number(&out->branch)
                   .number(&out->version)
                   .number(&out->count)
                   .good()
               ? odd_spelling(line, 3)
               : spelling::malformed;
}

spelling decode_object(std::string_view line, object_fields *out) {
    const format::bounded_bytes fields = fields_of(line);
    format::bounded_bytes rest = fields;
    if (has_blank(line) && take_oid(&rest, &out->oid) && take_byte(&rest, ' ') &&
        take_numbers(&rest, out->number) && take_rest(line, rest, out)) {
        return spelling::canonical;
    }
    return fields_reader(fields)
                   .oid(&out->oid)
                   .number(&out->number[0])
                   .number(&out->number[1])
                   .number(&out->number[2])
                   .good()
               ? odd_spelling(line, 4)
               : spelling::malformed;
}

spelling decode_element(std::string_view line, std::string_view *oid) {
    const format::bounded_bytes fields = fields_of(line);
    format::bounded_bytes rest = fields;
    if (has_blank(line) && take_oid(&rest, oid) && ends_line(rest)) {
        return spelling::canonical;
    }
    return fields_reader(fields).oid(oid).good() ? odd_spelling(line, 1) : spelling::malformed;
}

spelling decode_status(std::string_view line, std::uint64_t *format, std::uint64_t *highest) {
    const format::bounded_bytes fields = fields_of(line);
    format::bounded_bytes rest = fields;
    std::uint64_t numbers[2];
    if (has_blank(line) && take_numbers(&rest, numbers) && ends_line(rest)) {
        *format = numbers[0];
        *highest = numbers[1];
        return spelling::canonical;
    }
    return fields_reader(fields).number(format).number(highest).good() ? odd_spelling(line, 2)
                                                                       : spelling::malformed;
}

}  // namespace norvik

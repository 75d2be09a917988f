// The record codec. Numbers are lower-case hexadecimal without 0x; fields are separated by single
// blanks when written, by any white space when read.
//
//   ^S db1 2                    format, highest branch
//   ^V 7be1 1 4 65f0c1a2        version oid, branch, version, creation time
//   ^B a90c 1 0 2               branch oid, branch, parent branch, parent version
//   ^E 51d2                     element oid
//   ^I 1 4 3   and   ^D 1 4 3   branch, version, line count
//   ^Q ^text   and   ^N text    a line that begins with ^, a line without a final newline
//
// What the decoders accept is part of the format: they take exactly the numbers that the C
// library's %lx takes (signs, 0x, overflow to the largest number), bounded by the line's end. They
// are written out by hand because they stand on the path of every run of the weave.
#include "tdm_container/codec.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cstring>
#include <iterator>

#include "messages/messages.h"
#include "tdm_session/line_reader.h"

uint64_t known_formats = tdm::container_format;

namespace tdm {
namespace {

/// White space of the current locale; what is white space everywhere is told without a call.
bool is_space(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte == ' ' || (byte >= '\t' && byte <= '\r') ||
           (byte >= 0x80 && std::isspace(byte) != 0);
}

/// Writes a record field by field; a failed write shows at the end.
class record_writer {
public:
    record_writer(line_stream *out, char kind) : out_(out) {
        const char start[] = {'^', kind};
        write(start, sizeof start);
    }

    record_writer &number(uint64_t value) {
        char text[1 + 2 * sizeof value] = {' '};
        const char *const end = std::to_chars(text + 1, std::end(text), value, 16).ptr;
        write(text, static_cast<size_t>(end - text));
        return *this;
    }

    record_writer &oid(const char *value) {
        write(" ", 1);
        write(value, std::strlen(value));
        return *this;
    }

    [[nodiscard]] int finish() {
        write("\n", 1);
        if (failed_) {
            report_file_trouble(message::trouble_accessing, out_->file_name);
            return 1;
        }
        return 0;
    }

private:
    void write(const char *bytes, size_t length) {
        failed_ = failed_ || fwrite_unlocked(bytes, 1, length, out_->stream) != length;
    }

    line_stream *out_;
    bool failed_ = false;
};

/// The value of a hexadecimal digit, or -1.
constexpr auto hex_values = [] {
    std::array<int8_t, 256> values{};
    values.fill(-1);
    for (int8_t i = 0; i < 16; ++i) {
        values[static_cast<unsigned char>("0123456789abcdef"[i])] = i;
        values[static_cast<unsigned char>("0123456789ABCDEF"[i])] = i;
    }
    return values;
}();

int hex_digit(char c) {
    return hex_values[static_cast<unsigned char>(c)];
}

/// Takes a record's fields one by one; never looks past the end of its line.
class field_reader {
public:
    explicit field_reader(const char *line) : rest_("") {
        if (line != nullptr && line[0] != '\0' && line[1] != '\0' && line[2] != '\0') {
            rest_ = line + 3;
        }
    }

    field_reader &oid(char *value) {
        skip_space();
        size_t length = 0;
        while (rest_[length] != '\0' && !is_space(rest_[length])) {
            if (++length > longest_read_oid) {
                break;
            }
        }
        if (failed_ || length == 0 || length > longest_read_oid) {
            failed_ = true;
            return *this;
        }
        std::memcpy(value, rest_, length);
        value[length] = '\0';
        rest_ += length;
        return *this;
    }

    field_reader &number(uint64_t *value) {
        skip_space();
        const bool negative = *rest_ == '-';
        if (negative || *rest_ == '+') {
            ++rest_;
        }
        bool any = false;
        if (*rest_ == '0') {
            any = true;
            ++rest_;
            if (*rest_ == 'x' || *rest_ == 'X') {
                ++rest_;
            }
        }
        uint64_t sum = 0;
        bool overflow = false;
        for (int digit; (digit = hex_digit(*rest_)) >= 0; ++rest_) {
            any = true;
            overflow = overflow || (sum >> 60) != 0;
            sum = (sum << 4) | static_cast<uint64_t>(digit);
        }
        if (failed_ || !any) {
            failed_ = true;
            return *this;
        }
        *value = overflow ? UINT64_MAX : negative ? 0 - sum : sum;
        return *this;
    }

    [[nodiscard]] int status() const { return failed_ ? 1 : 0; }

private:
    void skip_space() {
        while (is_space(*rest_)) {
            ++rest_;
        }
    }

    const char *rest_;
    bool failed_ = false;
};

/// Reads a blank and a number of digits alone, as the writer gives them, and moves `at` behind it.
/// @returns false for any other form, which field_reader must look at.
bool written_number(const char **at, uint64_t *value) {
    constexpr int most_digits = 15;  // more might overflow
    const char *p = *at;
    if (*p++ != ' ') {
        return false;
    }
    uint64_t sum = 0;
    const char *const first = p;
    for (int digit; (digit = hex_digit(*p)) >= 0; ++p) {
        sum = (sum << 4) | static_cast<uint64_t>(digit);
    }
    *value = sum;
    *at = p;
    return p != first && p - first <= most_digits && (*p == ' ' || *p == '\n');
}

/// The fields of a run in the form that the writer gives them.
bool written_run(const char *line, uint64_t *branch, uint64_t *version, uint64_t *line_count) {
    if (line == nullptr || line[0] == '\0' || line[1] == '\0') {
        return false;
    }
    const char *at = line + 2;
    uint64_t fields[3];
    if (!written_number(&at, &fields[0]) || !written_number(&at, &fields[1]) ||
        !written_number(&at, &fields[2])) {
        return false;
    }
    *branch = fields[0];
    *version = fields[1];
    *line_count = fields[2];
    return true;
}

bool is_given(const char *oid) {
    if (oid == nullptr) {
        report_failure(message::malformed_oid, "(null)");
    }
    return oid != nullptr;
}

}  // namespace

bool prefixed_text(std::string_view line, bool keep_newline, std::string_view *text) {
    constexpr size_t prefix = 3;
    switch (line.size() > 1 ? line[1] : '\0') {
        case 'T':
            *text = line;
            return true;
        case 'Q':
            *text = line.substr(line.size() < prefix ? line.size() : prefix);
            return true;
        case 'N':
            *text = line.substr(line.size() < prefix ? line.size() : prefix);
            if (!keep_newline && !text->empty() && text->back() == '\n') {
                text->remove_suffix(1);
            }
            return true;
        default:
            return false;
    }
}

int encode_text(line_stream *out, std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    const bool ended = text.back() == '\n';
    bool written = true;
    if (!ended || text.front() == '^') {
        written = fwrite_unlocked(ended ? "^Q " : "^N ", 1, 3, out->stream) == 3;
    }
    written = written && fwrite_unlocked(text.data(), 1, text.size(), out->stream) == text.size();
    if (!ended) {
        written = written && putc_unlocked('\n', out->stream) != EOF;
    }
    if (!written) {
        report_file_trouble(message::trouble_accessing, out->file_name);
        return 1;
    }
    return 0;
}

bool can_be_read_back(std::string_view text) {
    if (text.empty() || text.back() != '\n') {
        return text.size() <= longest_line;
    }
    constexpr size_t quote_prefix = 3;
    const size_t length = text.size() - 1;
    return length + (text.front() == '^' ? quote_prefix : 0) <= longest_line;
}

int check_oid(const char *oid) {
    const size_t length = oid == nullptr ? 0 : strnlen(oid, longest_written_oid + 1);
    bool good = length >= 1 && length <= longest_written_oid;
    for (size_t i = 0; good && i < length; ++i) {
        good = !is_space(oid[i]) && std::iscntrl(static_cast<unsigned char>(oid[i])) == 0;
    }
    if (!good) {
        report_failure(message::malformed_oid, oid == nullptr ? "(null)" : oid);
        return 1;
    }
    return 0;
}

void report_bad_record(const char *file_name, const char *line) {
    report_failure(message::bad_control_record, file_name, line);
}

}  // namespace tdm

using tdm::field_reader;
using tdm::is_given;
using tdm::record_writer;

int tdm_cntutl_encode_text(line_stream *out, const char *text) {
    return tdm::encode_text(out, text == nullptr ? std::string_view() : std::string_view(text));
}

int tdm_cntutl_encode_status(line_stream *out, uint64_t format, uint64_t highest_branch) {
    return record_writer(out, 'S').number(format).number(highest_branch).finish();
}

int tdm_cntutl_encode_cre_ele(line_stream *out, const char *element_oid) {
    return is_given(element_oid) ? record_writer(out, 'E').oid(element_oid).finish() : 1;
}

int tdm_cntutl_encode_cre_bra(line_stream *out, const char *branch_oid, uint64_t branch,
                              uint64_t parent_branch, uint64_t parent_version) {
    if (!is_given(branch_oid)) {
        return 1;
    }
    return record_writer(out, 'B')
        .oid(branch_oid)
        .number(branch)
        .number(parent_branch)
        .number(parent_version)
        .finish();
}

int tdm_cntutl_encode_cre_ver(line_stream *out, const char *version_oid, uint64_t branch,
                              uint64_t version, uint64_t create_time) {
    if (!is_given(version_oid)) {
        return 1;
    }
    return record_writer(out, 'V')
        .oid(version_oid)
        .number(branch)
        .number(version)
        .number(create_time)
        .finish();
}

int tdm_cntutl_encode_delete(line_stream *out, uint64_t branch, uint64_t version,
                             uint64_t line_count) {
    return record_writer(out, 'D').number(branch).number(version).number(line_count).finish();
}

int tdm_cntutl_encode_insert(line_stream *out, uint64_t branch, uint64_t version,
                             uint64_t line_count) {
    return record_writer(out, 'I').number(branch).number(version).number(line_count).finish();
}

int tdm_cntutl_decode_status(const char *line, uint64_t *format, uint64_t *highest_branch) {
    return field_reader(line).number(format).number(highest_branch).status();
}

int tdm_cntutl_decode_cre_ele(const char *line, char *element_oid) {
    return field_reader(line).oid(element_oid).status();
}

int tdm_cntutl_decode_cre_bra(const char *line, char *oid, uint64_t *first, uint64_t *second,
                              uint64_t *third) {
    return field_reader(line).oid(oid).number(first).number(second).number(third).status();
}

int tdm_cntutl_decode_cre_ver(const char *line, char *oid, uint64_t *first, uint64_t *second,
                              uint64_t *third) {
    return tdm_cntutl_decode_cre_bra(line, oid, first, second, third);
}

int tdm_cntutl_decode_delete(const char *line, uint64_t *branch, uint64_t *version,
                             uint64_t *line_count) {
    if (tdm::written_run(line, branch, version, line_count)) {
        return 0;
    }
    return field_reader(line).number(branch).number(version).number(line_count).status();
}

int tdm_cntutl_decode_insert(const char *line, uint64_t *branch, uint64_t *version,
                             uint64_t *line_count) {
    return tdm_cntutl_decode_delete(line, branch, version, line_count);
}

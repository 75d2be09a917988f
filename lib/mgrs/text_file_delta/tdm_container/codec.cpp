// The record codec on the forms of format/: it adds the files, and the words for what fails.
#include "tdm_container/codec.h"

#include <cctype>
#include <cstring>

#include "messages/messages.h"
#include "record_decode.h"
#include "record_encode.h"

uint64_t known_formats = format::known_format;

namespace tdm {
namespace {

using field_reader = format::field_reader<format::terminated_bytes>;

/// The fields of a record line, which stand behind its prefix; none where it has no prefix.
format::terminated_bytes fields_of(const char *line) {
    const bool prefixed = line != nullptr && line[0] != '\0' && line[1] != '\0' && line[2] != '\0';
    return {prefixed ? line + format::record_prefix : ""};
}

/// Receives the pieces of a record; a failed write shows at the end.
struct record_writer {
    line_stream *out;
    bool failed = false;

    void operator()(std::string_view piece) {
        failed =
            failed || fwrite_unlocked(piece.data(), 1, piece.size(), out->stream) != piece.size();
    }
    [[nodiscard]] int finish() const {
        if (failed) {
            report_file_trouble(message::trouble_accessing, out->file_name);
        }
        return failed ? 1 : 0;
    }
};

/// Takes the oid that comes next.
field_reader &read_oid(field_reader &in, char *oid) {
    std::string_view found;
    if (in.oid(&found).good()) {
        std::memcpy(oid, found.data(), found.size());
        oid[found.size()] = '\0';
    }
    return in;
}

int status_of(const field_reader &in) {
    return in.good() ? 0 : 1;
}

bool is_given(const char *oid) {
    if (oid == nullptr) {
        report_failure(message::malformed_oid, "(null)");
    }
    return oid != nullptr;
}

}  // namespace

int encode_text(line_stream *out, std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    record_writer write{out};
    const std::string_view prefix = format::prefix_of_text(text);
    if (!prefix.empty()) {
        write(prefix);
    }
    write(text);
    if (text.back() != '\n') {
        write("\n");
    }
    return write.finish();
}

int check_oid(const char *oid) {
    const size_t length = oid == nullptr ? 0 : strnlen(oid, format::longest_written_oid + 1);
    bool good = length >= 1 && length <= format::longest_written_oid;
    for (size_t i = 0; good && i < length; ++i) {
        good = !format::is_space(oid[i]) && std::iscntrl(static_cast<unsigned char>(oid[i])) == 0;
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

using tdm::fields_of;
using tdm::is_given;
using tdm::read_oid;
using tdm::record_writer;
using tdm::status_of;

int tdm_cntutl_encode_text(line_stream *out, const char *text) {
    return tdm::encode_text(out, text == nullptr ? std::string_view() : std::string_view(text));
}

int tdm_cntutl_encode_status(line_stream *out, uint64_t format, uint64_t highest_branch) {
    record_writer write{out};
    format::encode_status(format, highest_branch, write);
    return write.finish();
}

int tdm_cntutl_encode_cre_ele(line_stream *out, const char *element_oid) {
    if (!is_given(element_oid)) {
        return 1;
    }
    record_writer write{out};
    format::encode_element(element_oid, write);
    return write.finish();
}

int tdm_cntutl_encode_cre_bra(line_stream *out, const char *branch_oid, uint64_t branch,
                              uint64_t parent_branch, uint64_t parent_version) {
    if (!is_given(branch_oid)) {
        return 1;
    }
    record_writer write{out};
    format::encode_object(format::kind_branch, branch_oid, branch, parent_branch, parent_version,
                          write);
    return write.finish();
}

int tdm_cntutl_encode_cre_ver(line_stream *out, const char *version_oid, uint64_t branch,
                              uint64_t version, uint64_t create_time) {
    if (!is_given(version_oid)) {
        return 1;
    }
    record_writer write{out};
    format::encode_object(format::kind_version, version_oid, branch, version, create_time, write);
    return write.finish();
}

int tdm_cntutl_encode_delete(line_stream *out, uint64_t branch, uint64_t version,
                             uint64_t line_count) {
    record_writer write{out};
    format::encode_run(format::kind_delete, branch, version, line_count, write);
    return write.finish();
}

int tdm_cntutl_encode_insert(line_stream *out, uint64_t branch, uint64_t version,
                             uint64_t line_count) {
    record_writer write{out};
    format::encode_run(format::kind_insert, branch, version, line_count, write);
    return write.finish();
}

int tdm_cntutl_decode_status(const char *line, uint64_t *format, uint64_t *highest_branch) {
    return status_of(tdm::field_reader(fields_of(line)).number(format).number(highest_branch));
}

int tdm_cntutl_decode_cre_ele(const char *line, char *element_oid) {
    tdm::field_reader in(fields_of(line));
    return status_of(read_oid(in, element_oid));
}

int tdm_cntutl_decode_cre_bra(const char *line, char *oid, uint64_t *first, uint64_t *second,
                              uint64_t *third) {
    tdm::field_reader in(fields_of(line));
    return status_of(read_oid(in, oid).number(first).number(second).number(third));
}

int tdm_cntutl_decode_cre_ver(const char *line, char *oid, uint64_t *first, uint64_t *second,
                              uint64_t *third) {
    return tdm_cntutl_decode_cre_bra(line, oid, first, second, third);
}

int tdm_cntutl_decode_delete(const char *line, uint64_t *branch, uint64_t *version,
                             uint64_t *line_count) {
    const format::terminated_bytes fields = fields_of(line);
    uint64_t numbers[3];
    if (format::take_written_run(fields, numbers)) {
        *branch = numbers[0];
        *version = numbers[1];
        *line_count = numbers[2];
        return 0;
    }
    return status_of(tdm::field_reader(fields).number(branch).number(version).number(line_count));
}

int tdm_cntutl_decode_insert(const char *line, uint64_t *branch, uint64_t *version,
                             uint64_t *line_count) {
    return tdm_cntutl_decode_delete(line, branch, version, line_count);
}

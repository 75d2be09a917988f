// tdm_dump_container: every line of a container behind a label that names its kind and spells out
// its fields, for people who look into the file.
#include <cctype>

#include "messages/messages.h"
#include "tdm_container/container_file.h"
#include "tdm_container/listed_record.h"

namespace tdm {
namespace {

constexpr char operation[] = "tdm_dump_container";
constexpr int dump_failed = 1;

/// Warns of the first byte of the line that is neither printable nor white space.
void check_printable_bytes(const container_input *c, long line_number) {
    for (const char &c_byte : c->line) {
        const auto byte = static_cast<unsigned char>(c_byte);
        if (std::isprint(byte) == 0 && std::isspace(byte) == 0) {
            print_message(severity::notice, message::unprintable_character, c->in.file_name,
                          line_number, static_cast<int>(byte));
            return;
        }
    }
}

void print_record(const listed_record &r, std::string_view text) {
    const auto length = static_cast<int>(text.size());
    const char *const line = text.data();
    const auto a = static_cast<long>(r.first);
    const auto b = static_cast<long>(r.second);
    const auto count = static_cast<long>(r.third);
    switch (r.kind) {
        case format::kind_comment:
            printf("[[Commented out record]] %.*s", length, line);
            return;
        case format::kind_branch:
            printf("[[New branch: branch %ld created off branch %ld version %ld, oid %s]] %.*s", a,
                   b, count, r.oid, length, line);
            return;
        case format::kind_delete:
            printf("[[Delete on branch %lu version %lu, %ld lines]] %.*s", r.first, r.second, count,
                   length, line);
            return;
        case format::kind_element:
            printf("[[New element, oid %s]] %.*s", r.oid, length, line);
            return;
        case format::kind_insert:
            printf("[[Insert on branch %lu version %lu, %ld lines]] %.*s", r.first, r.second, count,
                   length, line);
            return;
        case format::kind_unended:
            printf("[[Text (no newline)]] %.*s", length, line);
            return;
        case format::kind_quoted:
            printf("[[Text (quoted)    ]] %.*s", length, line);
            return;
        case format::kind_version:
            printf("[[New version: branch %ld, version %ld, created %08X, oid %s]] %.*s", a, b,
                   static_cast<unsigned>(r.third), r.oid, length, line);
            return;
        default:
            printf("[[Text (ordinary)  ]] %.*s", length, line);
    }
}

int dump_lines(container_input *c, bool check_printable) {
    for (long line_number = 2;; ++line_number) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return dump_failed;
        }
        if (at_eof) {
            return 0;
        }
        if (check_printable) {
            check_printable_bytes(c, line_number);
        }
        listed_record r;
        if (read_listed_record(c, line_number, format::longest_read_oid, &r) != 0 ||
            (format::counts_lines(r.kind) && read_listed_run(c, line_number, &r) != 0)) {
            return dump_failed;
        }
        print_record(r, c->line);
    }
}

}  // namespace
}  // namespace tdm

int tdm_dump_container(const char *container_path, int32_t check_printable) {
    tdm::container_input container;
    if (const int opened = tdm::open_container(&container, container_path, tdm::operation)) {
        return opened == tdm::status_missing ? opened : tdm::dump_failed;
    }
    // Also refuses to dump a container onto its own end, which would never be reached.
    tdm::text_output output;
    if (tdm::open_output(&output, nullptr, nullptr, &container, nullptr) != 0) {
        return tdm::dump_failed;
    }
    uint64_t format = 0;
    uint64_t highest_branch = 0;
    if (tdm::find_status_control_record(&container, &format, &highest_branch) != 0) {
        return tdm::dump_failed;
    }
    printf("[[Container Status, format: %lx, highest branch number: %ld]]\n", format,
           static_cast<long>(highest_branch));
    return tdm::dump_lines(&container, check_printable != 0);
}

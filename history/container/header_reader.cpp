// One pass over the header's lines, which keeps views of them: O(header bytes), and 96 bytes a
// record.
#include "header_reader.h"

#include <norviktdm/tdm.h>

#include <utility>

#include "record_line.h"

namespace norvik {
namespace {

// A file with more damages than this is taken for something else.
constexpr std::size_t most_damages = 100;

struct header_reader {
    std::string_view data;
    container_header *out;
    std::size_t offset = 0;
    std::uint64_t line_number = 0;

    // The next line with its newline; false, with the damage noted, at the end of the file.
    bool next(std::string_view *line) {
        const std::string_view rest = data.substr(offset);
        if (rest.empty()) {
            fail(line_number + 1, "the file ends before the element record");
            return false;
        }
        const std::size_t end = rest.find('\n');
        *line = rest.substr(0, end == std::string_view::npos ? end : end + 1);
        line_number++;
        if (end == std::string_view::npos) {
            fail(line_number, "the file ends in the middle of this line");
            return false;
        }
        offset += line->size();
        return true;
    }

    void fail(std::uint64_t line, std::string reason) const {
        out->header_damages.push_back({line, std::move(reason)});
    }

    // False, with the damage noted, when a record cannot be read.
    bool accept(spelling form, const char *what) const {
        if (form == spelling::malformed) {
            fail(line_number, std::string(what) + " that cannot be read");
        }
        out->torn_header = out->torn_header || form == spelling::followed;
        return form != spelling::malformed;
    }

    // The same for a record that is not kept with how it is spelled.
    bool accept_and_note(spelling form, const char *what) const {
        if (form == spelling::odd || form == spelling::followed) {
            out->header_oddities.push_back(
                {line_number, std::string(what) + " spelled as none is written"});
        }
        return accept(form, what);
    }

    void check_oid(std::string_view oid) const {
        if (oid.size() > longest_written_oid) {
            out->header_oddities.push_back(
                {line_number,
                 "an identifier of more than " + std::to_string(longest_written_oid) + " bytes"});
        }
    }

    // The weave begins at the line at `start`, which has number `line`.
    void end_header(std::size_t start, std::uint64_t line) const {
        out->weave_offset = start;
        out->weave_line = line;
    }
};

// False when what follows is no header at all.
bool read_status(header_reader *in) {
    std::string_view line;
    if (in->data.empty()) {
        in->fail(0, "the file is empty");
        return false;
    }
    if (!in->next(&line)) {
        return false;
    }
    container_header *out = in->out;
    const spelling form = format::kind_of(line) == format::kind_status
                              ? decode_status(line, &out->format, &out->highest_branch)
                              : spelling::malformed;
    if (form == spelling::malformed) {
        in->fail(1, "the first line is not a container's status record");
        // Records behind a first line that is damaged are worth reading.
        return in->data.substr(in->offset).starts_with(format::record_mark);
    }
    if (out->format != known_formats) {
        in->fail(1, "the status record names a format that is not known");
    }
    return in->accept_and_note(form, "a status record");
}

void take_object(header_reader *in, std::string_view record, bool commented) {
    const bool version = format::kind_of(record) == format::kind_version;
    object_fields fields;
    const spelling form = decode_object(record, &fields);
    if (!in->accept(form, version ? "a version record" : "a branch record")) {
        return;
    }
    in->check_oid(fields.oid);
    const std::uint64_t line = in->line_number;
    if (version) {
        in->out->versions.push_back({.oid = fields.oid,
                                     .id = {fields.number[0], fields.number[1]},
                                     .time = fields.number[2],
                                     .line = line,
                                     .deleted = commented,
                                     .odd = form != spelling::canonical,
                                     .notes = fields.notes,
                                     .sum = fields.sum});
    } else {
        in->out->branches.push_back({.oid = fields.oid,
                                     .number = fields.number[0],
                                     .parent = {fields.number[1], fields.number[2]},
                                     .line = line,
                                     .deleted = commented,
                                     .odd = form != spelling::canonical,
                                     .notes = fields.notes,
                                     .sum = fields.sum});
    }
}

// Takes one line; false at the end of the header.
bool take_header_line(header_reader *in) {
    const std::size_t start = in->offset;
    std::string_view line;
    if (!in->next(&line)) {
        in->end_header(in->data.size(), in->line_number + 1);
        return false;
    }
    bool commented = false;
    const std::string_view record = format::without_comment(line, &commented);
    const char kind = format::kind_of(record);
    if (line.size() > longest_line + 1 || line.find('\0') != std::string_view::npos) {
        in->fail(in->line_number, "not a line of text");
    } else if (kind == format::kind_version || kind == format::kind_branch) {
        take_object(in, record, commented);
    } else if (kind == format::kind_element && !commented) {
        if (in->accept_and_note(decode_element(record, &in->out->element_oid),
                                "an element record")) {
            in->check_oid(in->out->element_oid);
        }
        // Readable or not, behind it the weave begins.
        in->end_header(in->offset, in->line_number + 1);
        return false;
    } else if (format::counts_lines(kind) && !commented) {
        in->fail(in->line_number, "the element record is missing before this line");
        in->end_header(start, in->line_number);
        return false;
    } else {
        in->out->torn_header = in->out->torn_header || !line.starts_with(format::record_mark);
        in->fail(in->line_number, "neither a version nor a branch nor the element record");
    }
    return true;
}

}  // namespace

void read_header(std::string_view container, container_header *header) {
    header_reader in{container, header};
    header->weave_offset = in.data.size();
    if (!read_status(&in)) {
        return;
    }
    while (take_header_line(&in)) {
        if (header->header_damages.size() == most_damages) {
            in.fail(in.line_number, "too much damage to read on");
            in.end_header(in.data.size(), in.line_number + 1);
            return;
        }
    }
}

}  // namespace norvik

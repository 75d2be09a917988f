// Whole records as text, newline included.
#ifndef NORVIK_RECORD_TEXT_H
#define NORVIK_RECORD_TEXT_H

#include <string>
#include <string_view>
#include <utility>

#include "lineage_member.h"
#include "record_encode.h"

namespace norvik {

// Receives the pieces of a record.
struct append_to {
    std::string &text;
    void operator()(std::string_view piece) const { text += piece; }
};

// A number as records spell it.
inline std::string written_number(std::uint64_t number) {
    return std::string(format::number_text(number).view());
}

// The status record, of the format that is written.
inline std::string status_line(std::uint64_t highest_branch) {
    std::string text;
    format::encode_status(format::known_format, highest_branch, append_to{text});
    return text;
}

// A record with notes, which are encoded and may be empty.
inline std::string with_notes(std::string record, std::string_view notes) {
    if (!notes.empty()) {
        record.back() = ' ';
        record += notes;
        record += '\n';
    }
    return record;
}

// A version record, alive; `time` in the host's unit, `notes` encoded (version_notes.h).
inline std::string version_line(std::string_view oid, format::version_id id, std::uint64_t time,
                                std::string_view notes = {}) {
    std::string text;
    format::encode_object(format::kind_version, oid, id.branch, id.number, time, append_to{text});
    return with_notes(std::move(text), notes);
}

// A branch record, alive; `parent` is what it was made off, `notes` as a version's.
inline std::string branch_line(std::string_view oid, std::uint64_t number,
                               format::version_id parent, std::string_view notes = {}) {
    std::string text;
    format::encode_object(format::kind_branch, oid, number, parent.branch, parent.number,
                          append_to{text});
    return with_notes(std::move(text), notes);
}

// The element record.
inline std::string element_line(std::string_view oid) {
    std::string text;
    format::encode_element(oid, append_to{text});
    return text;
}

}  // namespace norvik

#endif

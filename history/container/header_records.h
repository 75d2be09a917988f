// The records of a container's header.
//
// Their order is the file's (newest first). Views into the container's bytes live as long as those.
#ifndef NORVIK_HEADER_RECORDS_H
#define NORVIK_HEADER_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lineage_member.h"

namespace norvik {

using format::version_id;

struct version_id_hash {
    std::size_t operator()(const version_id &id) const {
        return static_cast<std::size_t>(
            (id.branch * 0x9e3779b97f4a7c15u ^ id.number) * 0xff51afd7ed558ccdu >> 7);
    }
};

struct version_record {
    std::string_view oid;
    version_id id;
    std::uint64_t time = 0;  // seconds since 1970 when our command wrote it
    std::uint64_t line = 0;  // in the container, from 1
    bool deleted = false;    // commented out: the version is gone, something still depends on it
    bool odd = false;        // no encoder spells its fields so, and they may be damaged
    // What stands behind the fields (version_notes.h), without the blank before it; empty for none.
    std::string_view notes = {};
    std::optional<std::uint64_t> sum = std::nullopt;  // of these
};

struct branch_record {
    std::string_view oid;
    std::uint64_t number = 0;
    version_id parent;            // what it was made off; for branch 0 without meaning
    std::uint64_t line = 0;       // in the container, from 1
    bool deleted = false;         // commented out
    bool odd = false;             // no encoder spells its fields so, and they may be damaged
    std::string_view notes = {};  // as a version's
    std::optional<std::uint64_t> sum = std::nullopt;
};

// What is wrong with a container, and where.
struct damage {
    std::uint64_t line = 0;  // from 1; 0 when no line can be named
    std::string reason;
};

struct container_header {
    std::uint64_t format = 0;
    std::uint64_t highest_branch = 0;
    std::string_view element_oid;
    std::vector<version_record> versions;
    std::vector<branch_record> branches;
    std::size_t weave_offset = 0;  // of the first byte after the element record
    std::uint64_t weave_line = 0;  // line number of the first line after the element record
    // What in the header cannot be read, in file order; the records around it are there all the
    // same. Nothing may be built on a container that has any.
    std::vector<damage> header_damages;
    // What else can be read but is never written so.
    std::vector<damage> header_oddities;
    // A line of the header may have been broken in two or have swallowed the next one, so that even
    // a record that can be read may say something else than it did.
    bool torn_header = false;
};

}  // namespace norvik

#endif

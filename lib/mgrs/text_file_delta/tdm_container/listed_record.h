// A record as the listings of a container see it: every kind known, every field decoded.
#pragma once

#include <cstdint>

#include "tdm_container/codec.h"
#include "tdm_container/container_file.h"

namespace tdm {

struct listed_record {
    char kind;       // the kind letter; 0 for a text line that is no record
    oid_buffer oid;  // of V, B and E
    uint64_t first;  // of V, B, I and D: the numbers in the record's order
    uint64_t second;
    uint64_t third;
};

/// Takes the container's current line apart.
/// @param line_number  of that line, the status record being line 1; named in reports.
/// @param longest_oid  bytes; a longer one makes a bad record.
/// @returns 0, or 1 after reporting a second status record, an unknown kind, or a V, B or E record
///          that does not decode. I and D records are left to read_listed_run.
[[nodiscard]] int read_listed_record(const container_input *c, long line_number, size_t longest_oid,
                                     listed_record *r);

/// Decodes the numbers of an `I` or `D` record into `r`. @returns 0, or 1 (reported).
[[nodiscard]] int read_listed_run(const container_input *c, long line_number, listed_record *r);

}  // namespace tdm

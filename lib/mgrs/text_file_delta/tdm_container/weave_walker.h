// The walk over the weave that decides, line by line, which text belongs to a version.
#pragma once

#include <cstdint>

#include "tdm_container/container_file.h"
#include "tdm_container/lineage.h"

namespace tdm {

/// A line count that walks to the end of the file.
inline constexpr uint64_t all_lines = 0x7fffffff;

/// Any of these bits makes a walk annotated.
inline constexpr uint32_t annotation_mask =
    tdm_annotate_lines | tdm_annotate_deleted | tdm_annotate_all;

/// Walks until `n` lines of the version have been passed, or to the end of the file.
/// Plain (no copy, no flags): writes the version's text. Copy: writes every line read as it stands.
/// Annotated: writes each line after the oid of the version that inserted it; rewinds by itself and
/// always runs to the end. Plain and copy read on from where the container stands, at or before the
/// first line of the weave.
/// @returns 0, or 1 after the failure was reported.
[[nodiscard]] int copy_until_n_lines(bool copy, uint32_t annotation_flags, uint64_t n,
                                     const lineage *l, container_input *c, text_output *o);

/// The annotated walk behind copy_until_n_lines.
[[nodiscard]] int annotate_weave(uint32_t annotation_flags, const lineage *l, container_input *c,
                                 text_output *o);

/// An insert or delete record of the weave.
struct run_record {
    version_id version;
    uint64_t line_count;
};

/// Decodes the container's current line, an `I` or a `D` record. @returns 0, or 1 (reported).
[[nodiscard]] int decode_run(const container_input *c, run_record *run);

/// Adds a run's lines to those still to be passed over. No file has as many lines as would make the
/// count wrap. @returns 0, or 1 (reported).
[[nodiscard]] int add_to_skip(const container_input *c, const run_record &run, uint64_t *skip);

/// Copies lines unchanged: with kind 0 to the end of the file, with 'T' up to and including the
/// first ordinary text line, else up to and including the first record of the kind. The end of the
/// file is no failure. @returns 0, or 1 after the failure was reported.
[[nodiscard]] int copy_structure_until_ctrl_kind(char kind, container_input *c, text_output *o);

}  // namespace tdm

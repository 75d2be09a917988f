// The weave walk without annotation. One counter, `skip`, holds how many text lines are still to be
// passed over: an insert run outside the lineage adds its lines, a deletion within the lineage adds
// those it deletes, and every line passed over takes one off. Since every such line is counted by
// exactly one of them, runs may interleave in any way and the counter is zero again exactly behind
// the outermost of them.
#include "tdm_container/weave_walker.h"

#include "messages/messages.h"
#include "tdm_container/codec.h"

namespace tdm {
namespace {

/// Adds the lines of a run that the version does not have.
int count_run(const container_input *c, const lineage *l, bool is_insert, uint64_t *skip) {
    run_record run;
    if (decode_run(c, &run) != 0) {
        return 1;
    }
    const bool member = in_lineage(l, run.version);
    return member == is_insert ? 0 : add_to_skip(c, run, skip);
}

}  // namespace

int decode_run(const container_input *c, run_record *run) {
    if (tdm_cntutl_decode_insert(c->line.data(), &run->version.branch, &run->version.number,
                                 &run->line_count) != 0) {
        report_bad_record(c->in.file_name, c->line.data());
        return 1;
    }
    return 0;
}

int add_to_skip(const container_input *c, const run_record &run, uint64_t *skip) {
    if (__builtin_add_overflow(*skip, run.line_count, skip)) {
        report_bad_record(c->in.file_name, c->line.data());
        return 1;
    }
    return 0;
}

int copy_until_n_lines(bool copy, uint32_t annotation_flags, uint64_t n, const lineage *l,
                       container_input *c, text_output *o) {
    if ((annotation_flags & annotation_mask) != 0) {
        return annotate_weave(annotation_flags, l, c, o);
    }
    line_copy out(c, o);
    uint64_t skip = 0;
    for (uint64_t passed = 0; passed < n;) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof) {
            break;
        }
        if (copy && copy_line(&out) != 0) {
            return 1;
        }
        std::string_view text;
        if (!stored_text(c->line, false, &text)) {
            const char kind = c->line.size() > 1 ? c->line[1] : '\0';
            if (format::counts_lines(kind) &&
                count_run(c, l, kind == format::kind_insert, &skip) != 0) {
                return 1;
            }
        } else if (skip != 0) {
            --skip;
        } else {
            ++passed;
            if (!copy && copy_text(&out, text) != 0) {
                return 1;
            }
        }
    }
    return flush_copy(&out);
}

int copy_structure_until_ctrl_kind(char kind, container_input *c, text_output *o) {
    line_copy out(c, o);
    for (;;) {
        bool at_eof = false;
        if (next_line(c, &at_eof) != 0) {
            return 1;
        }
        if (at_eof) {
            break;
        }
        if (copy_line(&out) != 0) {
            return 1;
        }
        const bool ordinary_text =
            c->line[0] != format::record_mark || is_record(c->line, format::kind_marked_text);
        if (kind == format::kind_marked_text ? ordinary_text
                                             : kind != 0 && is_record(c->line, kind)) {
            break;
        }
    }
    return flush_copy(&out);
}

}  // namespace tdm

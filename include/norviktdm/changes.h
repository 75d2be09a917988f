/* What changed between texts: comparison and merge, from memory and to memory. The rules are those
 * of common.h.
 *
 * A text is read as lines. The last one may lack its newline, which makes it another line than the
 * same one with a newline. A line has at most 8000 bytes before its newline and no NUL; a text has
 * at most 2^31 - 2 lines. What is no such text is refused with the line. */
#ifndef NORVIKTDM_CHANGES_H
#define NORVIKTDM_CHANGES_H

#include <norviktdm/common.h>

#ifdef __cplusplus
extern "C" {
#endif

enum norvik_change_flag {
    norvik_ignore_blanks = 1,  /* lines that differ in white space alone are equal */
    norvik_apply_adjacent = 2, /* merges only: changes that touch, but share no line, are applied */
    norvik_strict = 4 /* merges only: the same lines inserted in two places are a conflict */
};

/* ---- Comparison ---- */

/** What turns one text into another. */
typedef struct norvik_comparison norvik_comparison;

/** One change: the lines `before` of the first text are replaced by the lines `after` of the
 *  second. Either may be none. At least one line that is equal in both stands between two. */
typedef struct norvik_hunk {
    norvik_lines before;
    norvik_lines after;
} norvik_hunk;

/** Lines that moved: `count` lines from `before` on in the first text, removed there by one hunk,
 *  stand from `after` on in the second, inserted there by a hunk, most often another one. */
typedef struct norvik_move {
    uint32_t before;
    uint32_t after;
    uint32_t count;
} norvik_move;

/** Compares two texts.
 *  @param before, after  needed during the call alone.
 *  @param flags          norvik_ignore_blanks or 0.
 *  @param out            receives the comparison, freed by norvik_comparison_free.
 *  @returns null or an error; refused: a text with a NUL or an over-long line, another flag. */
NORVIK_API norvik_error *norvik_compare(norvik_text before, norvik_text after, uint32_t flags,
                                        norvik_comparison **out);

/** @returns the number of hunks; 0 when the texts are equal. */
NORVIK_API size_t norvik_hunk_count(const norvik_comparison *comparison);

/** @returns hunk `index` (from 0), in the order of both texts; null when there is no such. */
NORVIK_API const norvik_hunk *norvik_hunk_at(const norvik_comparison *comparison, size_t index);

/** @returns the number of moves. */
NORVIK_API size_t norvik_move_count(const norvik_comparison *comparison);

/** @returns move `index` (from 0), in the order of the first text; null when there is no such. */
NORVIK_API const norvik_move *norvik_move_at(const norvik_comparison *comparison, size_t index);

/** @returns the lines, newlines kept, as they stand in the first text; what of them it does not
 *           have is left out. They are the comparison's. */
NORVIK_API norvik_text norvik_before_lines(const norvik_comparison *comparison, norvik_lines lines);

/** The same of the second text. */
NORVIK_API norvik_text norvik_after_lines(const norvik_comparison *comparison, norvik_lines lines);

/** Frees a comparison. */
NORVIK_API void norvik_comparison_free(norvik_comparison *comparison);

/* ---- Merge ----
 *
 * The base and 1 to 31 contributors, numbered from 1; what is said of text 0 is said of the base.
 * Changes that overlap or touch in the base form a place. Places that moved text ties together form
 * a region, which is merged whole: it takes the text of one contributor, or is a conflict. The
 * merged text is checked: no line of a contributor is lost or stands twice unasked. */

/** A merge that is done. */
typedef struct norvik_merge norvik_merge;

enum norvik_style {
    norvik_style_diff3 = 0, /* between markers: each side and the base */
    norvik_style_merge = 1, /* the sides alone */
    norvik_style_zdiff3 = 2 /* as diff3, without what all sides begin or end with */
};

typedef struct norvik_merge_options {
    size_t size;              /* sizeof(norvik_merge_options) */
    uint32_t flags;           /* of norvik_change_flag */
    uint32_t style;           /* of norvik_style */
    uint32_t marker_size;     /* characters of a marker; 0: 7 */
    const char *const *names; /* what markers and errors call the texts, the base first, one each;
                                 null: "base", "1", "2" ... */
} norvik_merge_options;

enum norvik_conflict {
    norvik_conflict_none = 0,
    norvik_conflict_differ = 1,    /* the same lines were changed differently */
    norvik_conflict_moved = 2,     /* the same, and somebody moved them */
    norvik_conflict_ambiguous = 3, /* equal lines: which of them was changed cannot be told */
    norvik_conflict_repeated = 4,  /* the same lines were inserted in several places (strict) */
    norvik_conflict_unproved = 5   /* the check of the merged text would not have it clean */
};

/** What is decided together. */
typedef struct norvik_region {
    uint32_t conflict; /* of norvik_conflict */
    uint32_t taken;    /* the contributor whose text was taken; 0 in a conflict */
    size_t places;     /* how many it has */
} norvik_region;

/** One stretch of the base that somebody changed. */
typedef struct norvik_place {
    norvik_lines base;
    norvik_lines merged; /* its lines in the merged text, markers included */
    int32_t marked;      /* nonzero: it stands between markers there */
} norvik_place;

/** Merges texts.
 *  @param texts    the base, then the contributors; needed during the call alone.
 *  @param count    of all texts, 2 to 32.
 *  @param options  null: all defaults.
 *  @param out      receives the merge, freed by norvik_merge_free, also when it has conflicts.
 *  @returns null or an error; refused: a text with a NUL or an over-long line, a count or option
 *           out of range, and a result that does not pass its check as a conflict either. */
NORVIK_API norvik_error *norvik_merge_texts(const norvik_text *texts, size_t count,
                                            const norvik_merge_options *options,
                                            norvik_merge **out);

/** @returns the merged text, conflicts between markers; it is the merge's. */
NORVIK_API norvik_text norvik_merged_text(const norvik_merge *merge);

/** @returns the number of regions in conflict. */
NORVIK_API size_t norvik_conflict_count(const norvik_merge *merge);

/** @returns the number of regions. */
NORVIK_API size_t norvik_region_count(const norvik_merge *merge);

/** @returns region `index` (from 0), in the order of their first places; null when there is no
 *           such. */
NORVIK_API const norvik_region *norvik_region_at(const norvik_merge *merge, size_t index);

/** @returns place `index` (from 0) of region `region`, in the order of the base; null when there is
 *           no such. */
NORVIK_API const norvik_place *norvik_place_at(const norvik_merge *merge, size_t region,
                                               size_t index);

/** Tells what a text has in a place: the base's lines for text 0 and for a contributor that changed
 *  nothing there.
 *  @param text   0 or a contributor.
 *  @param lines  receives the lines, in that contributor's text, or in the base's when it changed
 *                nothing; null: not wanted.
 *  @returns the same lines as text; empty when there is no such place or contributor. */
NORVIK_API norvik_text norvik_place_text(const norvik_merge *merge, size_t region, size_t index,
                                         size_t text, norvik_lines *lines);

/** @returns nonzero when the contributor changed something in the place. */
NORVIK_API int norvik_place_changed_by(const norvik_merge *merge, size_t region, size_t index,
                                       size_t contributor);

/** Frees a merge. */
NORVIK_API void norvik_merge_free(norvik_merge *merge);

#ifdef __cplusplus
}
#endif
#endif

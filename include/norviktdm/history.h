/* Containers and all their versions. The rules are those of common.h.
 *
 * A container is one file. Who reads it opens it, which copies it into memory, and has it as it was
 * then. Who changes it names its path: the call locks the file, sees that it is sound,
 * writes a new one beside it, proves that it says what it should and nothing of the old one is
 * changed, gives it owner, group, mode and attributes of the old one, forces it to disk and renames
 * it. Ended at any moment, it leaves the old container or the new one, whole. Programs that come at
 * the same time, `tdm` among them, wait for one another. */
#ifndef NORVIKTDM_HISTORY_H
#define NORVIKTDM_HISTORY_H

#include <norviktdm/changes.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Reading ---- */

/** An open container. */
typedef struct norvik_container norvik_container;

enum norvik_open_flag {
    norvik_open_damaged = 1 /* whatever it holds; else what is not sound is refused */
};

/** One version. Deleted ones are listed as long as another one is built on them. */
typedef struct norvik_version {
    const char *name; /* BRANCH@NUMBER */
    const char *oid;  /* its identifier */
    uint64_t branch;  /* number of its branch */
    uint64_t number;  /* on the branch, rising */
    uint64_t time;    /* as given when it was stored */
    int32_t deleted;  /* nonzero: gone from view */
} norvik_version;

/** One branch. Branch 0 is the first; it is made off no version. */
typedef struct norvik_branch {
    const char *name;
    uint64_t number;
    uint64_t parent_branch; /* the version that it is made off */
    uint64_t parent_version;
    int32_t deleted; /* nonzero: gone from view */
} norvik_branch;

/** Opens a container.
 *  @param flags  of norvik_open_flag.
 *  @param out    receives the container, closed by norvik_close.
 *  @returns null or an error; system: it cannot be read; refused: it is no regular file; damaged:
 *           the first thing that is not sound, with its line. */
NORVIK_API norvik_error *norvik_open(const char *path, uint32_t flags, norvik_container **out);

/** The same of an open file, which is read to its end, from its start where it has one; a pipe of
 *  up to 4 GiB will do. The descriptor stays the caller's, who may close it afterwards; where it
 *  stands is changed.
 *  @param name  what errors call it. */
NORVIK_API norvik_error *norvik_open_descriptor(int descriptor, const char *name, uint32_t flags,
                                                norvik_container **out);

/** The same of bytes in memory, which are copied. */
NORVIK_API norvik_error *norvik_open_memory(norvik_text bytes, const char *name, uint32_t flags,
                                            norvik_container **out);

/** Closes a container; what it gave out goes with it. */
NORVIK_API void norvik_close(norvik_container *container);

/** @returns the identifier of the element whose versions it holds. */
NORVIK_API const char *norvik_element(const norvik_container *container);

/** @returns the number of versions, deleted ones included. */
NORVIK_API size_t norvik_version_count(const norvik_container *container);

/** @returns version `index` (from 0), newest first; null when there is no such. */
NORVIK_API const norvik_version *norvik_version_at(const norvik_container *container, size_t index);

/** @returns the number of branches, deleted ones included. */
NORVIK_API size_t norvik_branch_count(const norvik_container *container);

/** @returns branch `index` (from 0), newest first; null when there is no such. */
NORVIK_API const norvik_branch *norvik_branch_at(const norvik_container *container, size_t index);

/** Finds the version that a user names.
 *  @param name  `BRANCH@NUMBER`, a branch (its newest version), an identifier or four characters or
 *               more of its beginning; null or empty: the newest of the branch `main`, or of the
 *               only branch. Deleted versions are not found.
 *  @param out   receives the version, which is the container's.
 *  @returns null or an error; refused: none or several are named. */
NORVIK_API norvik_error *norvik_find_version(norvik_container *container, const char *name,
                                             const norvik_version **out);

/** Writes a version's text, a piece at a time and in order.
 *  @param version  of this container, not deleted.
 *  @param sink     takes the pieces, with `user`.
 *  @returns null or an error; of a container opened as damaged also for a text that cannot be
 *           followed to its end, what has been written then stands. */
NORVIK_API norvik_error *norvik_write_text(norvik_container *container,
                                           const norvik_version *version, norvik_sink sink,
                                           void *user);

/** Gives a version's text.
 *  @param version  of this container, not deleted.
 *  @param bytes    receives the text and a NUL behind it, freed by norvik_free_bytes.
 *  @param size     receives its size without that NUL; null: not wanted.
 *  @returns as above. */
NORVIK_API norvik_error *norvik_version_text(norvik_container *container,
                                             const norvik_version *version, char **bytes,
                                             size_t *size);

/** Frees the bytes of a text. */
NORVIK_API void norvik_free_bytes(char *bytes);

/** A version's lines, each with the version that brought it; a line that the container has in
 * pieces with the newest version that inserted one of them or deleted one. */
typedef struct norvik_annotation norvik_annotation;

typedef struct norvik_annotated_line {
    norvik_text text;              /* its newline kept; the last line may have none */
    const norvik_version *version; /* the version that inserted it, deleted ones included; null in a
                                      damaged container that has no record of it */
} norvik_annotated_line;

/** Annotates a version of this container, not deleted.
 *  @param out  receives the annotation, freed by norvik_annotation_free before the container is
 *              closed.
 *  @returns null or an error. */
NORVIK_API norvik_error *norvik_annotate(norvik_container *container, const norvik_version *version,
                                         norvik_annotation **out);

/** @returns the number of lines. */
NORVIK_API size_t norvik_annotated_count(const norvik_annotation *annotation);

/** @returns line `index` (from 0); null when there is no such. */
NORVIK_API const norvik_annotated_line *norvik_annotated_at(const norvik_annotation *annotation,
                                                            size_t index);

/** Frees an annotation. */
NORVIK_API void norvik_annotation_free(norvik_annotation *annotation);

/* ---- Judging ---- */

/** What one pass over a container has found. */
typedef struct norvik_verdict norvik_verdict;

enum norvik_verify_flag {
    norvik_with_digests = 1 /* digests too, which takes longer */
};

typedef struct norvik_complaint {
    uint64_t line; /* of the container; 0: no line can be named */
    const char *reason;
} norvik_complaint;

/** What is known of one version. */
typedef struct norvik_version_facts {
    uint64_t lines;    /* of its text */
    uint64_t bytes;    /* of its text */
    uint64_t inserted; /* lines that it brought */
    uint64_t removed;  /* lines that it took away */
    uint64_t digest;   /* of its text; equal texts have equal ones. 0 where not asked for */
    int32_t in_doubt;  /* nonzero: a complaint concerns its text */
} norvik_version_facts;

/** Told how far a pass has come, in bytes of the container. */
typedef void (*norvik_progress)(void *user, uint64_t done, uint64_t all);

/** Looks at everything in a container, which is best opened with norvik_open_damaged.
 *  @param flags     of norvik_verify_flag.
 *  @param progress  called now and then with `user`; null: not wanted.
 *  @param out       receives the verdict, freed by norvik_verdict_free before the container is
 *                   closed; complaints are no error.
 *  @returns null or an error. */
NORVIK_API norvik_error *norvik_verify(norvik_container *container, uint32_t flags,
                                       norvik_progress progress, void *user, norvik_verdict **out);

/** @returns the number of complaints; 0: the container is sound. */
NORVIK_API size_t norvik_complaint_count(const norvik_verdict *verdict);

/** @returns complaint `index` (from 0), in the order of lines; null when there is no such. */
NORVIK_API const norvik_complaint *norvik_complaint_at(const norvik_verdict *verdict, size_t index);

/** @returns the facts of a version of the container; null when it is none of it. */
NORVIK_API const norvik_version_facts *norvik_facts_of(const norvik_verdict *verdict,
                                                       const norvik_version *version);

/** Frees a verdict. */
NORVIK_API void norvik_verdict_free(norvik_verdict *verdict);

/* ---- Changing ---- */

/** What a change has come to. */
typedef struct norvik_outcome norvik_outcome;

enum norvik_change_option {
    norvik_break_links = 1, /* replace a file that has several names too */
    norvik_force = 2,       /* go on when its owner or group cannot be kept */
    norvik_dry_run = 4      /* do and prove everything, but put nothing in place */
};

/** Takes what is worth saying of a change that goes on.
 *  @param what  valid during the call alone. */
typedef void (*norvik_notice)(void *user, const norvik_error *what);

/** How a file is replaced. */
typedef struct norvik_change_options {
    size_t size;          /* sizeof(norvik_change_options) */
    uint32_t flags;       /* of norvik_change_option */
    int32_t lock_wait;    /* milliseconds to wait for other programs; 0: 10 seconds; below 0: do
                              not wait */
    norvik_notice notice; /* called with `user`; null: not wanted */
    void *user;
} norvik_change_options;

enum norvik_answer {
    norvik_answer_done = 1,
    norvik_answer_same = 2,     /* nothing to store: the text is that of the version named */
    norvik_answer_outdated = 3, /* not stored: others have stored since the base */
    norvik_answer_conflict = 4  /* not stored: the merge with what they stored has conflicts */
};

/** @returns of norvik_answer; 0 for null. Later versions may have more. */
NORVIK_API int norvik_outcome_answer(const norvik_outcome *outcome);

/** @returns the name of the version that was stored; else of the one that the answer is about: the
 *           one with the same text, or the newest. Empty when it is about none. */
NORVIK_API const char *norvik_outcome_version(const norvik_outcome *outcome);

/** @returns that version's identifier. */
NORVIK_API const char *norvik_outcome_oid(const norvik_outcome *outcome);

/** @returns the merge that a check-in made: of the base, the text (contributor 1) and the newest
 *           version (2); null when it made none. It is the outcome's. */
NORVIK_API const norvik_merge *norvik_outcome_merge(const norvik_outcome *outcome);

/** @returns the number of versions that others have stored since the base. */
NORVIK_API size_t norvik_outcome_since_count(const norvik_outcome *outcome);

/** @returns the name of number `index` (from 0) of these, newest first; null when there is no
 *           such. */
NORVIK_API const char *norvik_outcome_since_at(const norvik_outcome *outcome, size_t index);

/** Frees an outcome. */
NORVIK_API void norvik_outcome_free(norvik_outcome *outcome);

typedef struct norvik_create_options {
    size_t size;        /* sizeof(norvik_create_options) */
    const char *branch; /* the first branch; null: `main` */
    uint64_t time;      /* of its empty version 0; 0: now */
} norvik_create_options;

/** Creates a container, which must not exist. It has one version, number 0, which is empty.
 *  @param out  receives the outcome; null: not wanted.
 *  @returns null or an error. */
NORVIK_API norvik_error *norvik_create(const char *path, const norvik_create_options *options,
                                       const norvik_change_options *change, norvik_outcome **out);

enum norvik_checkin_flag {
    norvik_allow_same = 1,  /* store a text that is that of the version before */
    norvik_merge_newest = 2 /* merge with what others have stored since the base */
};

typedef struct norvik_checkin_options {
    size_t size;        /* sizeof(norvik_checkin_options) */
    uint32_t flags;     /* of norvik_checkin_flag */
    const char *branch; /* null: `main`, or the only branch */
    const char *from;   /* start `branch`, which is new, off this version; null: it exists */
    const char *base;   /* the version that the text was made from, which must then be the newest;
                           null: whatever is there, the text comes next */
    uint64_t time;      /* 0: now */
    const char *name;   /* what markers and errors call the text; null: "text" */
} norvik_checkin_options;

/** Stores a text as the next version of a branch. Versions are named as for norvik_find_version.
 *  @param out  receives the outcome, also when nothing is stored.
 *  @returns null or an error. */
NORVIK_API norvik_error *norvik_checkin(const char *path, norvik_text text,
                                        const norvik_checkin_options *options,
                                        const norvik_change_options *change, norvik_outcome **out);

/** Makes a branch with a version 0 that has the text of the version it is made off.
 *  @param name  1 to 99 bytes without white space, control bytes and `@`, and no identifier.
 *  @param from  the version, named as for norvik_find_version.
 *  @param time  0: now.
 *  @param out   receives the outcome; null: not wanted.
 *  @returns null or an error. */
NORVIK_API norvik_error *norvik_create_branch(const char *path, const char *name, const char *from,
                                              uint64_t time, const norvik_change_options *change,
                                              norvik_outcome **out);

/* ---- Taking away ----
 *
 * In two steps, so that somebody can be asked between them: a plan says what would come of it, and
 * changes nothing; norvik_carry_out does it, and refuses with norvik_kind_changed when the
 * container is another one by then. */

/** What would become of a container. */
typedef struct norvik_plan norvik_plan;

enum norvik_fate_kind {
    norvik_fate_gone = 1,    /* gone, with all lines that it alone has */
    norvik_fate_hidden = 2,  /* gone from view; its lines stay in the file for others */
    norvik_fate_emptied = 3, /* a branch that stays without versions, for others off it */
    norvik_fate_saved = 4,   /* repair: it is the same in the new container */
    norvik_fate_renamed = 5, /* repair: saved, under another identifier */
    norvik_fate_lost = 6     /* repair: its text is in doubt */
};

/** What becomes of one version or branch. */
typedef struct norvik_fate {
    const char *name;   /* of the version, or of the branch */
    int32_t is_branch;  /* nonzero: a branch */
    uint32_t kind;      /* of norvik_fate_kind */
    uint64_t line;      /* lost: of what puts it in doubt; 0: no line can be named */
    const char *reason; /* lost: what puts it in doubt; else empty */
} norvik_fate;

/** A line that was to go and stays, or whose equal stays. */
typedef struct norvik_kept_line {
    norvik_text text;    /* without its newline */
    const char *holders; /* names of the first versions that show it, a comma between two */
    uint64_t count;      /* of all that show it */
    int32_t is_copy;     /* nonzero: the line goes, these have another one of the same text */
} norvik_kept_line;

/** Plans to delete versions and whole branches.
 *  @param versions, version_count  named as for norvik_find_version.
 *  @param branches, branch_count   names of branches, which go with all their versions.
 *  @param change                   for the plan, which locks the container as long as the call
 *                                  runs, and for norvik_carry_out; copied, `user` must stay.
 *  @param out                      receives the plan, freed by norvik_plan_free.
 *  @returns null or an error; refused: the first branch and its version 0, and a branch that others
 *           hang on. */
NORVIK_API norvik_error *norvik_plan_deletion(const char *path, const char *const *versions,
                                              size_t version_count, const char *const *branches,
                                              size_t branch_count,
                                              const norvik_change_options *change,
                                              norvik_plan **out);

/** Plans to delete a version, which may be deleted already, and to take every line that it brought
 *  and that no other version shows out of the file, copies in other deleted versions included.
 *  @returns as above; refused: all lines that it brought are shown by others. */
NORVIK_API norvik_error *norvik_plan_purge(const char *path, const char *version,
                                           const norvik_change_options *change, norvik_plan **out);

enum norvik_repair_flag {
    norvik_drop_stray = 1 /* lines that belong to no run are nobody's */
};

/** Plans to write what is in no doubt in a damaged container to another one.
 *  @param new_path  the new container; the damaged one is left alone. norvik_force replaces a file
 *                   that exists.
 *  @param flags     of norvik_repair_flag.
 *  @returns as above; damaged: nothing can be saved. */
NORVIK_API norvik_error *norvik_plan_repair(const char *path, const char *new_path, uint32_t flags,
                                            const norvik_change_options *change, norvik_plan **out);

/** @returns the number of versions and branches that something becomes of. */
NORVIK_API size_t norvik_fate_count(const norvik_plan *plan);

/** @returns fate `index` (from 0), in the container's order, versions first; null when there is no
 *           such. */
NORVIK_API const norvik_fate *norvik_fate_at(const norvik_plan *plan, size_t index);

/** @returns the number of lines that a purge finds kept; the first 50 of each sort are listed. */
NORVIK_API size_t norvik_kept_line_count(const norvik_plan *plan);

/** @returns kept line `index` (from 0); null when there is no such. */
NORVIK_API const norvik_kept_line *norvik_kept_line_at(const norvik_plan *plan, size_t index);

/** Does what was planned.
 *  @param out  receives the outcome; null: not wanted.
 *  @returns null or an error; changed: the container is not the one that the plan was made of, also
 *           when the plan has been carried out before; refused: the new container of a repair
 *           exists, by then also from the plan itself. */
NORVIK_API norvik_error *norvik_carry_out(norvik_plan *plan, norvik_outcome **out);

/** Frees a plan. */
NORVIK_API void norvik_plan_free(norvik_plan *plan);

#ifdef __cplusplus
}
#endif
#endif

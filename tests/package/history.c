/* A host in C that keeps containers in the current folder: uses every function of history.h. Prints
 * the place of the first answer that is not as documented, and ends with 1. */
#include <errno.h>
#include <fcntl.h>
#include <norviktdm/history.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "expect.h"

/* Whether the outcome is this one; frees it. */
static int is_outcome(norvik_outcome *outcome, int answer, const char *version) {
    const int right = norvik_outcome_answer(outcome) == answer &&
                      strcmp(norvik_outcome_version(outcome), version) == 0 &&
                      strlen(norvik_outcome_oid(outcome)) == 32;
    norvik_outcome_free(outcome);
    return right;
}

/* Checks a text in; 1 when the outcome is another one. */
static int checks_in(const char *path, const char *string, const norvik_checkin_options *options,
                     int answer, const char *version) {
    norvik_outcome *outcome = NULL;
    DONE(norvik_checkin(path, text(string), options, NULL, &outcome));
    EXPECT(is_outcome(outcome, answer, version));
    return 0;
}

static int stores(const char *path, const char *string, const char *version) {
    return checks_in(path, string, NULL, norvik_answer_done, version);
}

static int reads_as(const char *path, const char *version, const char *string) {
    norvik_container *container = NULL;
    const norvik_version *found = NULL;
    char *bytes = NULL;
    size_t size = 0;
    DONE(norvik_open(path, 0, &container));
    DONE(norvik_find_version(container, version, &found));
    DONE(norvik_version_text(container, found, &bytes, &size));
    const int same = size == strlen(string) && strcmp(bytes, string) == 0;
    norvik_free_bytes(bytes);
    norvik_close(container);
    EXPECT(same);
    return 0;
}

static int file_exists(const char *path) {
    return access(path, F_OK) == 0;
}

static int keeps_versions(void) {
    norvik_outcome *outcome = NULL;
    norvik_create_options create = {.size = sizeof create, .branch = "trunk", .time = 1};
    norvik_change_options dry = {.size = sizeof dry, .flags = norvik_dry_run};
    DONE(norvik_create("c", &create, &dry, NULL));
    EXPECT(!file_exists("c"));
    DONE(norvik_create("c", &create, NULL, &outcome));
    EXPECT(norvik_outcome_merge(outcome) == NULL);
    EXPECT(is_outcome(outcome, norvik_answer_done, "trunk@0"));
    EXPECT(refused(norvik_create("c", NULL, NULL, NULL)));
    EXPECT(stores("c", "a\nb\nc\n", "trunk@1") == 0);

    norvik_checkin_options options = {.size = sizeof options, .base = "trunk@1", .time = 7};
    EXPECT(checks_in("c", "a\nB\nc\nd", &options, norvik_answer_done, "trunk@2") == 0);
    EXPECT(checks_in("c", "a\nB\nc\nd", NULL, norvik_answer_same, "trunk@2") == 0);
    EXPECT(checks_in("c", "a\nB\nc\nd", &options, norvik_answer_same, "trunk@2") == 0);
    options = (norvik_checkin_options){
        .size = sizeof options, .branch = "side", .from = "trunk@1", .time = 7};
    EXPECT(checks_in("c", "a\nb\n", &options, norvik_answer_done, "side@1") == 0);
    DONE(norvik_create_branch("c", "idle", "trunk", 9, NULL, &outcome));
    EXPECT(is_outcome(outcome, norvik_answer_done, "idle@0"));
    EXPECT(refused(norvik_create_branch("c", "idle", "trunk", 9, NULL, NULL)));
    return 0;
}

/* What others stored since the base is told, merged, or left in conflict. */
static int merges_what_came_since(void) {
    norvik_outcome *outcome = NULL;
    norvik_checkin_options options = {.size = sizeof options, .name = "mine", .base = "main@1"};
    DONE(norvik_create("m", NULL, NULL, NULL));
    EXPECT(stores("m", "1\n2\n3\n4\n5\n", "main@1") == 0);
    EXPECT(stores("m", "one\n2\n3\n4\n5\n", "main@2") == 0);
    DONE(norvik_checkin("m", text("1\n2\n3\n4\nfive\n"), &options, NULL, &outcome));
    EXPECT(norvik_outcome_answer(outcome) == norvik_answer_outdated);
    EXPECT(norvik_outcome_since_count(outcome) == 1);
    EXPECT(strcmp(norvik_outcome_since_at(outcome, 0), "main@2") == 0);
    EXPECT(norvik_outcome_since_at(outcome, 1) == NULL);
    norvik_outcome_free(outcome);
    options.flags = norvik_merge_newest;
    DONE(norvik_checkin("m", text("1\n2\n3\n4\nfive\n"), &options, NULL, &outcome));
    EXPECT(holds(norvik_merged_text(norvik_outcome_merge(outcome)), "one\n2\n3\n4\nfive\n"));
    EXPECT(is_outcome(outcome, norvik_answer_done, "main@3"));
    EXPECT(reads_as("m", "", "one\n2\n3\n4\nfive\n") == 0);
    DONE(norvik_checkin("m", text("I\n2\n3\n4\n5\n"), &options, NULL, &outcome));
    EXPECT(norvik_outcome_answer(outcome) == norvik_answer_conflict);
    EXPECT(norvik_conflict_count(norvik_outcome_merge(outcome)) == 1);
    norvik_outcome_free(outcome);
    options.base = NULL;
    EXPECT(refused(norvik_checkin("m", text("2\n"), &options, NULL, &outcome)));
    return 0;
}

static int take_piece(void *user, const char *bytes, size_t size) {
    char *const taken = user;
    strncat(taken, bytes, size);
    return strlen(taken) > 6; /* enough */
}

static int lists_and_gives_texts(void) {
    norvik_container *container = NULL;
    const norvik_version *version = NULL;
    DONE(norvik_open("c", 0, &container));
    EXPECT(strlen(norvik_element(container)) == 32);
    EXPECT(norvik_version_count(container) == 5 && norvik_branch_count(container) == 3);
    EXPECT(norvik_version_at(container, 5) == NULL && norvik_branch_at(container, 3) == NULL);
    const norvik_branch *branch = norvik_branch_at(container, 1);
    EXPECT(strcmp(branch->name, "side") == 0 && branch->number == 1 && branch->deleted == 0);
    EXPECT(branch->parent_branch == 0 && branch->parent_version == 1);
    DONE(norvik_find_version(container, "trunk@2", &version));
    EXPECT(version->number == 2 && version->branch == 0 && version->time == 7);
    EXPECT(strcmp(version->name, "trunk@2") == 0 && version->deleted == 0);
    const norvik_version *by_oid = NULL;
    DONE(norvik_find_version(container, version->oid, &by_oid));
    EXPECT(by_oid == version);
    EXPECT(refused(norvik_find_version(container, "trunk@9", &by_oid)) && by_oid == NULL);

    char taken[64] = "";
    norvik_error *error = norvik_write_text(container, version, take_piece, taken);
    EXPECT(failed_as(error, norvik_kind_stopped) && strcmp(taken, "a\nB\nc\nd") == 0);
    taken[0] = '\0';
    DONE(norvik_find_version(container, "side", &by_oid));
    DONE(norvik_write_text(container, by_oid, take_piece, taken));
    EXPECT(strcmp(taken, "a\nb\n") == 0);
    char *bytes = NULL;
    DONE(norvik_version_text(container, version, &bytes, NULL));
    EXPECT(strcmp(bytes, "a\nB\nc\nd") == 0);
    norvik_free_bytes(bytes);

    norvik_annotation *annotation = NULL;
    DONE(norvik_annotate(container, version, &annotation));
    EXPECT(norvik_annotated_count(annotation) == 4 && !norvik_annotated_at(annotation, 4));
    const char *const brought_by[] = {"trunk@1", "trunk@2", "trunk@1", "trunk@2"};
    for (size_t i = 0; i < 4; i++) {
        EXPECT(strcmp(norvik_annotated_at(annotation, i)->version->name, brought_by[i]) == 0);
    }
    EXPECT(holds(norvik_annotated_at(annotation, 3)->text, "d"));
    norvik_annotation_free(annotation);
    const norvik_version stranger = *version;
    EXPECT(refused(norvik_annotate(container, &stranger, &annotation)));
    norvik_close(container);
    return 0;
}

static void note_progress(void *user, uint64_t done, uint64_t all) {
    *(int *)user += done <= all ? 1 : 1000;
}

static int verifies(void) {
    norvik_container *container = NULL;
    norvik_verdict *verdict = NULL;
    const norvik_version *version = NULL;
    int calls = 0;
    const int file = open("c", O_RDONLY);
    DONE(norvik_open_descriptor(file, "c", 0, &container));
    close(file);
    DONE(norvik_verify(container, norvik_with_digests, note_progress, &calls, &verdict));
    EXPECT(norvik_complaint_count(verdict) == 0 && !norvik_complaint_at(verdict, 0) && calls < 9);
    DONE(norvik_find_version(container, "trunk@2", &version));
    const norvik_version_facts *facts = norvik_facts_of(verdict, version);
    EXPECT(facts->lines == 4 && facts->bytes == 7 && facts->in_doubt == 0 && facts->digest != 0);
    EXPECT(facts->inserted == 2 && facts->removed == 1);
    EXPECT(norvik_facts_of(verdict, NULL) == NULL);
    norvik_verdict_free(verdict);
    norvik_close(container);

    char bytes[4096];
    FILE *stream = fopen("c", "rb");
    size_t size = fread(bytes, 1, sizeof bytes - 16, stream);
    fclose(stream);
    size += (size_t)sprintf(bytes + size, "stray\n");
    *(strstr(bytes, "\nB\n") + 1) = '\0';
    const norvik_text damaged = {bytes, size};
    norvik_error *error = norvik_open_memory(damaged, "bytes", 0, &container);
    EXPECT(norvik_error_line(error) != 0 && strcmp(norvik_error_file(error), "bytes") == 0);
    EXPECT(failed_as(error, norvik_kind_damaged) && container == NULL);
    DONE(norvik_open_memory(damaged, "bytes", norvik_open_damaged, &container));
    DONE(norvik_verify(container, 0, NULL, NULL, &verdict));
    EXPECT(norvik_complaint_count(verdict) == 3 && norvik_complaint_at(verdict, 0)->line != 0);
    EXPECT(strlen(norvik_complaint_at(verdict, 0)->reason) > 0);
    norvik_verdict_free(verdict);
    norvik_close(container);
    stream = fopen("damaged", "wb");
    EXPECT(fwrite(bytes, 1, size, stream) == size && fclose(stream) == 0);
    error = norvik_open("no-such-file", 0, &container);
    EXPECT(norvik_error_system(error) == ENOENT && failed_as(error, norvik_kind_system));
    return 0;
}

/* Whether that becomes of a version or a branch, with a reason where it is lost. */
static int is_fate(const norvik_plan *plan, const char *name, int is_branch, int kind) {
    for (size_t i = 0; i < norvik_fate_count(plan); i++) {
        const norvik_fate *const fate = norvik_fate_at(plan, i);
        if (strcmp(fate->name, name) == 0) {
            const int told = fate->line != 0 && strlen(fate->reason) > 0;
            return (int)fate->kind == kind && (int)fate->is_branch == is_branch &&
                   told == (kind == norvik_fate_lost);
        }
    }
    return 0;
}

/* Carries the plan out and frees it; the kind of the failure, 0 for none. */
static int ends_as(norvik_plan *plan) {
    norvik_error *const error = norvik_carry_out(plan, NULL);
    const int kind = norvik_error_kind(error);
    norvik_error_free(error);
    norvik_plan_free(plan);
    return kind;
}

static int deletes_as_planned(void) {
    const char *const version = "trunk@1";
    const char *const branch = "idle";
    norvik_plan *plan = NULL;
    norvik_plan *stale = NULL;
    norvik_outcome *outcome = NULL;
    DONE(norvik_plan_deletion("c", &version, 1, &branch, 1, NULL, &plan));
    DONE(norvik_plan_deletion("c", &version, 1, NULL, 0, NULL, &stale));
    EXPECT(norvik_fate_count(plan) == 3 && norvik_fate_at(plan, 3) == NULL);
    EXPECT(is_fate(plan, "trunk@1", 0, norvik_fate_hidden));
    EXPECT(is_fate(plan, "idle@0", 0, norvik_fate_gone));
    EXPECT(is_fate(plan, "idle", 1, norvik_fate_gone));
    EXPECT(norvik_kept_line_count(plan) == 0);
    EXPECT(reads_as("c", "trunk@1", "a\nb\nc\n") == 0);
    DONE(norvik_carry_out(plan, &outcome));
    EXPECT(norvik_outcome_answer(outcome) == norvik_answer_done);
    norvik_outcome_free(outcome);
    norvik_plan_free(plan);
    EXPECT(ends_as(stale) == norvik_kind_changed);
    norvik_container *container = NULL;
    const norvik_version *gone = NULL;
    DONE(norvik_open("c", 0, &container));
    EXPECT(refused(norvik_find_version(container, version, &gone)));
    norvik_close(container);
    EXPECT(reads_as("c", "trunk", "a\nB\nc\nd") == 0);
    EXPECT(refused(norvik_plan_deletion("c", NULL, 1, NULL, 0, NULL, &plan)) && plan == NULL);
    return 0;
}

static int purges_and_repairs(void) {
    norvik_plan *plan = NULL;
    EXPECT(stores("m", "one\nsecret\n2\n3\n", "main@4") == 0);
    EXPECT(stores("m", "one\n2\n3\n", "main@5") == 0);
    EXPECT(refused(norvik_plan_purge("m", "main@2", NULL, &plan)));
    DONE(norvik_plan_purge("m", "main@4", NULL, &plan));
    EXPECT(norvik_fate_count(plan) == 1 && norvik_kept_line_at(plan, 0) == NULL);
    EXPECT(ends_as(plan) == 0);
    EXPECT(stores("m", "one\nkey\n2\n3\nend\n", "main@6") == 0);
    EXPECT(stores("m", "one\n2\n3\nend\n", "main@7") == 0);
    DONE(norvik_plan_purge("m", "main@6", NULL, &plan));
    EXPECT(norvik_kept_line_count(plan) == 1 && norvik_kept_line_at(plan, 0)->count == 1);
    EXPECT(holds(norvik_kept_line_at(plan, 0)->text, "end") &&
           norvik_kept_line_at(plan, 0)->is_copy == 0);
    EXPECT(strcmp(norvik_kept_line_at(plan, 0)->holders, "main@7") == 0);
    norvik_plan_free(plan);

    EXPECT(
        failed_as(norvik_plan_repair("damaged", "repaired", 0, NULL, &plan), norvik_kind_damaged));
    DONE(norvik_plan_repair("damaged", "repaired", norvik_drop_stray, NULL, &plan));
    EXPECT(norvik_fate_count(plan) == 5 && is_fate(plan, "side@1", 0, norvik_fate_saved));
    EXPECT(is_fate(plan, "trunk@2", 0, norvik_fate_lost));
    DONE(norvik_carry_out(plan, NULL));
    EXPECT(ends_as(plan) == norvik_kind_refused); /* it exists by now */
    EXPECT(reads_as("repaired", "side", "a\nb\n") == 0);
    DONE(norvik_plan_repair("damaged", "again", norvik_drop_stray, NULL, &plan));
    EXPECT(truncate("damaged", 10) == 0);
    EXPECT(ends_as(plan) == norvik_kind_changed);
    return 0;
}

static int refuses_to_read(void) {
    const norvik_text nothing = {NULL, 1};
    norvik_container *container = NULL;
    const norvik_version *version = NULL;
    norvik_annotation *annotation = NULL;
    norvik_verdict *verdict = NULL;
    char *bytes = NULL;
    EXPECT(refused(norvik_open("c", 0, NULL)) && refused(norvik_open(NULL, 0, &container)));
    EXPECT(refused(norvik_open(".", 0, &container)) && refused(norvik_open("c", 8, &container)));
    EXPECT(refused(norvik_open_memory(nothing, "n", 0, &container)));
    EXPECT(refused(norvik_open_memory(text(""), "n", 8, &container)));
    EXPECT(failed_as(norvik_open_memory(text("no\n"), "n", 0, &container), norvik_kind_damaged));
    EXPECT(failed_as(norvik_open_descriptor(-1, "n", 0, &container), norvik_kind_system));
    EXPECT(refused(norvik_find_version(NULL, "main", &version)));
    EXPECT(norvik_version_count(NULL) == 0 && norvik_branch_at(NULL, 0) == NULL);

    DONE(norvik_open("c", 0, &container));
    DONE(norvik_find_version(container, "trunk", &version));
    EXPECT(refused(norvik_write_text(container, version, NULL, NULL)));
    EXPECT(refused(norvik_write_text(NULL, version, take_piece, NULL)));
    EXPECT(refused(norvik_version_text(container, NULL, &bytes, NULL)) && bytes == NULL);
    EXPECT(refused(norvik_annotate(NULL, version, &annotation)));
    EXPECT(refused(norvik_verify(NULL, 0, NULL, NULL, &verdict)));
    EXPECT(refused(norvik_verify(container, 8, NULL, NULL, &verdict)) && verdict == NULL);
    version = NULL;
    for (size_t i = 0; version == NULL || version->deleted == 0; i++) {
        version = norvik_version_at(container, i);
        EXPECT(version != NULL);
    }
    EXPECT(refused(norvik_version_text(container, version, &bytes, NULL)));
    norvik_close(container);
    return 0;
}

/* Whether the text is refused for the reason, and nothing is given out. */
static int refuses_text(norvik_text some, const char *reason) {
    norvik_outcome *outcome = NULL;
    norvik_error *error = norvik_checkin("m", some, NULL, NULL, &outcome);
    const int right = outcome == NULL && strstr(norvik_error_reason(error), reason) != NULL;
    return refused(error) && right;
}

static int refuses_to_change(void) {
    static char line[8001];
    const norvik_text nothing = {NULL, 1};
    const norvik_text long_line = {line, sizeof line};
    const char *const missing[] = {NULL};
    norvik_plan *plan = NULL;
    norvik_outcome *stored = NULL;
    norvik_change_options change = {.size = sizeof change, .flags = 1U << 30};
    norvik_create_options create = {.size = sizeof create, .branch = "a b"};
    norvik_checkin_options options = {.size = sizeof options, .flags = 1U << 30};
    EXPECT(refused(norvik_create("n", &create, NULL, NULL)) && !file_exists("n"));
    EXPECT(refused(norvik_create(NULL, NULL, NULL, NULL)));
    EXPECT(refused(norvik_create("n", NULL, &change, NULL)));
    change.size = 2;
    EXPECT(refused(norvik_create("n", NULL, &change, NULL)) && !file_exists("n"));
    EXPECT(refused(norvik_create_branch("m", NULL, "main", 0, NULL, NULL)));
    EXPECT(refused(norvik_create_branch("m", "n", "main@99", 0, NULL, NULL)));
    EXPECT(refused(norvik_checkin(NULL, text(""), NULL, NULL, &stored)));
    EXPECT(refused(norvik_checkin("m", text(""), &options, NULL, &stored)));
    options.flags = 0, options.from = "main@99";
    EXPECT(refused(norvik_checkin("m", text(""), &options, NULL, &stored)));
    options.branch = "n";
    EXPECT(refused(norvik_checkin("m", text(""), &options, NULL, &stored)));
    memset(line, 'a', sizeof line);
    EXPECT(refuses_text(nothing, "has a size") && refuses_text(long_line, "has 8001 bytes"));
    line[0] = '^';
    line[8000] = '\n';
    EXPECT(refuses_text(long_line, "begins with '^'"));

    EXPECT(refused(norvik_plan_deletion("m", NULL, 0, NULL, 0, NULL, &plan)));
    EXPECT(refused(norvik_plan_deletion("m", missing, 1, NULL, 0, NULL, &plan)));
    EXPECT(refused(norvik_plan_purge(NULL, "main@1", NULL, &plan)));
    EXPECT(refused(norvik_plan_purge("m", NULL, NULL, &plan)));
    EXPECT(refused(norvik_plan_purge("m", "main@1", &change, &plan)));
    EXPECT(refused(norvik_plan_repair(NULL, "n", 0, NULL, &plan)));
    EXPECT(refused(norvik_plan_repair("m", "n", 8, NULL, &plan)));
    EXPECT(failed_as(norvik_plan_repair("none", "n", 0, NULL, &plan), norvik_kind_system));
    EXPECT(failed_as(norvik_plan_repair("damaged", "n", 0, NULL, &plan), norvik_kind_damaged));
    EXPECT(refused(norvik_carry_out(NULL, NULL)) && norvik_fate_count(NULL) == 0);
    return 0;
}

static void take_notice(void *user, const norvik_error *what) {
    snprintf(user, 128, "%s", norvik_error_message(what));
}

/* Another process holds the container. */
static int waits_no_longer_than_it_may(void) {
    char notice[128] = "";
    norvik_outcome *outcome = NULL;
    norvik_change_options change = {
        .size = sizeof change, .lock_wait = 50, .notice = take_notice, .user = notice};
    const norvik_checkin_options trunk = {.size = sizeof trunk, .branch = "trunk"};
    EXPECT(system("flock c sleep 1 & sleep 0.3") == 0);
    EXPECT(
        failed_as(norvik_checkin("c", text("x\n"), &trunk, &change, &outcome), norvik_kind_busy));
    change.lock_wait = 5000;
    change.flags = norvik_dry_run;
    DONE(norvik_checkin("c", text("x\n"), &trunk, &change, &outcome));
    EXPECT(is_outcome(outcome, norvik_answer_done, "trunk@3"));
    EXPECT(strstr(notice, "would be replaced") != NULL);
    EXPECT(reads_as("c", "trunk", "a\nB\nc\nd") == 0);
    return 0;
}

/* Checks in beside others; NULL unless something fails. */
static void *work(void *name) {
    for (int i = 1; i <= 10; i++) {
        char line[32];
        norvik_outcome *outcome = NULL;
        snprintf(line, sizeof line, "line %d of %s\n", i, (const char *)name);
        if (norvik_checkin("shared", text(line), NULL, NULL, &outcome) != NULL ||
            norvik_outcome_answer(outcome) != norvik_answer_done) {
            return name;
        }
        norvik_outcome_free(outcome);
    }
    return NULL;
}

static int serves_threads(void) {
    static char names[4][2] = {"0", "1", "2", "3"};
    pthread_t threads[4];
    void *failed = NULL;
    DONE(norvik_create("shared", NULL, NULL, NULL));
    for (int i = 0; i < 4; i++) {
        EXPECT(pthread_create(&threads[i], NULL, work, names[i]) == 0);
    }
    for (int i = 0; i < 4; i++) {
        EXPECT(pthread_join(threads[i], &failed) == 0 && failed == NULL);
    }
    EXPECT(stores("shared", "last\n", "main@41") == 0);
    return 0;
}

int main(void) {
    return keeps_versions() || merges_what_came_since() || lists_and_gives_texts() || verifies() ||
           deletes_as_planned() || purges_and_repairs() || refuses_to_read() ||
           refuses_to_change() || waits_no_longer_than_it_may() || serves_threads();
}

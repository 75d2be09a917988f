/* A host in C: walks the public interface from a new element to a merge, in the current folder.
 * Prints the place of the first answer that is not as documented, and ends with 1. */
#include <norviktdm/tdm.h>
#include <stdio.h>
#include <string.h>

#define EXPECT(condition)                                                   \
    do {                                                                    \
        if (!(condition)) {                                                 \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
            return 1;                                                       \
        }                                                                   \
    } while (0)

static int write_text(const char *path, const char *text) {
    FILE *file = fopen(path, "w");
    return file == NULL || fputs(text, file) < 0 || fclose(file) != 0;
}

static int holds(const char *path, const char *text) {
    char bytes[1024];
    FILE *file = fopen(path, "r");
    if (file == NULL) {
        return 0;
    }
    const size_t length = fread(bytes, 1, sizeof bytes - 1, file);
    fclose(file);
    bytes[length] = '\0';
    return strcmp(bytes, text) == 0;
}

static int keeps_a_history(void) {
    uint32_t identical = 1;
    EXPECT(tdm_create_elem(1, "element", "main", "v0", "c0") == 0);
    EXPECT(write_text("text", "a\n^b\nc") == 0);
    EXPECT(tdm_store_ver(2, "v1", "main", 1, "c1", NULL, NULL, 0, "c0", "text", 0, &identical) ==
           0);
    EXPECT(identical == 0);
    EXPECT(tdm_create_branch(3, "side", "s0", "c2", "main", NULL, 1, "c1") == 0);
    EXPECT(write_text("text", "a\nB\nc") == 0);
    EXPECT(tdm_store_ver(4, "s1", "side", 1, "c3", NULL, NULL, 0, "c2", "text", 0, &identical) ==
           0);
    EXPECT(tdm_construct_ver("c3", "out", "v1", 0) == 0 && holds("out", "a\n^b\nc"));
    EXPECT(tdm_construct_ver("c3", "out", "s1", 1) == 0);
    EXPECT(holds("out", "I v1 a\nI s1 B\nI v1 c\n"));
    EXPECT(tdm_get_cont_info("c3", "out") == 0);

    const char *const gone[] = {"s1", "s0", "side"};
    EXPECT(tdm_delete_versions_and_branches("c3", "c4", 2, gone, 1, gone + 2) == 0);
    EXPECT(tdm_construct_ver("c4", "out", "v1", 0) == 0 && holds("out", "a\n^b\nc"));
    EXPECT(tdm_construct_ver("no-such-container", "out", "v1", 0) == 2);
    return 0;
}

static int compares_and_merges(void) {
    const char *const names[] = {"base", "mine", "yours"};
    tdm_session *session = NULL;
    int identical = 1;
    uint64_t head = 0;
    uint64_t tail = 0;
    uint32_t end = 0;
    diff_block block;
    EXPECT(write_text(names[0], "a\nb\nc\nd\ne\n") == 0);
    EXPECT(write_text(names[1], "a\nB\nc\nd\ne\n") == 0);
    EXPECT(write_text(names[2], "a\nb\nc\ne\n") == 0);
    EXPECT(tdm_create_session(3, names, &session) == 0);
    tdm_set_operation_context(session, 1, "merge");
    EXPECT(tdm_compare(session, &identical) == 0 && identical == 0);
    EXPECT(tdm_init_diff_stream(session, &head, &tail) == 0 && head == 1 && tail == 0);
    EXPECT(strcmp(tdm_get_line_text(session, 1, 2), "B\n") == 0);
    remove("merged");
    merge_report *merge = tdm_merge_init_report(session, "merged", 2, NULL, NULL, 0);
    EXPECT(merge != NULL);
    for (;;) {
        EXPECT(tdm_get_next_diff(session, &end, &block) == 0);
        if (end) {
            break;
        }
        EXPECT(tdm_merge_queue_diff(merge, &block) == 0);
    }
    EXPECT(tdm_merge_term(merge, 0) == 0 && holds("merged", "a\nB\nc\ne\n"));
    EXPECT(tdm_destroy_session(session) == 0);
    return 0;
}

int main(void) {
    return keeps_a_history() || compares_and_merges();
}

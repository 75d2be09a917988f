/* keep FILE [BASE]: stores FILE's text as the next version of FILE.tdm and prints that version's
 * name. With BASE, the version that the text was made from, it is merged with what others have
 * stored since; conflicts are printed between markers, and nothing is stored. */
#define _POSIX_C_SOURCE 200809L
#include <norviktdm/history.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

static int fail(norvik_error *error) {
    fprintf(stderr, "keep: %s\n", norvik_error_message(error));
    norvik_error_free(error);
    return 2;
}

int main(int argc, char **argv) {
    char container[4096], *bytes = NULL;
    size_t room = 0;
    FILE *file = argc < 2 ? NULL : fopen(argv[1], "rb");
    if (file == NULL)
        return 2;
    ssize_t size = getdelim(&bytes, &room, '\0', file); /* all of it: a text holds no NUL */
    if (ferror(file) || !feof(file))
        return 2;
    fclose(file);

    snprintf(container, sizeof container, "%s.tdm", argv[1]);
    if (access(container, F_OK) != 0) {
        norvik_error *error = norvik_create(container, NULL, NULL, NULL);
        if (error != NULL && access(container, F_OK) != 0)
            return fail(error);
        norvik_error_free(error); /* somebody else has created it in the same moment */
    }

    norvik_checkin_options options = {.size = sizeof options, .name = argv[1]};
    if (argc > 2) {
        options.base = argv[2];
        options.flags = norvik_merge_newest;
    }
    norvik_text text = {bytes, size < 0 ? 0 : (size_t)size};
    norvik_outcome *outcome;
    norvik_error *error = norvik_checkin(container, text, &options, NULL, &outcome);
    free(bytes);
    if (error != NULL)
        return fail(error);

    int conflict = norvik_outcome_answer(outcome) == norvik_answer_conflict;
    norvik_text merged = norvik_merged_text(norvik_outcome_merge(outcome));
    if (conflict)
        fwrite(merged.bytes, 1, merged.size, stdout);
    else
        printf("%s\n", norvik_outcome_version(outcome));
    norvik_outcome_free(outcome);
    return conflict;
}

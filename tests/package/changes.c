/* A host in C that compares and merges texts in memory: uses every function of common.h and
 * changes.h. Prints the place of the first answer that is not as documented, and ends with 1. */
#include <norviktdm/changes.h>
#include <stdio.h>
#include <string.h>

#include "expect.h"

static int compares(void) {
    const char *const before = "one\ntwo\nthree\nfour\nfive\nsix\nseven\n";
    const char *const after = "three\nfour\nfive\nsix\nseven\none\ntwo\neight\n";
    norvik_comparison *changes = NULL;
    DONE(norvik_compare(text(before), text(after), 0, &changes));
    EXPECT(norvik_hunk_count(changes) == 2);
    EXPECT(is_lines(norvik_hunk_at(changes, 0)->before, 1, 2));
    EXPECT(is_lines(norvik_hunk_at(changes, 0)->after, 1, 0));
    EXPECT(is_lines(norvik_hunk_at(changes, 1)->before, 8, 0));
    EXPECT(is_lines(norvik_hunk_at(changes, 1)->after, 6, 3));
    EXPECT(norvik_hunk_at(changes, 2) == NULL);
    EXPECT(norvik_move_count(changes) == 1 && norvik_move_at(changes, 1) == NULL);
    const norvik_move *move = norvik_move_at(changes, 0);
    EXPECT(move->before == 1 && move->after == 6 && move->count == 2);
    EXPECT(holds(norvik_before_lines(changes, norvik_hunk_at(changes, 0)->before), "one\ntwo\n"));
    EXPECT(
        holds(norvik_after_lines(changes, norvik_hunk_at(changes, 1)->after), "one\ntwo\neight\n"));
    const norvik_lines past_the_end = {7, 9};
    EXPECT(holds(norvik_before_lines(changes, past_the_end), "seven\n"));
    norvik_comparison_free(changes);

    DONE(norvik_compare(text("a b\n"), text("a  b\n"), norvik_ignore_blanks, &changes));
    EXPECT(norvik_hunk_count(changes) == 0);
    norvik_comparison_free(changes);
    DONE(norvik_compare(text("same\n"), text("same"), 0, &changes));
    EXPECT(norvik_hunk_count(changes) == 1);
    norvik_comparison_free(changes);
    return 0;
}

static int merges(void) {
    const norvik_text texts[] = {text("a\nb\nc\nd\ne\n"), text("a\nB\nc\nd\ne\n"),
                                 text("a\nb\nc\nd\nE\n")};
    norvik_merge *merge = NULL;
    DONE(norvik_merge_texts(texts, 3, NULL, &merge));
    EXPECT(holds(norvik_merged_text(merge), "a\nB\nc\nd\nE\n"));
    EXPECT(norvik_conflict_count(merge) == 0 && norvik_region_count(merge) == 2);
    EXPECT(norvik_region_at(merge, 0)->taken == 1 && norvik_region_at(merge, 1)->taken == 2);
    EXPECT(norvik_region_at(merge, 1)->conflict == norvik_conflict_none);
    EXPECT(norvik_region_at(merge, 1)->places == 1 && norvik_region_at(merge, 2) == NULL);
    EXPECT(is_lines(norvik_place_at(merge, 1, 0)->base, 5, 1));
    EXPECT(is_lines(norvik_place_at(merge, 1, 0)->merged, 5, 1));
    EXPECT(norvik_place_at(merge, 1, 0)->marked == 0 && norvik_place_at(merge, 1, 1) == NULL);
    EXPECT(norvik_place_changed_by(merge, 1, 0, 2) && !norvik_place_changed_by(merge, 1, 0, 1));
    norvik_lines lines = {0, 0};
    EXPECT(holds(norvik_place_text(merge, 1, 0, 2, &lines), "E\n") && is_lines(lines, 5, 1));
    EXPECT(holds(norvik_place_text(merge, 1, 0, 0, NULL), "e\n"));
    EXPECT(norvik_place_text(merge, 1, 0, 3, NULL).size == 0);
    norvik_merge_free(merge);
    return 0;
}

static int leaves_conflicts(void) {
    const norvik_text texts[] = {text("a\nb\nc\n"), text("a\nmine\nc\n"), text("a\nyours\nc\n")};
    const char *const names[] = {"origin", "mine", "yours"};
    norvik_merge_options options = {.size = sizeof options};
    options.style = norvik_style_merge;
    options.marker_size = 3;
    options.names = names;
    norvik_merge *merge = NULL;
    DONE(norvik_merge_texts(texts, 3, &options, &merge));
    EXPECT(holds(norvik_merged_text(merge), "a\n<<< mine\nmine\n===\nyours\n>>> yours\nc\n"));
    EXPECT(norvik_conflict_count(merge) == 1 && norvik_region_at(merge, 0)->taken == 0);
    EXPECT(norvik_region_at(merge, 0)->conflict == norvik_conflict_differ);
    EXPECT(norvik_place_at(merge, 0, 0)->marked != 0);
    EXPECT(is_lines(norvik_place_at(merge, 0, 0)->merged, 2, 5));
    norvik_merge_free(merge);
    return 0;
}

static int gives_reasons_of_conflicts(void) {
    static const struct {
        const char *base, *mine, *yours;
        uint32_t reason;
    } rows[] = {
        {"a\n1\n2\n3\n4\ne\nf\ng\n", "a\ne\nf\ng\n1\n2\nIII\n4\n", "a\n1\n2\n3!\n4\ne\nf\ng\n",
         norvik_conflict_moved},
        {"r\nr\nr\nr\n", "r\nr\nr\n", "r\nr\nq\nr\nr\n", norvik_conflict_ambiguous},
        {"a\nb\nc\nd\ne\nf\n", "a\nP\nQ\nR\nb\nc\nd\ne\nf\n", "a\nb\nc\nd\ne\nP\nQ\nR\nf\n",
         norvik_conflict_repeated},
    };
    const norvik_merge_options strict = {.size = sizeof strict, .flags = norvik_strict};
    for (size_t i = 0; i < sizeof rows / sizeof *rows; i++) {
        const norvik_text texts[] = {text(rows[i].base), text(rows[i].mine), text(rows[i].yours)};
        norvik_merge *merge = NULL;
        DONE(norvik_merge_texts(texts, 3, &strict, &merge));
        EXPECT(norvik_conflict_count(merge) > 0);
        size_t region = 0;
        while (norvik_region_at(merge, region)->conflict == norvik_conflict_none) {
            region++;
        }
        EXPECT(norvik_region_at(merge, region)->conflict == rows[i].reason);
        norvik_merge_free(merge);
    }
    return 0;
}

static int refuses(void) {
    norvik_comparison *changes = (norvik_comparison *)&changes;
    const norvik_text nul = {"one\ntw\0o\n", 9};
    norvik_error *error = norvik_compare(text("one\n"), nul, 0, &changes);
    EXPECT(changes == NULL && norvik_error_kind(error) == norvik_kind_refused);
    EXPECT(strcmp(norvik_error_file(error), "second text") == 0);
    EXPECT(norvik_error_line(error) == 2 && norvik_error_system(error) == 0);
    EXPECT(strstr(norvik_error_reason(error), "NUL") != NULL);
    EXPECT(strncmp(norvik_error_message(error), "second text:2: byte 3", 21) == 0);
    norvik_error_free(error);
    EXPECT(refused(norvik_compare(text(""), text(""), 2, &changes)));
    EXPECT(refused(norvik_compare(text(""), text(""), 0, NULL)));
    norvik_merge *merge = NULL;
    const norvik_text one = text("one\n");
    norvik_merge_options options = {.size = sizeof options + 8};
    EXPECT(refused(norvik_merge_texts(&one, 1, NULL, &merge)));
    options.size = sizeof options;
    options.style = 3;
    const norvik_text two[] = {one, one};
    EXPECT(refused(norvik_merge_texts(two, 2, &options, &merge)) && merge == NULL);
    options.size = 2;
    EXPECT(refused(norvik_merge_texts(two, 2, &options, &merge)));
    const norvik_text bad[] = {one, nul};
    EXPECT(refused(norvik_merge_texts(bad, 2, NULL, &merge)));
    EXPECT(norvik_error_kind(NULL) == 0 && norvik_hunk_count(NULL) == 0);
    norvik_comparison_free(NULL);
    norvik_merge_free(NULL);
    norvik_error_free(NULL);
    return 0;
}

int main(void) {
    EXPECT(norvik_history_version() == NORVIK_HISTORY_VERSION);
    return compares() || merges() || leaves_conflicts() || gives_reasons_of_conflicts() ||
           refuses();
}

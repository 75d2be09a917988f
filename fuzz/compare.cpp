// Replaying a file's edits on the base gives the file; edits are in order and apart; moved lines
// are equal, and in what an edit removes and an edit inserts.
#include "comparison.h"
#include "moved_text.h"
#include "support.h"

namespace {

std::string replayed(const host::text_lines &base, const host::text_lines &file,
                     const std::vector<host::edit> &edits) {
    std::string text;
    int32_t base_line = 0;
    int32_t file_line = 0;
    for (const host::edit &edit : edits) {
        fuzz::require(edit.base_first > base_line || (edit.base_first == 0 && text.empty()),
                      "edits that touch");
        fuzz::require(edit.base_first - base_line == edit.file_first - file_line &&
                          edit.base_end >= edit.base_first && edit.file_end >= edit.file_first &&
                          edit.base_end + edit.file_end > edit.base_first + edit.file_first,
                      "edits out of step");
        text += base.range(base_line, edit.base_first);
        text += file.range(edit.file_first, edit.file_end);
        base_line = edit.base_end;
        file_line = edit.file_end;
    }
    return text += base.range(base_line, base.count());
}

void check_moves(const host::text_lines &base, const host::text_lines &file,
                 const host::file_edits &found) {
    for (const host::line_run &move : found.moves) {
        for (int32_t i = 0; i < move.count; i++) {
            const int32_t from = move.base_first + i;
            const int32_t to = move.file_first + i;
            fuzz::require(base.line(from) == file.line(to), "moved lines differ");
            fuzz::require(host::edit_removing(found.edits, from) >= 0 &&
                              host::edit_inserting(found.edits, to) >= 0,
                          "a moved line that is in no edit");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto texts = fuzz::texts_of_input(fuzz::bytes_of(data, size), 2, 4);
    std::vector<host::text_file> files(texts.size());
    for (size_t i = 0; i < texts.size(); i++) {
        fuzz::require(host::hold_text("text", texts[i], &files[i]) == 0, "no memory file");
    }
    host::comparison compared;
    fuzz::require(host::compare_files(&files, "compare", false, host::after_compare::close_session,
                                      &compared) == 0,
                  "texts that cannot be compared");
    for (size_t i = 1; i < files.size(); i++) {
        const host::file_edits found = host::edits_of(compared, files, i, {});
        fuzz::require(replayed(files[0].lines, files[i].lines, found.edits) == texts[i],
                      "the edits do not give the file");
        fuzz::require(found.edits.empty() == (texts[i] == texts[0]), "edits of equal texts");
        check_moves(files[0].lines, files[i].lines, found);
    }
    return 0;
}

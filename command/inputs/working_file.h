// The file whose text is checked in: what was read of it, the version that it says it was made
// from, and what becomes of it when the text is stored.
//
// Its mark and its text are changed only while it holds the bytes that were read.
#ifndef NORVIK_WORKING_FILE_H
#define NORVIK_WORKING_FILE_H

#include <string>
#include <string_view>

#include "command_context.h"
#include "failure_words.h"
#include "file_lock.h"
#include "file_replace.h"
#include "input_text.h"

namespace norvik {

class working_file {
public:
    explicit working_file(const command_context &context)
        : context_(context), replacement_(context) {}

    // Reads the file `name`; "-", standard input, has neither mark nor place. 0, or status_trouble
    // after a message.
    [[nodiscard]] exit_status read(const std::string &name);

    const std::string &name() const { return name_; }
    const input_text &input() const { return input_; }
    // The identifier that the file was marked with before its text was read; empty for none.
    const std::string &base() const { return base_; }

    // Marks the file as made from that version. What fails is told, for want of memory too; nothing
    // with --dry-run.
    void set_base(std::string_view identifier) const;

    // Makes `text`, marked with `identifier` and made from what `rights` are of, ready to take the
    // file's place; 0, or status_trouble after a message.
    [[nodiscard]] exit_status prepare(std::string_view text, const std::string &identifier,
                                      const granted_rights &rights);

    // Puts in place what prepare has made ready; 0, or status_trouble after a message.
    [[nodiscard]] exit_status replace() { return told(replacement_.commit({})); }

    // Whether it still holds what was read; else status_trouble after a message.
    [[nodiscard]] exit_status check_unchanged(int descriptor) const;

private:
    const command_context &context_;
    std::string name_;
    std::string base_;
    input_text input_;
    owned_descriptor source_;  // the file that was read, when it is a regular one
    file_replacement replacement_;
};

}  // namespace norvik

#endif

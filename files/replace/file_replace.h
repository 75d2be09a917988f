// The one procedure by which a command replaces a file, so that a kill, a full disk or a power cut
// at any moment leaves the old file or the new one, whole:
//
//   lock      find the file behind its links, refuse what is unsafe, take its lock
//   begin     create the temporary file beside it
//   ...       the command writes the temporary file, by path or by descriptor
//   commit    prove; owner, group, mode, attributes; force to disk; check that nobody changed the
//             old file; rename; force the folder to disk
//
// A replacement that goes before its commit removes its temporary file and changes nothing.
#ifndef NORVIK_FILE_REPLACE_H
#define NORVIK_FILE_REPLACE_H

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "descriptor_path.h"
#include "file_attributes.h"
#include "file_lock.h"
#include "replace_options.h"
#include "shown_path.h"
#include "temporary_file.h"

namespace norvik {

class file_replacement {
public:
    explicit file_replacement(const replace_options &options) : options_(options) {}

    // For a file that must exist, such as a container.
    result<> lock(const std::string &name);

    // For an output file: replaces an existing one only where the options force it (`must_be_new`:
    // never), and narrows it.
    result<> lock_output(const std::string &name, bool must_be_new = false);

    // For an output file whose old text the caller looks at: whether it may be replaced is the
    // caller's to say.
    result<> lock_any(const std::string &name);

    // Lets go of the lock, which a mapping of the file would hold beyond this object.
    void unlock();

    // The locked file. Its descriptor is open for reading when it exists.
    const locked_file &file() const { return file_; }

    // Refuses when the output would take the place of the file `input`, which the command reads.
    result<> refuse_same(const std::string &input) const;

    // Creates the temporary file, after one of the locks above.
    result<> begin();

    // Writes all of the new file, or more of it, after begin.
    result<> write(std::string_view bytes) const;

    // The path by which the library reads the locked file (after lock), and the one by which it
    // writes the temporary file (after begin): see descriptor_path.h.
    const std::string &old_path() const { return old_path_.path(); }
    const std::string &temporary_path() const { return temporary_path_.path(); }
    int temporary_descriptor() const { return temporary_.descriptor(); }

    // Says what the new file is made from: one that did not exist before can be read by nobody who
    // cannot read that.
    result<> made_from(int descriptor);
    void made_from(const granted_rights &rights) { rights_.add(rights); }
    // Has an existing file narrowed in the same way, as every output is, which is told unless
    // quiet: `source` ("its first text") may be read by no more.
    void narrow_to(const char *source) { narrowed_to_ = source; }

    // Called on the temporary file when it has the old file's attributes, to set more; where
    // that fails it is told, and goes on.
    void mark_new_file(std::function<result<>(int descriptor)> mark) { mark_ = std::move(mark); }
    // Asked just before the rename whether the old file may still go.
    void look_before_rename(std::function<result<>()> look) { last_look_ = std::move(look); }

    // Finishes the replacement. `prove` looks at the temporary file and may be empty for an
    // output that needs no proof. A dry run ends after the proof and tells what it would do.
    result<> commit(const std::function<result<>(int descriptor)> &prove);

private:
    result<> end_dry_run() const;
    // Tells the mode of an existing file that is narrowed, none when it is not.
    void tell_mode(const char *gets, std::optional<mode_t> narrowed) const;
    result<> set_attributes();
    result<> force_to_disk();
    result<> put_in_place();
    result<> look_before_parting() const;
    result<> lock_file_as(const std::string &name, bool may_be_new);
    // Whether the old file must have no other name.
    bool may_not_part() const { return file_.exists && !options_.break_links; }

    const replace_options &options_;
    locked_file file_;
    shown_path shown_file_;  // messages name neither path, but the file that the user gave
    shown_path shown_temporary_;
    temporary_file temporary_;
    descriptor_path old_path_;
    descriptor_path temporary_path_;
    granted_rights rights_;
    const char *narrowed_to_ = nullptr;  // null: an existing file keeps its mode
    std::function<result<>(int descriptor)> mark_;
    std::function<result<>()> last_look_;
};

}  // namespace norvik

#endif

// Every step before the rename leaves the old file as it is; what fails behind it is told with the
// words that the file is replaced. No step is tried twice. The bytes are forced to disk once, the
// folder once; nothing of the texts is held in memory here.
#include "file_replace.h"

#include <cerrno>
#include <cstdio>

#include "file_state.h"
#include "system_calls.h"

namespace norvik {

namespace {

// The rename has been done: what goes wrong now is told as such.
result<> force_folder_to_disk(const locked_file &file) {
    // A file system that cannot force a folder says EINVAL; there is nothing more to be had there.
    if (sys::fsync(file.folder.get()) == 0 || errno == EINVAL) {
        return {};
    }
    return system_failure(file.name, "is replaced, but its folder cannot be forced to disk",
                          last_error());
}

result<> nothing_replaced(failure why) {
    why.outcome = "nothing is replaced";
    return why;
}

}  // namespace

result<> file_replacement::lock_file_as(const std::string &name, bool may_be_new) {
    auto locked = lock_file(name, may_be_new, options_);
    if (!locked) {
        return locked.failure();
    }
    file_ = std::move(*locked);
    return {};
}

result<> file_replacement::lock(const std::string &name) {
    if (auto locked = lock_file_as(name, false); !locked) {
        return locked;
    }
    const std::error_code error = old_path_.read_from(file_.descriptor.get());
    shown_file_ = shown_path(old_path(), file_.name);
    return error ? system_failure(name, "cannot be read", error) : result<>();
}

result<> file_replacement::lock_any(const std::string &name) {
    narrow_to("what it is made from");
    return lock_file_as(name, true);
}

result<> file_replacement::lock_output(const std::string &name, bool must_be_new) {
    if (auto locked = lock_any(name); !locked) {
        return locked;
    }
    if (file_.exists && (must_be_new || !options_.force)) {
        failure why = refusal(name, "exists already");
        why.way_out = must_be_new ? remedy::none : remedy::replace;
        return why;
    }
    return {};
}

void file_replacement::unlock() {
    if (file_.exists) {
        (void)sys::flock(file_.descriptor.get(), LOCK_UN);
    }
}

result<> file_replacement::begin() {
    if (auto created = temporary_.create(file_); !created) {
        return created;
    }
    const std::error_code error = temporary_path_.write_to(temporary_.descriptor());
    shown_temporary_ = shown_path(temporary_path(), file_.name);
    return error ? system_failure(file_.name, "the new file cannot be written", error) : result<>();
}

result<> file_replacement::write(std::string_view bytes) const {
    const std::error_code error = write_bytes(temporary_.descriptor(), bytes);
    return error ? system_failure(file_.name, "cannot write", error) : result<>();
}

result<> file_replacement::refuse_same(const std::string &input) const {
    struct stat read {};
    if (!file_.exists || sys::stat(input.c_str(), &read) != 0 ||
        !is_same_file(read, file_.status)) {
        return {};
    }
    return refusal(file_.name, "is the same file as " + input + ", which is being read");
}

result<> file_replacement::commit(const std::function<result<>(int descriptor)> &prove) {
    if (const std::error_code error = temporary_path_.finish_writing(); error) {
        return system_failure(file_.name, "the new file cannot be written", error);
    }
    auto done = prove ? prove(temporary_.descriptor()) : result<>();
    if (done && options_.dry_run) {
        return end_dry_run();
    }
    // Until now the file is its maker's alone; rights come to what is proven.
    done = done ? set_attributes() : done;
    if (done && mark_) {
        if (const auto marked = mark_(temporary_.descriptor()); !marked) {
            options_.tell(marked.failure());
        }
    }
    done = done ? force_to_disk() : done;
    return done ? put_in_place() : done;
}

result<> file_replacement::end_dry_run() const {
    options_.tell(refusal(file_.name, file_.exists ? "would be replaced" : "would be created"));
    if (!file_.exists || narrowed_to_ == nullptr) {
        return {};
    }
    const auto narrowed = narrowed_file_mode(file_.descriptor.get(), file_.name, rights_);
    if (!narrowed) {
        return narrowed.failure();
    }
    tell_mode("would get", *narrowed);
    return {};
}

void file_replacement::tell_mode(const char *gets, std::optional<mode_t> narrowed) const {
    if (!narrowed || options_.quiet) {
        return;
    }
    char mode[32];
    std::snprintf(mode, sizeof mode, " the mode %04o: ", static_cast<unsigned>(*narrowed));
    options_.tell(
        refusal(file_.name, std::string(gets) + mode + narrowed_to_ + " may be read by no more"));
}

result<> file_replacement::made_from(int descriptor) {
    const std::error_code error = rights_.add(descriptor);
    return error ? system_failure(file_.name, "cannot see who may read its source", error)
                 : result<>();
}

result<> file_replacement::set_attributes() {
    const int target = temporary_.descriptor();
    if (!file_.exists) {
        const std::error_code error = set_new_file_mode(target, rights_);
        return error ? system_failure(file_.name, "cannot set its mode", error) : result<>();
    }
    auto copied = copy_attributes(
        {file_.descriptor.get(), file_.status, target, file_.name, options_.force, options_.tell});
    if (!copied || narrowed_to_ == nullptr) {
        return copied;
    }
    const auto narrowed = narrow_file_mode(target, file_.name, rights_);
    if (!narrowed) {
        return narrowed.failure();
    }
    tell_mode("gets", *narrowed);
    return {};
}

result<> file_replacement::force_to_disk() {
    // Never a second try: the pages that could not be written count as clean after the first.
    if (sys::fsync(temporary_.descriptor()) != 0) {
        return system_failure(file_.name, "the new file cannot be forced to disk", last_error());
    }
    // Some file systems report a failed write at close only. The descriptor itself stays open,
    // because it holds the lock that marks the temporary file as a living command's.
    if (sys::close_copy(temporary_.descriptor()) != 0) {
        return system_failure(file_.name, "the new file cannot be closed", last_error());
    }
    return {};
}

result<> file_replacement::look_before_parting() const {
    if (file_.exists) {
        const second_look seen = look_again(file_);
        if (seen.error) {
            return system_failure(file_.name, "cannot be looked at again", seen.error);
        }
        if (!seen.same) {
            failure why = refusal(file_.name, "was changed by somebody else meanwhile");
            why.kind = failure_kind::changed;
            return nothing_replaced(std::move(why));
        }
    }
    if (last_look_) {
        if (auto may_go = last_look_(); !may_go) {
            return may_go;
        }
    }
    struct stat now {};
    if (!may_not_part()) {
        return {};
    }
    if (sys::fstat(file_.descriptor.get(), &now) != 0) {
        return system_failure(file_.name, "cannot be looked at again", last_error());
    }
    if (now.st_nlink > 1) {
        failure why = refusal(file_.name, "has got another hard link meanwhile, which would part");
        why.way_out = remedy::break_links;
        return nothing_replaced(std::move(why));
    }
    return {};
}

result<> file_replacement::put_in_place() {
    if (auto may_go = look_before_parting(); !may_go) {
        return may_go;
    }
    if (auto renamed = temporary_.put_in_place(options_.note_replaced); !renamed) {
        return renamed;
    }
    struct stat now {};
    // The old file has lost its name here; a link that is left came after the last look.
    if (may_not_part() && sys::fstat(file_.descriptor.get(), &now) == 0 && now.st_nlink > 0) {
        options_.tell(refusal(file_.name,
                              "is replaced; a hard link made in the last moment has the old file"));
    }
    return force_folder_to_disk(file_);
}

}  // namespace norvik

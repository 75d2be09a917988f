// tdm checkout: the text of a version.
//
// An existing FILE is locked, and goes only when its text is that of some version, or by --force;
// the new one is made beside it, compared with the version and renamed over it after one more look
// at the old.
#include <norviktdm/tdm.h>

#include <memory>
#include <string>

#include "base_attribute.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "failure_words.h"
#include "file_replace.h"
#include "named_version.h"
#include "output.h"
#include "proof.h"
#include "replaced_text.h"
#include "version_sum.h"
#include "version_text.h"

namespace norvik {

namespace {

struct checkout_options {
    std::string container;
    std::string version;
    std::string output;
    bool damaged = false;
};

exit_status construct(const container_reading &input, const std::string &oid,
                      const char *output_path) {
    const int result = tdm_construct_ver(input.path.path().c_str(), output_path, oid.c_str(), 0);
    if (result != 0) {
        say_of_file(input.view.name, "the version is not written");
    }
    return unless_changed(input, result == 0 ? status_done : status_trouble);
}

exit_status say_refused_text(const std::string &name) {
    say_of_file(name, "is not written: the new file does not read back as the version's text");
    return status_trouble;
}

// Whether the version agrees with its digest, before anything of it is written; without `refuse`
// that it does not is told and noted in `damaged`.
exit_status check_sum(const container_reading &input, const version_record &version, bool refuse,
                      bool *damaged) {
    const auto value = read_text_value(input.view, version.id);
    const auto agrees = value ? require_sum(input.view, version, *value) : value.failure();
    if (agrees) {
        return status_done;
    }
    *damaged = true;
    (void)tell(agrees.failure());
    say_of_file(input.view.name, refuse ? "the version is not written (--damaged writes it all the "
                                          "same)"
                                        : "the version is written all the same (--damaged)");
    return unless_changed(input, refuse ? status_trouble : status_done);
}

// What is written must be the version's text, and that agree with its digest; what a damaged
// container holds is not certain enough to be compared with.
exit_status prove_text_written(const container_reading &input, const version_record &version,
                               std::string_view text, const std::string &name) {
    if (!version_equals(input.view, version.id, text)) {
        return say_refused_text(name);
    }
    const auto agrees =
        version.sum ? require_sum(input.view, version, add_text(0, text)) : result<>();
    if (!agrees) {
        (void)tell(agrees.failure());
        say_of_file(name, "is not written (--damaged writes it all the same)");
    }
    return agrees ? status_done : status_trouble;
}

exit_status construct_into_file(const command_context &context, const checkout_options &options,
                                const container_reading &input, const version_record &version,
                                bool damaged) {
    file_replacement replacement(context);
    replacement.made_from(input.view.rights);
    replaced_text old(input.view);
    replacement.mark_new_file([&](int descriptor) {
        return mark_new_file(descriptor, damaged ? std::string_view() : version.oid,
                             options.output);
    });
    replacement.look_before_rename([&old] { return old.look_again(); });
    // A damaged container's versions are not certain enough to let the old text go.
    const exit_status locked = damaged ? told(replacement.lock_output(options.output))
                                       : told(replacement.lock_any(options.output));
    if (locked != status_done || told(replacement.refuse_same(options.container)) != status_done ||
        (!damaged && !context.force && replacement.file().exists &&
         told(old.look(replacement.file(), version)) != status_done) ||
        told(replacement.begin()) != status_done ||
        construct(input, std::string(version.oid), replacement.temporary_path().c_str()) !=
            status_done) {
        return status_trouble;
    }
    return told(replacement.commit(saying([&](int descriptor) {
        file_bytes written;
        if (const std::error_code error = written.load(descriptor); error) {
            return say_errno(options.output, "what was written cannot be read", error);
        }
        const exit_status proven =
            damaged ? status_done
                    : prove_text_written(input, version, written.view(), options.output);
        return unless_changed(input, proven);
    })));
}

exit_status run_checkout(const command_context &context, const checkout_options &options) {
    const bool to_stdout = options.output.empty() || options.output == "-";
    if (require_output(context, "checkout", !to_stdout) != status_done) {
        return status_trouble;
    }
    container_reading input;
    bool damaged = false;
    if (open_sound_container(options.container, options.damaged, &input, &damaged) != status_done) {
        return status_trouble;
    }
    const version_record *version = require_version(input.view, options.version);
    if (version == nullptr) {
        return status_trouble;
    }
    if (version->sum && (to_stdout || options.damaged) &&
        check_sum(input, *version, !options.damaged, &damaged) != status_done) {
        return status_trouble;
    }
    widen_standard_stream();
    return to_stdout ? construct(input, std::string(version->oid), nullptr)
                     : construct_into_file(context, options, input, *version, damaged);
}

}  // namespace

void register_checkout(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<checkout_options>();
    command.take("CONTAINER", options->container, "The container to read");
    command.take_optional("VERSION", options->version,
                          "BRANCH@N, BRANCH or an identifier (default: the newest)");
    command.value("-o,--output", "FILE", options->output, "Write FILE instead of standard output");
    add_dry_run_option(command, context);
    add_replace_options(command, context,
                        "Replace a FILE with changes that are in no version, though its owner "
                        "changes");
    add_damaged_option(command, options->damaged);
    command.details =
        "A version that does not agree with its digest is not written, but by --damaged. FILE is\n"
        "written beside its place, compared with the version, and renamed. An existing\n"
        "FILE is replaced when its bytes are those of a version, so that nothing is lost. FILE's\n"
        "extended attribute user.tdm.base names the version, where the file system takes it:\n"
        "'tdm checkin' then sees what others have stored since.";
    command.exit_codes =
        "0 written, with --damaged also from a damaged container; 2 wrong usage or trouble.";
    command.examples = {"tdm checkout notes.tdm", "tdm checkout notes.tdm main@3 -o old.txt"};
    command.run = [&context, options] { return run_checkout(context, *options); };
}

}  // namespace norvik

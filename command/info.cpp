// tdm info: the library's listing of a container's header, for scripts.
//
// The library writes by name: into the temporary of the file to be, and once more into memory,
// which must come out the same before the file gets its name.
#include <norviktdm/tdm.h>

#include <memory>
#include <string>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "failure_words.h"
#include "file_replace.h"
#include "memory_file.h"
#include "output.h"

namespace norvik {

namespace {

struct info_options {
    std::string container;
    std::string output;
    bool damaged = false;
};

exit_status list_header(const container_reading &container, const char *output_path) {
    const int result = tdm_get_cont_info(container.path.path().c_str(), output_path);
    if (result != 0) {
        say_of_file(container.view.name, "cannot be listed");
    }
    return unless_changed(container, result == 0 ? status_done : status_trouble);
}

// Lists once more, into memory, and compares.
exit_status prove_listing(const info_options &options, const container_reading &container,
                          int descriptor) {
    memory_file again;
    file_bytes expected, written;
    std::error_code error = again.create(options.output);
    if (!error && list_header(container, again.path().c_str()) != status_done) {
        return status_trouble;
    }
    error = error ? error : expected.load(again.descriptor());
    error = error ? error : written.load(descriptor);
    if (error) {
        return say_errno(options.output, "what was written cannot be compared", error);
    }
    if (written.view() != expected.view()) {
        say_of_file(options.output, "is not written: the new file does not read back as listed");
        return status_trouble;
    }
    return status_done;
}

exit_status list_into_file(const command_context &context, const info_options &options,
                           const container_reading &container) {
    file_replacement replacement(context);
    replacement.made_from(container.view.rights);
    if (told(replacement.lock_output(options.output)) != status_done ||
        told(replacement.refuse_same(options.container)) != status_done ||
        told(replacement.begin()) != status_done ||
        list_header(container, replacement.temporary_path().c_str()) != status_done) {
        return status_trouble;
    }
    return told(replacement.commit(
        saying([&](int descriptor) { return prove_listing(options, container, descriptor); })));
}

exit_status run_info(const command_context &context, const info_options &options) {
    const bool to_stdout = options.output.empty() || options.output == "-";
    container_reading container;
    if (require_output(context, "info", !to_stdout) != status_done ||
        open_sound_container(options.container, options.damaged, &container) != status_done) {
        return status_trouble;
    }
    return to_stdout ? list_header(container, nullptr)
                     : list_into_file(context, options, container);
}

}  // namespace

void register_info(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<info_options>();
    command.take("CONTAINER", options->container, "The container to read");
    command.value("-o,--output", "FILE", options->output, "Write FILE instead of standard output");
    add_dry_run_option(command, context);
    add_replace_options(command, context, "Replace an existing FILE");
    add_damaged_option(command, options->damaged);
    command.details =
        "One line a record, newest first: V IDENTIFIER NUMBER BRANCH TIME for a version (the\n"
        "time as eight hexadecimal digits), B BRANCH PARENT VERSION NUMBER NIL for a branch,\n"
        "E ELEMENT BRANCH NIL for the element. NIL stands for what does not exist; deleted\n"
        "versions are not listed.";
    command.exit_codes =
        "0 listed, with --damaged also a damaged container; 2 wrong usage or trouble.";
    command.examples = {"tdm info notes.tdm", "tdm info notes.tdm -o notes.list"};
    command.run = [&context, options] { return run_info(context, *options); };
}

}  // namespace norvik

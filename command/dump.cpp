// tdm dump: the library's listing of every line of a container.
//
// The library prints bytes as they are. On a terminal its output is therefore caught in a file in
// memory first, whole, and shown escaped.
#include <norviktdm/tdm.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "escaped_text.h"
#include "memory_file.h"
#include "output.h"
#include "owned_descriptor.h"
#include "pager.h"
#include "system_calls.h"
#include "terminal.h"

namespace norvik {

namespace {

struct dump_options {
    std::string container;
    bool check_printable = false;
    bool damaged = false;
};

exit_status dump(const dump_options &options, const container_reading &input) {
    const int result =
        tdm_dump_container(input.path.path().c_str(), options.check_printable ? 1 : 0);
    if (result != 0) {
        say_of_file(input.view.name, "cannot be dumped to its end");
    }
    return unless_changed(input, result == 0 ? status_done : status_trouble);
}

// Runs `work` with standard output turned into a file in memory, and takes what was written there.
exit_status capture(const std::function<exit_status()> &work, file_bytes *written) {
    const owned_descriptor memory = open_memory();
    const owned_descriptor saved(sys::duplicate(STDOUT_FILENO));
    if (!memory.is_open() || !saved.is_open()) {
        return say_errno("standard output", "cannot be captured", errno);
    }
    standard_output().flush();
    std::fflush(stdout);
    if (sys::dup2(memory.get(), STDOUT_FILENO) < 0) {
        return say_errno("standard output", "cannot be captured", errno);
    }
    const exit_status status = work();
    const bool flushed = std::fflush(stdout) == 0;
    if (sys::dup2(saved.get(), STDOUT_FILENO) < 0 || !flushed) {
        return say_errno("standard output", "cannot be captured", errno);
    }
    const std::error_code error = written->load(memory.get());
    return !error ? status : say_errno("standard output", "cannot be captured", error);
}

void write_escaped(std::string_view text) {
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        const std::size_t size = newline == std::string_view::npos ? text.size() : newline + 1;
        standard_output().write(escape_text(text.substr(0, size)));
        text.remove_prefix(size);
    }
}

exit_status run_dump(const command_context &context, const dump_options &options) {
    container_reading input;
    if (open_sound_container(options.container, options.damaged, &input) != status_done) {
        return status_trouble;
    }
    if (!is_terminal(STDOUT_FILENO)) {
        return dump(options, input);
    }
    file_bytes written;
    const exit_status status = capture([&] { return dump(options, input); }, &written);
    pager pages(context.no_pager);
    write_escaped(written.view());
    pages.finish();
    return status;
}

}  // namespace

void register_dump(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<dump_options>();
    command.take("CONTAINER", options->container, "The container to read");
    command.flag("--check-printable", options->check_printable,
                 "Warn of the first unprintable character of each line");
    add_damaged_option(command, options->damaged);
    command.details =
        "Every line of the file behind a label that spells out its record. On a terminal bytes\n"
        "that it would obey are shown escaped; anywhere else the lines are written as they are.";
    command.exit_codes =
        "0 dumped, with --damaged also a damaged container; 2 wrong usage or trouble.";
    command.examples = {"tdm dump notes.tdm", "tdm dump notes.tdm --check-printable"};
    command.run = [&context, options] { return run_dump(context, *options); };
}

}  // namespace norvik

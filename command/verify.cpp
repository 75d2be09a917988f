// tdm verify: is a container sound?
//
// Each container is opened, judged in one pass and looked at once more at the end; the digests of
// all texts, where they are wanted, come out of the same pass. One that cannot be judged does not
// keep the others from it.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_check.h"
#include "container_reading.h"
#include "digests_file.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "output.h"
#include "progress.h"
#include "text_file.h"
#include "version_json.h"

namespace norvik {

namespace {

// Complaints told to people; the machine form has them all.
constexpr std::size_t most_complaints = 100;

struct verify_options {
    std::vector<std::string> containers;
    std::string digests;
};

void tell_complaints(const container_view &view, const container_check &check) {
    const std::size_t told = std::min(check.faults.size(), most_complaints);
    for (std::size_t i = 0; i < told; i++) {
        (void)tell(damaged(view, check.faults[i].what));
    }
    if (told < check.faults.size()) {
        say_of_file(view.name, std::to_string(check.faults.size() - told) +
                                   " more complaints (--json has them all)");
    }
}

// How many of the versions that are not deleted, `live` ones, nobody can tell a changed text of.
std::string without_digest(const container_view &view, std::uint64_t live) {
    const std::uint64_t without = count_without_sum(view);
    return without == 0      ? ""
           : without == live ? ", none with a digest"
                             : ", " + std::to_string(without) + " without a digest";
}

void tell_summary(const container_view &view, const container_check &check) {
    std::uint64_t live = 0;
    std::uint64_t trusted = 0;
    for (const version_record &version : view.versions) {
        live += version.deleted ? 0 : 1;
        trusted += is_trusted(check, version) ? 1 : 0;
    }
    std::string text = escape_name(view.name) + ": ";
    const std::string count = std::to_string(live) + (live == 1 ? " version" : " versions");
    if (check.faults.empty()) {
        text += "sound, " + count + without_digest(view, live);
    } else {
        const std::size_t faults = check.faults.size();
        text += "unsound, " + std::to_string(faults) +
                (faults == 1 ? " complaint, " : " complaints, ") +
                (live == 0 ? "no version can be read"
                           : std::to_string(live - trusted) + " of " + count + " in doubt");
    }
    standard_output().write(text + "\n");
}

exit_status leave_unjudged(const std::string &name, json_writer *json) {
    if (json != nullptr) {
        describe_unjudged(*json, name);
    }
    return status_trouble;
}

// Judges one container; with `json`, describes it there and says nothing.
exit_status verify_one(const command_context &context, const std::string &name,
                       const kept_digests *kept, json_writer *json) {
    container_reading input;
    const container_view &view = input.view;
    exit_status status = open_to_judge(name, &input);
    if (status == status_done && view.bytes.view().empty()) {
        say_of_file(name, "is empty, no container");
        status = status_trouble;
    }
    if (status != status_done) {
        return leave_unjudged(name, json);
    }
    progress bar(context, "verifying", view.bytes.view().size());
    container_check check = check_container(
        view,
        json != nullptr || kept != nullptr ? fingerprints::bytes : fingerprints_to_check(view),
        [&](std::uint64_t bytes) { bar.at(view.weave_offset + bytes); });
    if (kept != nullptr) {
        kept->compare(view, &check);
    }
    // What a container in motion seems to say is no verdict.
    if (unless_changed(input, status_done) != status_done) {
        return leave_unjudged(name, json);
    }
    if (json != nullptr) {
        describe_check(*json, view, check);
    } else {
        tell_complaints(view, check);
        if (!context.quiet) {
            tell_summary(view, check);
        }
    }
    return check.faults.empty() ? status_done : status_negative;
}

exit_status run_verify(const command_context &context, const verify_options &options) {
    json_writer json(verify_schema);
    json.begin_array("containers");
    std::vector<std::string> names = options.containers;
    names.push_back(options.digests);
    if (told(refuse_spent_input(names)) != status_done) {
        return status_trouble;
    }
    std::optional<kept_digests> kept;
    if (!options.digests.empty() && !(kept = read_digests(options.digests))) {
        return status_trouble;
    }
    exit_status status = status_done;
    for (const std::string &name : options.containers) {
        status = std::max(status, verify_one(context, name, kept ? &*kept : nullptr,
                                             context.json ? &json : nullptr));
    }
    if (context.json) {
        json.end();
        json.print();
    }
    return status;
}

}  // namespace

void register_verify(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<verify_options>();
    command.take_list("CONTAINER", options->containers, true, "The containers to check");
    command.value("--digests", "FILE", options->digests,
                  "Compare the texts with those that an earlier --json output (- on standard "
                  "input) describes");
    add_json_option(command, context);
    command.details =
        "Checks every record and line of the container and reads the texts of all versions in\n"
        "one pass, and compares every version that has a digest with it. Without digests, which\n"
        "'tdm seal' adds, a byte of text that has become another one cannot be seen, nor a\n"
        "number that fits as well as the right one, delete records that are lost or have changed\n"
        "places where every count still fits, or the lost header record of a version without\n"
        "records of its own. Keep what --json prints: with --digests such changes are found as\n"
        "well, and versions that are gone.\n"
        "A pipe of up to 4 GiB can be checked by its name, as in\n"
        "'tdm verify <(zcat notes.tdm.gz)'. What is neither a file nor a pipe is no container.";
    command.exit_codes =
        "0 sound; 1 unsound; 2 could not tell: unreadable or empty. Of several containers the\n"
        "worst.";
    command.examples = {"tdm verify notes.tdm", "tdm verify --json *.tdm > digests",
                        "tdm verify --digests digests *.tdm"};
    command.run = [&context, options] { return run_verify(context, *options); };
}

}  // namespace norvik

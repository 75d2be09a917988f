// tdm repair: what can be saved from a damaged container.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "container_reading.h"
#include "container_repair.h"
#include "deletion.h"
#include "escaped_text.h"
#include "failure_words.h"
#include "file_replace.h"
#include "output.h"
#include "survivor_proof.h"
#include "usage_error.h"

namespace norvik {

namespace {

struct repair_options {
    std::string container;
    std::string output;
    bool drop_stray = false;
};

// Whether `next` is the version just below `lost` and lost for the same reason.
bool goes_on(const lost_version &lost, const lost_version &next) {
    return next.id.branch == lost.id.branch && next.id.number + 1 == lost.id.number &&
           next.why.line == lost.why.line && next.why.reason == lost.why.reason;
}

using sentences = std::vector<std::string>;

// One line for each run of versions that one fault puts in doubt.
void describe_lost(const container_view &view, const repair_verdict &verdict,
                   const std::string &would, sentences *out) {
    for (std::size_t i = 0; i < verdict.lost.size(); i++) {
        const lost_version &newest = verdict.lost[i];
        const std::size_t first = i;
        while (i + 1 < verdict.lost.size() && goes_on(verdict.lost[i], verdict.lost[i + 1])) {
            i++;
        }
        std::string names = escape_name(version_name(view, verdict.lost[i].id));
        if (i != first) {
            names += " to " + escape_name(version_name(view, newest.id)) + ", " +
                     std::to_string(i - first + 1) + " versions";
        }
        const std::string line =
            newest.why.line == 0 ? "" : "line " + std::to_string(newest.why.line) + ": ";
        out->push_back(would + "lost: " + names + " (" + line + escape_name(newest.why.reason) +
                       ")");
    }
}

void describe_renamed(const container_view &view, const repair_verdict &verdict,
                      const std::string &would, sentences *out) {
    for (const version_id id : verdict.renamed) {
        out->push_back(would + "renamed: " + escape_name(version_name(view, id)) +
                       " (its identifier is damaged, it is " + lost_identifier(id) + " now)");
    }
}

sentences describe_repair(const container_view &view, const repair_verdict &verdict, telling mood) {
    const std::string would = mood == telling::done ? "" : "would be ";
    sentences out;
    describe_lost(view, verdict, would, &out);
    describe_renamed(view, verdict, would, &out);
    out.push_back(would + "saved: " + std::to_string(verdict.saved.size()) + " of " +
                  std::to_string(verdict.saved.size() + verdict.lost.size()) + " versions");
    return out;
}

// The new container is sound, and every saved version is in it with its text.
int prove_repaired(const container_view &view, const version_tree &tree,
                   const repair_verdict &verdict, const std::string &name, int descriptor) {
    container_view repaired;
    if (told(open_container(descriptor, name, "the new container cannot be read"), &repaired) !=
        status_done) {
        return status_trouble;
    }
    if (const auto faults = check_container(repaired, false, {}).faults; !faults.empty()) {
        (void)tell(damaged(repaired, faults.front().what));
        say_of_file(view.name, "what could be saved does not make a sound container");
        return status_trouble;
    }
    if (repaired.element_oid != view.element_oid && repaired.element_oid != lost_element) {
        say_of_file(view.name, "the element would be another one");
        return status_trouble;
    }
    std::unordered_set<const version_record *> saved(verdict.saved.begin(), verdict.saved.end());
    const auto is_saved = [&saved](const version_record &version) {
        return saved.contains(&version);
    };
    const auto is_alive = [](const version_record &version) { return !version.deleted; };
    for (const version_record *version : verdict.saved) {
        const version_record *found = find_version(repaired, version->id);
        if (found == nullptr || found->deleted || found->time != version->time ||
            (found->oid != version->oid && found->oid != lost_identifier(version->id))) {
            say_of_file(view.name, "a version that could be saved is missing");
            return status_trouble;
        }
    }
    return told(compare_texts(view, tree, is_saved, repaired, is_alive));
}

int write_new(const container_reading &input, const container_check &check,
              const repair_verdict &verdict, file_replacement *replacement) {
    const container_view &view = input.view;
    if (told(replacement->begin()) != status_done) {
        return status_trouble;
    }
    output_writer out(replacement->temporary_descriptor(), replacement->file().name);
    write_repaired(view, check, verdict, &out);
    if (out.finish() != status_done) {
        return status_trouble;
    }
    return told(replacement->commit(saying([&](int descriptor) {
        return unless_changed(input, prove_repaired(view, check.scan.tree, verdict,
                                                    replacement->file().name, descriptor));
    })));
}

int run_repair(const command_context &context, const repair_options &options) {
    if (options.output.empty()) {
        return usage_error("repair", "-o FILE is missing: the damaged container is left alone");
    }
    if (options.output == "-") {
        return usage_error("repair", "a container is a file, never standard output (./- is one)");
    }
    container_reading input;
    const container_view &view = input.view;
    if (open_to_judge(options.container, &input) != status_done) {
        return status_trouble;
    }
    file_replacement replacement(context);
    replacement.made_from(view.rights);
    if (told(replacement.lock_output(options.output)) != status_done ||
        told(replacement.refuse_same(options.container)) != status_done) {
        return status_trouble;
    }
    const container_check check = check_container(view, false, {});
    for (const weave_fault &fault : check.faults) {
        (void)tell(damaged(view, fault.what));
    }
    const repair_verdict verdict = judge_versions(view, check, options.drop_stray);
    if (!verdict.worth_writing() && !check.faults.empty()) {
        sentences lost;
        describe_lost(view, verdict, "", &lost);
        tell_plan(lost);
        say_of_file(view.name, "nothing can be saved; nothing is written");
        return unless_changed(input, status_negative);
    }
    done_report report = report_of_change(options.output, "the repair",
                                          describe_repair(view, verdict, telling::done));
    if (context.dry_run) {
        tell_plan(describe_repair(view, verdict, telling::planned));
    }
    const int status = write_new(input, check, verdict, &replacement);
    if (status != status_done) {
        return status;
    }
    if (!context.dry_run && !context.quiet) {
        tell_done(std::move(report));
    }
    return verdict.lost.empty() && view.header_damages.empty() ? status_done : status_negative;
}

}  // namespace

void register_repair(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<repair_options>();
    command.take("CONTAINER", options->container, "The damaged container; it is left alone");
    command.value("-o,--output", "NEW", options->output, "The new container");
    command.flag("--drop-stray", options->drop_stray,
                 "Lines that belong to no run are nobody's: leave them out");
    add_dry_run_option(command, context);
    add_replace_options(command, context, "Replace an existing NEW");
    command.details =
        "Writes a new container with every version whose text is in no doubt and lists the\n"
        "others with the fault that puts them in doubt. Nothing is guessed: where a fault could\n"
        "have hidden or shown a line of a version, the version counts as lost. A damaged insert\n"
        "or delete record can have done that to any version, and so can lines outside every\n"
        "run, unless you say with --drop-stray that they belong to none. What is lost here may\n"
        "still be read as it stands, by 'tdm checkout --damaged'. Damages that 'tdm verify' "
        "cannot\n"
        "see are not seen here.";
    command.exit_codes =
        "0 every version is saved; 1 some are lost, or nothing can be saved; 2 wrong usage or\n"
        "trouble.";
    command.examples = {"tdm repair notes.tdm -o saved.tdm",
                        "tdm repair notes.tdm -o saved.tdm --drop-stray"};
    command.run = [&context, options] { return run_repair(context, *options); };
}

}  // namespace norvik

// tdm import: many files, each the next version, in one run.
//
// The versions are woven into one weave in memory (import_weave.h), which is written once, proven
// version by version and put in the container's place: all or nothing.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "change_words.h"
#include "checkin_options.h"
#include "command_context.h"
#include "command_declaration.h"
#include "container_change.h"
#include "failure_words.h"
#include "history_proof.h"
#include "import_list.h"
#include "import_weave.h"
#include "input_text.h"
#include "output.h"
#include "progress.h"
#include "proof.h"
#include "random_digits.h"
#include "structure.h"
#include "text_file.h"
#include "usage_error.h"
#include "version_edit.h"

namespace norvik {

namespace {

struct import_options {
    std::string container;
    std::vector<std::string> files;
    std::string list;
    checkin_options stored;
};

// So many files stay open until the proof; more are opened a second time.
constexpr size_t most_open_files = 256;

// A version as it is woven in. Its file is read again for the proof, or what was read from a pipe
// is kept for it.
struct imported_version {
    std::string oid;
    uint64_t time;
    uint64_t number;
    const std::string *path;
    std::shared_ptr<const input_text> kept;
    owned_descriptor file;
};

struct import_run {
    import_run(const command_context &frame, const import_options &chosen)
        : context(frame), options(chosen), change(frame) {}

    const command_context &context;
    const import_options &options;
    container_change change;
    checkin_plan plan;
    std::vector<version_id> lineage;  // of the text before the first imported version
    std::vector<import_item> items;
    std::vector<imported_version> versions;
};

exit_status collect_items(import_run &run) {
    uint64_t time = 0;
    if (run.options.stored.time.get(time) != status_done) {
        return status_trouble;
    }
    for (const std::string &file : run.options.files) {
        run.items.push_back({file, time});
    }
    if (!run.options.list.empty() && read_import_list(run.options.list, run.items) != status_done) {
        return status_trouble;
    }
    std::vector<std::string> names{run.options.list};
    for (const import_item &item : run.items) {
        names.push_back(item.path);
    }
    return run.items.empty() ? usage_error("import", "no files given")
                             : told(refuse_spent_input(names));
}

// The text that the first imported version is compared with.
exit_status read_predecessor(import_run &run, input_text &text) {
    std::string bytes;
    const auto broken = walk_version(run.change.old, run.lineage, [&bytes](std::string_view piece) {
        bytes += piece;
        return true;
    });
    return broken ? status_trouble : told(text.take(std::move(bytes)));
}

// Weaves all files in, one after the other.
exit_status weave_all(import_run &run, import_weave &weave, progress &bar) {
    auto before = std::make_shared<input_text>();
    if (read_predecessor(run, *before) != status_done) {
        return status_trouble;
    }
    version_id id = run.plan.id;
    for (size_t i = 0; i < run.items.size(); i++) {
        const import_item &item = run.items[i];
        auto next = std::make_shared<input_text>();
        if ((item.path != "-" &&
             told(run.change.replacement.refuse_same(item.path)) != status_done) ||
            told(next->read(item.path)) != status_done) {
            return status_trouble;
        }
        const bool same = next->text() == before->text();
        if (same && !run.options.stored.allow_same) {
            if (!run.context.quiet) {
                say_of_file(item.path, "not stored: the text is that of the version before");
            }
            continue;
        }
        std::string oid;
        if (told(random_digits(), &oid) != status_done ||
            (!same && told(weave_version(weave, id, before->path(), next->path(), item.path,
                                         next->text())) != status_done)) {
            return status_trouble;
        }
        run.change.stores(next->rights());
        const bool keeps_open = next->can_be_read_again() && run.versions.size() < most_open_files;
        run.versions.push_back(
            {oid, item.time, id.number, &item.path, next->can_be_read_again() ? nullptr : next,
             owned_descriptor(keeps_open ? fcntl(next->descriptor(), F_DUPFD_CLOEXEC, 0) : -1)});
        id.number++;
        before = std::move(next);
        bar.at(i);
    }
    return status_done;
}

std::string new_header(const import_run &run) {
    const checkin_plan &plan = run.plan;
    std::string header = status_record_text(run.change.old, plan.adds_branch);
    for (size_t i = run.versions.size(); i-- > 0;) {
        const imported_version &version = run.versions[i];
        header += version_record_text(
            version_record{version.oid, {plan.id.branch, version.number}, version.time});
    }
    if (plan.adds_branch) {
        header += branch_record_text({plan.branch, plan.id.branch, plan.predecessor});
    }
    return header;
}

exit_status write_container(import_run &run, const std::string &header, const import_weave &weave) {
    const container_view &old = run.change.old;
    const std::string_view bytes = old.bytes.view();
    const size_t second_line = bytes.find('\n') + 1;
    std::string out = header;
    out += bytes.substr(second_line, old.weave_offset - second_line);
    weave.append_to(out);
    output_writer writer(run.change.replacement.temporary_descriptor(), run.options.container);
    writer.write(out);
    return writer.finish();
}

// Whether the next version of the new container is the text of its file, read again.
exit_status prove_next(history_proof &proof, const imported_version &version) {
    input_text again;
    file_bytes bytes;
    if (version.file.is_open()) {
        if (const std::error_code error = bytes.load(version.file.get()); error) {
            return say_errno(*version.path, "cannot be read again", error);
        }
    } else if (version.kept == nullptr && told(again.read(*version.path)) != status_done) {
        return status_trouble;
    }
    const std::string_view given = version.file.is_open()    ? bytes.view()
                                   : version.kept == nullptr ? again.text()
                                                             : version.kept->text();
    if (!proof.next_equals(given)) {
        say_of_file(*version.path, "is not what the new container holds; nothing is imported");
        return status_trouble;
    }
    return status_done;
}

// Reads every file again and compares it with its version.
exit_status prove_all(const import_run &run, const added_records &added, int descriptor,
                      progress &bar) {
    const auto fresh = prove_addition(run.change.old, descriptor, added);
    if (!fresh) {
        return tell(fresh.failure());
    }
    history_proof proof(*fresh, {added.branch, added.first},
                        static_cast<uint32_t>(run.versions.size()));
    for (size_t i = 0; i < run.versions.size(); i++) {
        if (prove_next(proof, run.versions[i]) != status_done) {
            return status_trouble;
        }
        bar.at(run.items.size() + i);
    }
    return status_done;
}

exit_status import_all(import_run &run, done_report *report) {
    progress bar(run.context, "importing", run.items.size() * 2);
    if (!lineage_of(run.change.old, run.plan.predecessor, &run.lineage)) {
        say_of_file(run.options.container, "the branch cannot be traced to its origin");
        return status_trouble;
    }
    import_weave weave(run.change.old, run.lineage);
    if (weave_all(run, weave, bar) != status_done) {
        return status_trouble;
    }
    if (run.versions.empty()) {
        say_of_file(run.options.container, "nothing to store");
        return status_negative;
    }
    const added_records added{run.plan.id.branch, run.plan.id.number, new_header(run)};
    *report = report_of_versions(run.plan.branch, run.plan.id.number, run.versions.back().number);
    if (told(run.change.replacement.begin()) != status_done ||
        write_container(run, added.header, weave) != status_done) {
        return status_trouble;
    }
    return told(run.change.replacement.commit(
        saying([&](int descriptor) { return prove_all(run, added, descriptor, bar); })));
}

exit_status run_import(const command_context &context, const import_options &options) {
    import_run run(context, options);
    if (collect_items(run) != status_done ||
        told(run.change.open(options.container)) != status_done ||
        told(plan_checkin(run.change.old, options.stored.target, run.items.size()), &run.plan) !=
            status_done) {
        return status_trouble;
    }
    done_report report;
    const exit_status status = import_all(run, &report);
    if (status == status_done) {
        tell_versions(context, std::move(report));
    }
    return status;
}

}  // namespace

void register_import(command_declaration &command, command_context &context) {
    const auto options = std::make_shared<import_options>();
    command.take("CONTAINER", options->container, "The container to change");
    command.take_list("FILE", options->files, false,
                      "The texts, oldest first; - is standard input");
    command.value("--from-list", "LIST", options->list,
                  "Take the files from LIST: a name, a blank and a time a line");
    options->stored.declare(command, context);
    command.details =
        "Each FILE becomes the next version; the container is the same as after checking them in\n"
        "one by one. All or nothing: the container is replaced once, when every version has been\n"
        "read back and compared. Prints the names of the new versions. What the files were made\n"
        "from ('tdm checkin') is not looked at, nor are they marked.";
    command.examples = {"tdm import notes.tdm old/notes-1.txt old/notes-2.txt",
                        "tdm import notes.tdm --from-list versions.list"};
    command.run = [&context, options] { return run_import(context, *options); };
}

}  // namespace norvik

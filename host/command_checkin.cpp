// tdm checkin: the next version of a branch.
#include <norviktdm/tdm.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "checkin_plan.h"
#include "cli.h"
#include "container_change.h"
#include "input_text.h"
#include "output.h"
#include "proof.h"
#include "random_oid.h"

namespace host {

namespace {

struct checkin_operands {
    std::string container;
    std::string file;
    checkin_options stored;
};

int store(const container_change &change, const checkin_plan &plan, const version_record &fresh,
          const std::string &text_path, bool *identical) {
    uint32_t same = 0;
    const std::string oid(fresh.oid);
    const int result =
        tdm_store_ver(fresh.time, oid.c_str(), plan.branch.c_str(), plan.id.number,
                      change.replacement.temporary_path().c_str(), nullptr,
                      plan.base_branch.c_str(), plan.predecessor.number,
                      change.replacement.file().path.c_str(), text_path.c_str(), 0, &same);
    if (result != 0) {
        say_of_file(change.old.name, "nothing is checked in");
    }
    *identical = same != 0;
    return result == 0 ? status_done : status_trouble;
}

int nothing_to_store(const container_change &change, const checkin_plan &plan) {
    say_of_file(change.old.name, "nothing to store: the text is that of " +
                                     escape_name(version_name(change.old, plan.predecessor)) +
                                     " (--allow-same stores it all the same)");
    return status_negative;
}

int commit(container_change &change, const checkin_plan &plan, const version_record &fresh,
           const std::string &text) {
    const branch_record branch{plan.branch, plan.id.branch, plan.predecessor};
    const added_records added{plan.id.branch, plan.id.number,
                              status_record_text(change.old, plan.adds_branch) +
                                  version_record_text(fresh) +
                                  (plan.adds_branch ? branch_record_text(branch) : "")};
    return change.replacement.commit([&](int descriptor) {
        container_view view;
        const int status = prove_addition(change.old, descriptor, added, &view);
        return status == status_done ? prove_text(view, plan.id, text) : status;
    });
}

int run_checkin(const command_context &context, const checkin_operands &options) {
    container_change change(context);
    input_text input;
    checkin_plan plan;
    uint64_t time = 0;
    std::string oid;
    if (options.stored.time.get(time) != status_done || input.read(options.file) != status_done ||
        random_oid(oid) != status_done || change.open(options.container) != status_done ||
        (options.file != "-" && change.replacement.refuse_same(options.file) != status_done) ||
        plan_checkin(change.old, options.stored, 1, &plan) != status_done) {
        return status_trouble;
    }
    const version_record fresh{oid, plan.id, time};
    bool identical = false;
    if (change.replacement.begin() != status_done ||
        store(change, plan, fresh, input.path(), &identical) != status_done) {
        return status_trouble;
    }
    // The library tells equal texts by the numbers of the two versions, which says nothing where a
    // branch begins.
    if (!options.stored.allow_same && (identical || plan.adds_branch) &&
        version_equals(change.old, plan.predecessor, input.text())) {
        return nothing_to_store(change, plan);
    }
    if (commit(change, plan, fresh, input.text()) != status_done) {
        return status_trouble;
    }
    tell_version(context, plan.branch, plan.id.number);
    return status_done;
}

}  // namespace

void register_checkin(CLI::App &app, command_context &context) {
    const auto options = std::make_shared<checkin_operands>();
    context.take("CONTAINER", options->container, "The container to change");
    context.take("FILE", options->file, "The new version's text; - is standard input");
    options->stored.declare(app, context);
    context.details =
        "Prints the name of the new version. The new container is compared with the old one\n"
        "and with FILE before it takes the old one's place; killed at any moment, the command\n"
        "leaves the old container or the new one, whole.";
    context.examples = {"tdm checkin notes.tdm notes.txt",
                        "tdm checkin notes.tdm draft.txt --branch draft --from main@3"};
    context.run = [&context, options] { return run_checkin(context, *options); };
}

}  // namespace host

// A change that is planned, shown, and asked about before it is made. Nobody waits for the answer:
// the container is locked while it is planned and while it is changed, not in between; when it has
// changed by then, there is a new plan and a new question.
#ifndef NORVIK_ASKED_CHANGE_H
#define NORVIK_ASKED_CHANGE_H

#include <functional>
#include <optional>
#include <string>

#include "change_words.h"
#include "command_context.h"
#include "command_declaration.h"
#include "common_options.h"
#include "confirm.h"
#include "container_plan.h"
#include "exit_status.h"
#include "failure_words.h"

namespace norvik {

// How a change is asked for on the command line.
struct asked_options {
    bool dry_run = false;
    bool yes = false;

    // Declares --dry-run, --yes and the options of whatever replaces a file.
    void declare(command_declaration &command, command_context &context) {
        command.flag("--dry-run", dry_run, "Say what would be done; write nothing");
        command.flag("--yes", yes, "Do not ask");
        add_replace_options(command, context);
    }
};

// `Plan` is container_plan or derived from it.
template <typename Plan>
class asked_change {
public:
    // Plans in the open container; 0, or another status after a message.
    using planner = std::function<exit_status(container_change *change, Plan *plan)>;

    asked_change(const command_context &context, std::string container, planner make)
        : context_(context), container_(std::move(container)), make_(std::move(make)) {}

    // Plans, shows what `describe` makes of the plan, asks `question`, which is made of it as well,
    // and makes the change, called `what`. 0, or another status after a message.
    template <typename Describe, typename Question>
    [[nodiscard]] exit_status run(const asked_options &options, const Describe &describe,
                                  const Question &question, const std::string &what) {
        if (const exit_status status = plan(); status != status_done) {
            return status;
        }
        if (options.dry_run) {
            tell_plan(describe(*plan_, telling::planned));
            return status_done;
        }
        if (const exit_status answer = ask(options.yes, describe, question);
            answer != status_done) {
            return answer;
        }
        done_report done = report_of_change(container_, what, describe(*plan_, telling::done));
        const exit_status status = told(norvik::carry_out(*plan_, &change_->replacement));
        if (status == status_done && !context_.quiet) {
            tell_done(std::move(done));
        }
        return status;
    }

private:
    // Locks the container and plans; 0, or another status after a message.
    [[nodiscard]] exit_status plan() {
        change_.emplace(context_);
        plan_.emplace();
        const exit_status status = told(change_->open(container_));
        return status == status_done ? make_(&*change_, &*plan_) : status;
    }

    // Shows the plan and asks, or with `yes` takes that for the answer; 0 with the container locked,
    // or another status after a message.
    template <typename Describe, typename Question>
    [[nodiscard]] exit_status ask(bool yes, const Describe &describe, const Question &question) {
        for (;;) {
            if (!yes || !context_.quiet) {
                tell_plan(describe(*plan_, telling::planned));
            }
            if (yes) {
                return status_done;
            }
            change_->replacement.unlock();
            change_.reset();
            if (const exit_status answer = confirm(context_, question(*plan_));
                answer != status_done) {
                return answer;
            }
            change_.emplace(context_);
            const auto opened = open_as_planned(container_, *plan_, &*change_);
            if (opened || opened.failure().kind != failure_kind::changed) {
                return told(opened);
            }
            (void)tell(opened.failure());
            if (const exit_status status = plan(); status != status_done) {
                return status;
            }
        }
    }

    const command_context &context_;
    std::string container_;
    planner make_;
    std::optional<container_change> change_;
    std::optional<Plan> plan_;
};

}  // namespace norvik

#endif

// Every command in process, with its n-th call of the system failing, alone and with all that
// follow, for the errors that such a call can give; and doing less than it was asked for.
#include <cerrno>
#include <cstdio>
#include <vector>

#include "command_in_process.h"
#include "system_calls.h"

namespace {

using norvik::sys::call;

enum class effect { fails, fails_on, interrupted, falls_short };

struct planned_fault {
    size_t at = 0;  // from 1; 0: none
    effect how = effect::fails;
    int error = 0;
};

planned_fault plan;
std::vector<call> calls;  // of the run without a fault

bool meet(call which, std::size_t *count) {
    calls.push_back(which);
    const size_t now = calls.size();
    if (plan.at == 0 || now < plan.at || (now > plan.at && plan.how != effect::fails_on)) {
        return false;
    }
    if (plan.how == effect::falls_short) {
        *count = *count == 0 ? 0 : 1;
        return false;
    }
    errno = plan.error;
    return true;
}

int error_of(call which) {
    switch (which) {
        case call::write:
        case call::set_attribute:
            return ENOSPC;
        case call::open:
        case call::resolve:
        case call::make_folder:
        case call::unlink:
            return EACCES;
        case call::memory_file:
        case call::duplicate:
            return EMFILE;
        case call::lock:
            return ENOLCK;
        case call::mode:
        case call::owner:
        case call::link:
            return EPERM;
        case call::map:
            return ENODEV;
        default:
            return EIO;
    }
}

bool moves_bytes(call which) {
    return which == call::read || which == call::write || which == call::splice;
}

// Whether a failure means that what was written may be lost; a copy is closed for its answer alone.
bool loses_bytes(size_t at) {
    const call which = calls[at - 1];
    return which == call::write || which == call::sync || which == call::rename ||
           (which == call::close && at > 1 && calls[at - 2] == call::duplicate);
}

class system_fault : public command_in_process {
protected:
    command_result run(const std::string &line, const planned_fault &fault) {
        return run_here(line, [&](const std::function<int()> &command) {
            plan = fault;
            calls.clear();
            norvik::sys::fault = meet;
            const int status = command();
            norvik::sys::fault = nullptr;
            return status;
        });
    }

    bool is_in_order(const command_result &result, const command_result &plain,
                     const folder_contents &after) {
        folder_contents now = normal_contents();
        // Only one that could not be removed stays: it is a dead command's, and the next one's.
        if (plan.how == effect::fails_on || calls[plan.at - 1] == call::unlink) {
            std::erase_if(now, [](const auto &file) { return file.first.starts_with(".tdm-"); });
        }
        if (result.status == plain.status && result.out == plain.out && now == after) {
            return !loses_bytes(plan.at);
        }
        if (result.status != 2) {
            return keeps_both_sides(result);
        }
        for (const char *words : {"is replaced", "is written", " stored", "<stdout>"}) {
            if (result.err.find(words) != std::string::npos && is_partly_done(now, after)) {
                return true;
            }
        }
        return !result.err.empty() && now == unchanged_;
    }

    folder_contents unchanged_;
};

TEST_F(system_fault, ends_every_command_in_order) {
    unchanged_ = normal_contents();
    const long most_open = open_descriptors() + 1;  // the library's last temporary file stays
    long runs = 0;
    for (const char *line : command_lines) {
        const command_result plain = run(line, {});
        ASSERT_LT(plain.status, 2) << line << ": " << plain.err;
        const folder_contents after = normal_contents();
        const std::vector<call> usual = calls;
        for (size_t at = 1; at <= usual.size(); at++) {
            const call which = usual[at - 1];
            std::vector<planned_fault> faults{{at, effect::fails, error_of(which)},
                                              {at, effect::fails_on, error_of(which)}};
            if (moves_bytes(which)) {
                faults.push_back({at, effect::interrupted, EINTR});
                faults.push_back({at, effect::falls_short, 0});
            }
            for (const planned_fault &fault : faults) {
                const command_result result = run(line, fault);
                const bool hidden = fault.how > effect::fails_on;
                EXPECT_TRUE(hidden ? is_done(result, plain, after)
                                   : is_in_order(result, plain, after))
                    << line << ", call " << at << " of kind " << static_cast<int>(which)
                    << ", effect " << static_cast<int>(fault.how) << ": " << result.status << " "
                    << result.err;
                runs++;
            }
        }
        EXPECT_LE(open_descriptors(), most_open) << line;
        std::printf("%6zu calls: %s\n", usual.size(), line);
    }
    std::printf("%6ld runs\n", runs);
}

}  // namespace

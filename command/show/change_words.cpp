// Every sentence has two moods, planned and done, and one function for both, so that a dry run and
// the deed tell the same story. Names and lines are escaped here; the sentences are printed as they
// are.
#include "change_words.h"

#include "escaped_text.h"

namespace norvik {

namespace {

std::string shown(const container_view &view, version_id id) {
    return escape_name(version_name(view, id));
}

std::vector<std::string> names_of(const std::vector<const branch_record *> &branches) {
    std::vector<std::string> names;
    names.reserve(branches.size());
    for (const branch_record *branch : branches) {
        names.push_back("branch " + escape_name(branch->oid));
    }
    return names;
}

// What still needs the lines of a deleted version.
std::string dependents(const container_plan &plan, const version_fate &kept) {
    std::vector<std::string> needed_by = names_of(kept.hanging);
    if (kept.needed_by != nullptr) {
        needed_by.insert(needed_by.begin(), shown(plan.after, kept.needed_by->id));
    }
    return in_words(needed_by);
}

std::string describe_version(const container_plan &plan, const version_fate &version,
                             telling mood) {
    const std::string name = shown(plan.before, version.version->id);
    const bool done = mood == telling::done;
    if (version.what == fate::gone_at_last) {
        return name + ", deleted before: its lines " +
               (done ? "are gone from the file now" : "would be gone from the file");
    }
    const std::string start = name + (done ? ": deleted, " : ": would be deleted, ");
    return version.what == fate::gone
               ? start + "its lines " + (done ? "are" : "would be") + " gone from the file"
               : start + "but its lines " + (done ? "are still" : "would stay") +
                     " in the file, for " + dependents(plan, version);
}

std::string describe_branch(const branch_fate &branch, telling mood) {
    const bool done = mood == telling::done;
    const std::string name = "branch " + escape_name(branch.branch->oid);
    return branch.what == fate::gone
               ? name + (done ? ": removed, none of its versions is left"
                              : ": would be removed with all its versions")
               : name + (done ? ": stays" : ": would stay") + " without versions, for " +
                     in_words(names_of(branch.hanging));
}

void list_lines(const container_view &view, const kept_lines &lines, sentences *out) {
    for (const kept_line &line : lines.first) {
        std::string names;
        for (const version_id id : line.holders) {
            names += (names.empty() ? "" : ", ") + shown(view, id);
        }
        if (line.holder_count > line.holders.size()) {
            names += " and " + std::to_string(line.holder_count - line.holders.size()) + " more";
        }
        out->push_back("  " + names + ": " + escape_text(line.text));
    }
    if (lines.count > lines.first.size()) {
        out->push_back("  and " + lines_text(lines.count - lines.first.size()) + " more");
    }
}

std::string describe_purged(const purge_plan &plan, telling mood) {
    const bool done = mood == telling::done;
    const std::uint64_t gone = plan.lines.inserted - plan.lines.held.count;
    return shown(plan.before, plan.version) +
           (done ? ": deleted; of " : ": would be deleted; of ") + lines_text(plan.lines.inserted) +
           " that it inserted " + std::to_string(gone) +
           (!done       ? " would be"
            : gone == 1 ? " is"
                        : " are") +
           " gone from the file";
}

// Whether `next` is the version just below `lost` and lost for the same reason.
bool goes_on(const lost_version &lost, const lost_version &next) {
    return next.id.branch == lost.id.branch && next.id.number + 1 == lost.id.number &&
           next.why.line == lost.why.line && next.why.reason == lost.why.reason;
}

const char *would(telling mood) {
    return mood == telling::done ? "" : "would be ";
}

}  // namespace

done_report report_of_versions(const std::string &branch, std::uint64_t first, std::uint64_t last) {
    const auto name = [&branch](std::uint64_t number) { return version_name(branch, number); };
    done_report report;
    for (std::uint64_t number = first; number <= last; number++) {
        report.words += name(number) + "\n";
    }
    report.done = escape_name(name(first)) +
                  (first == last ? "" : " to " + escape_name(name(last))) +
                  (first == last ? " is stored" : " are stored");
    return report;
}

void tell_versions(const command_context &context, done_report &&report) {
    if (context.quiet) {
        return;
    }
    if (!context.dry_run) {
        tell_done(std::move(report));
        return;
    }
    for (std::string_view rest = report.words; !rest.empty();) {
        const std::string_view name = rest.substr(0, rest.find('\n'));
        say("%s would be the new version", escape_name(name).c_str());
        rest.remove_prefix(name.size() + 1);
    }
}

sentences describe_deletion(const container_plan &plan, telling mood) {
    const deletion_fates fates = fates_of(plan.before, plan.after, plan.request);
    sentences out;
    for (const version_fate &version : fates.versions) {
        out.push_back(describe_version(plan, version, mood));
    }
    for (const branch_fate &branch : fates.branches) {
        out.push_back(describe_branch(branch, mood));
    }
    return out;
}

sentences describe_purge(const purge_plan &plan, telling mood) {
    const bool done = mood == telling::done;
    const std::string name = shown(plan.before, plan.version);
    sentences out;
    for (const std::string &sentence : describe_deletion(plan, mood)) {
        if (!sentence.starts_with(name + ":")) {
            out.push_back(sentence);
        }
    }
    out.push_back(describe_purged(plan, mood));
    if (plan.lines.held.count != 0) {
        out.push_back(std::string(done ? "not" : "would not be") +
                      " purged, because these versions hold them:");
        list_lines(plan.before, plan.lines.held, &out);
    }
    if (plan.lines.copies.count != 0) {
        out.push_back(would(mood) +
                      std::string("purged, but these versions have lines of the same text:"));
        list_lines(plan.before, plan.lines.copies, &out);
    }
    return out;
}

sentences describe_held(const purge_plan &plan) {
    sentences out;
    list_lines(plan.before, plan.lines.held, &out);
    return out;
}

std::string lines_text(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

sentences describe_lost(const container_view &view, const repair_verdict &verdict, telling mood) {
    sentences out;
    for (std::size_t i = 0; i < verdict.lost.size(); i++) {
        const lost_version &newest = verdict.lost[i];
        const std::size_t first = i;
        while (i + 1 < verdict.lost.size() && goes_on(verdict.lost[i], verdict.lost[i + 1])) {
            i++;
        }
        std::string names = shown(view, verdict.lost[i].id);
        if (i != first) {
            names += " to " + shown(view, newest.id) + ", " + std::to_string(i - first + 1) +
                     " versions";
        }
        const std::string line =
            newest.why.line == 0 ? "" : "line " + std::to_string(newest.why.line) + ": ";
        out.push_back(would(mood) + std::string("lost: ") + names + " (" + line +
                      escape_name(newest.why.reason) + ")");
    }
    return out;
}

sentences describe_repair(const container_view &view, const repair_verdict &verdict, telling mood) {
    sentences out = describe_lost(view, verdict, mood);
    for (const version_id id : verdict.renamed) {
        out.push_back(would(mood) + std::string("renamed: ") + shown(view, id) +
                      " (its identifier is damaged, it is " + lost_identifier(id) + " now)");
    }
    out.push_back(would(mood) + std::string("saved: ") + std::to_string(verdict.saved.size()) +
                  " of " + std::to_string(verdict.saved.size() + verdict.lost.size()) +
                  " versions");
    return out;
}

void tell_plan(const sentences &what) {
    for (const std::string &sentence : what) {
        say("%s", sentence.c_str());
    }
}

done_report report_of_change(const std::string &container, const std::string &what,
                             const sentences &words) {
    done_report report;
    for (const std::string &sentence : words) {
        report.words += sentence + "\n";
    }
    report.done = escape_name(container) + ": " + what + " is done";
    return report;
}

}  // namespace norvik

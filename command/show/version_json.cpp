// The forms of list, log and verify, which say the same of a branch and of a version with the same
// words; docs/json.md describes them.
#include "version_json.h"

#include <algorithm>

#include "escaped_text.h"
#include "random_digits.h"
#include "row_scan.h"
#include "time_text.h"

namespace norvik {

namespace {

constexpr int list_schema = 1;
constexpr int log_schema = 1;

void describe_branch(json_writer &json, const container_view &view, const branch_record &branch) {
    json.begin_object();
    json.text("name", branch.oid);
    json.field("number", branch.number);
    if (branch.number == 0) {
        json.null("off");
    } else {
        json.text("off", version_name(view, branch.parent));
    }
    json.end();
}

// Begins the object of a version, for whoever has more to say of it.
void begin_version(json_writer &json, const container_view &view, const version_record &version) {
    json.begin_object();
    json.text("name", version_name(view, version.id));
    json.text("branch", branch_name(view, version.id.branch));
    json.field("number", version.id.number);
    json.text("identifier", version.oid);
    json.field("time", version.time);
    json.text("date", time_text(version.time));
    json.field("deleted", version.deleted);
}

// Calls `use` with each element, newest first as they stand, or the other way round.
template <class list, class user>
void in_order(const list &elements, bool reverse, const user &use) {
    if (reverse) {
        std::for_each(elements.rbegin(), elements.rend(), use);
    } else {
        std::for_each(elements.begin(), elements.end(), use);
    }
}

// Begins the document of a container: its names, and its branches or `only` one of them.
void begin_container(json_writer &json, const container_view &view, const branch_record *only,
                     bool newest_first) {
    json.text("container", view.name);
    json.text("element", view.element_oid);
    json.begin_array("branches");
    in_order(view.branches, !newest_first, [&](const branch_record &branch) {
        if (!branch.deleted && (only == nullptr || only->number == branch.number)) {
            describe_branch(json, view, branch);
        }
    });
    json.end();
}

void describe_checked(json_writer &json, const container_view &view, const container_check &check,
                      const version_record &version) {
    const std::uint32_t position = position_of(check.scan.tree, version.id);
    const text_step &text = check.scan.totals[position];
    json.begin_object();
    json.text("name", version_name(view, version.id));
    json.text("identifier", version.oid);
    json.field("in_doubt", !is_trusted(check, version));
    json.field("lines", text.lines);
    json.field("bytes", text.bytes);
    json.text("digest", hexadecimal(text.offset));
    json.field("sealed", version.sum.has_value());
    json.end();
}

}  // namespace

void print_list_json(const container_view &view, const branch_record *only,
                     const version_list &versions) {
    json_writer json(list_schema);
    begin_container(json, view, only, false);
    json.begin_array("versions");
    const std::set<version_id> long_lined = versions_with_rows(view);
    for (const version_record *version : versions) {
        begin_version(json, view, *version);
        if (long_lined.contains(version->id)) {
            json.field("long_lines", true);
        }
        json.end();
    }
    json.end();
    json.print();
}

void print_log_json(const container_view &view, const branch_record *only, const version_log &log,
                    bool reverse) {
    json_writer json(log_schema);
    begin_container(json, view, only, !reverse);
    json.begin_array("versions");
    in_order(log, reverse, [&](const logged_version &version) {
        begin_version(json, view, *version.record);
        json.field("lines_added", version.change.added);
        json.field("lines_deleted", version.change.deleted);
        json.field("lines", version.text.lines);
        json.field("bytes", version.text.bytes);
        json.end();
    });
    json.end();
    json.print();
}

void describe_check(json_writer &json, const container_view &view, const container_check &check) {
    json.begin_object();
    json.text("container", view.name);
    json.field("sound", check.faults.empty());
    json.begin_array("complaints");
    for (const weave_fault &fault : check.faults) {
        json.begin_object();
        json.field("line", fault.what.line);
        json.text("reason", escape_name(fault.what.reason));
        json.end();
    }
    json.end();
    json.begin_array("versions");
    for (const version_record &version : view.versions) {
        if (!version.deleted) {
            describe_checked(json, view, check, version);
        }
    }
    json.end();
    json.end();
}

void describe_unjudged(json_writer &json, const std::string &name) {
    json.begin_object();
    json.text("container", name);
    json.null("sound");
    json.end();
}

}  // namespace norvik

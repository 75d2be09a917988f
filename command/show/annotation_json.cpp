#include "annotation_json.h"

#include <set>

#include "json_text.h"
#include "time_text.h"

namespace norvik {

namespace {

constexpr int annotation_schema = 1;

void describe_version(json_writer &json, const container_view &view, version_id id) {
    const version_record *version = find_version(view, id);
    json.begin_object();
    json.text("name", version_name(view, id));
    if (version != nullptr) {
        json.text("identifier", version->oid);
        json.field("time", version->time);
        json.text("date", time_text(version->time));
    }
    json.field("deleted", version == nullptr || version->deleted);
    json.end();
}

}  // namespace

void print_annotation_json(const container_view &view, version_id version,
                           const std::vector<annotated_stretch> &stretches) {
    json_writer json(annotation_schema);
    json.text("container", view.name);
    json.text("version", version_name(view, version));
    std::set<version_id> named;
    for (const annotated_stretch &stretch : stretches) {
        named.insert(stretch.run);
        if (stretch.tag == format::tag_deleted) {
            named.insert(stretch.deleter);
        }
    }
    json.begin_array("versions");
    for (const version_id id : named) {
        describe_version(json, view, id);
    }
    json.end();
    json.begin_array("lines");
    for (const annotated_stretch &stretch : stretches) {
        std::uint64_t number = stretch.number;
        for_each_line(stretch, false, [&](std::string_view line) {
            json.begin_object();
            if (stretch.tag == format::tag_own) {
                json.field("number", number++);
            } else {
                json.null("number");
            }
            json.text("version", version_name(view, stretch.run));
            if (stretch.tag == format::tag_deleted) {
                json.text("deleted_by", version_name(view, stretch.deleter));
            }
            json.text("text", line.substr(0, line.size() - (line.ends_with('\n') ? 1 : 0)));
            json.end();
        });
    }
    json.end();
    json.print();
}

}  // namespace norvik

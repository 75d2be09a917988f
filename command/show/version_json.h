// Branches and versions in JSON, for listings, logs and checks; docs/json.md describes it.
#ifndef NORVIK_VERSION_JSON_H
#define NORVIK_VERSION_JSON_H

#include <string>

#include "container_check.h"
#include "json_text.h"
#include "version_log.h"
#include "version_table.h"

namespace norvik {

// Prints the branches, or `only` that one (null: all), and the versions in their order.
void print_list_json(const container_view &view, const branch_record *only,
                     const version_list &versions);

// The same with what each version changed; newest first, or with `reverse` oldest first.
void print_log_json(const container_view &view, const branch_record *only, const version_log &log,
                    bool reverse);

// Adds the judgement on a container to the array begun last: every complaint, and of every version
// that is not deleted its text's digest.
void describe_check(json_writer &json, const container_view &view, const container_check &check);

// The same of a container, called `name`, that could not be judged.
void describe_unjudged(json_writer &json, const std::string &name);

}  // namespace norvik

#endif

// A version's text, and which version brought each of its lines.
//
// Both take a walk over the weave along the version's lineage; an annotation's lines are views into
// the container.
#include <cstdlib>
#include <deque>
#include <memory>
#include <string>

#include "container.h"
#include "joined_lines.h"
#include "structure.h"
#include "texts.h"

struct norvik_annotation {
    std::vector<norvik_annotated_line> lines;
    std::deque<std::string> long_lines;  // that the container has in pieces
};

namespace norvik::face {
namespace {

// Hands over the text of a version; a false answer of `sink` is an error.
norvik_error *walk(const norvik_container *container, const version_record &version,
                   const text_sink &sink) {
    const container_view &view = container->view;
    std::vector<version_id> lineage;
    if (!lineage_of(view, version.id, &lineage)) {
        return make_error(damaged(view, {0, "the branches of " + version_name(view, version.id) +
                                                " cannot be followed"}));
    }
    bool stopped = false;
    const auto take = [&](std::string_view piece) {
        stopped = !piece.empty() && !sink(piece);
        return !stopped;
    };
    const std::optional<damage> found = walk_version(view, lineage, take);
    if (stopped) {
        return make_error(norvik_kind_stopped, view.name, "the text was not taken");
    }
    return found ? make_error(damaged(view, *found)) : nullptr;
}

norvik_error *give_text(const norvik_container *container, const norvik_version *version,
                        char **bytes, std::size_t *size) {
    norvik_error *error = nullptr;
    const version_record *record = living_record(container, version, &error);
    if (record == nullptr) {
        return error;
    }
    std::string text;
    error = walk(container, *record, [&text](std::string_view piece) {
        text += piece;
        return true;
    });
    if (error != nullptr) {
        return error;
    }
    auto *const given = static_cast<char *>(std::malloc(text.size() + 1));
    if (given == nullptr) {
        return out_of_memory();
    }
    text.copy(given, text.size());
    given[text.size()] = '\0';
    *bytes = given;
    if (size != nullptr) {
        *size = text.size();
    }
    return nullptr;
}

norvik_error *annotate(const norvik_container *container, const norvik_version *version,
                       norvik_annotation **out) {
    norvik_error *error = nullptr;
    const version_record *record = living_record(container, version, &error);
    if (record == nullptr) {
        return error;
    }
    const container_view &view = container->view;
    auto annotation = std::make_unique<norvik_annotation>();
    const auto found =
        annotate_lines(view, record->id, annotated_lines::own, &annotation->long_lines);
    if (!found) {
        return make_error(found.failure());
    }
    for (const annotated_stretch &stretch : *found) {
        const version_record *run = find_version(view, stretch.run);
        const norvik_version *brought =
            run == nullptr
                ? nullptr
                : &container->versions[static_cast<std::size_t>(run - view.versions.data())];
        for_each_line(stretch, false, [&](std::string_view line) {
            annotation->lines.push_back({as_text(line), brought});
        });
    }
    *out = annotation.release();
    return nullptr;
}

}  // namespace
}  // namespace norvik::face

using namespace norvik;

norvik_error *norvik_write_text(norvik_container *container, const norvik_version *version,
                                norvik_sink sink, void *user) {
    return face::guarded([&]() -> norvik_error * {
        norvik_error *error = nullptr;
        const version_record *record = face::living_record(container, version, &error);
        if (record == nullptr || sink == nullptr) {
            return error != nullptr ? error : face::refuse("there is no sink");
        }
        return face::walk(container, *record, [&](std::string_view piece) {
            return sink(user, piece.data(), piece.size()) == 0;
        });
    });
}

norvik_error *norvik_version_text(norvik_container *container, const norvik_version *version,
                                  char **bytes, std::size_t *size) {
    return face::giving(bytes, [&] { return face::give_text(container, version, bytes, size); });
}

void norvik_free_bytes(char *bytes) {
    std::free(bytes);
}

norvik_error *norvik_annotate(norvik_container *container, const norvik_version *version,
                              norvik_annotation **out) {
    return face::giving(out, [&] { return face::annotate(container, version, out); });
}

std::size_t norvik_annotated_count(const norvik_annotation *annotation) {
    return annotation == nullptr ? 0 : annotation->lines.size();
}

const norvik_annotated_line *norvik_annotated_at(const norvik_annotation *annotation,
                                                 std::size_t index) {
    return annotation == nullptr ? nullptr : face::at(annotation->lines, index);
}

void norvik_annotation_free(norvik_annotation *annotation) {
    delete annotation;
}

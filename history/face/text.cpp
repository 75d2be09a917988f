// A version's text, and which version brought each of its lines.
//
// A text takes a walk over the weave along the version's lineage. An annotation takes one pass over
// the whole weave; its lines are views into the container.
#include <cstdlib>
#include <memory>

#include "container.h"
#include "structure.h"
#include "texts.h"
#include "weave_cursor.h"

struct norvik_annotation {
    std::vector<norvik_annotated_line> lines;
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

// The lines of a version as one pass over the weave finds them: those whose holders it is among.
class annotator {
public:
    annotator(const norvik_container &container, const version_record &version,
              norvik_annotation *out)
        : container_(container), tree_(build_version_tree(container.view)), out_(out) {
        const std::uint32_t position = position_of(tree_, version.id);
        self_ = {position, position + 1};
        const container_view &view = container.view;
        by_position_.resize(tree_.versions.size());
        for (const version_record &listed : view.versions) {
            by_position_[position_of(tree_, listed.id)] =
                &container.versions[static_cast<std::size_t>(&listed - view.versions.data())];
        }
    }

    void run() {
        weave_cursor cursor(container_.view, tree_, false);
        std::vector<position_range> parts;
        for (weave_stretch stretch; cursor.next(&stretch);) {
            parts.clear();
            cursor.holders(stretch, self_, &parts);
            if (!parts.empty()) {
                take(stretch);
            }
        }
    }

private:
    void take(const weave_stretch &stretch) {
        const std::uint32_t run = position_of(tree_, stretch.run);
        const norvik_version *brought = run == no_position ? nullptr : by_position_[run];
        for (std::string_view rest = stretch.bytes; !rest.empty();) {
            const std::string_view line = rest.substr(0, rest.find('\n') + 1);
            rest.remove_prefix(line.size());
            out_->lines.push_back({as_text(text_of(line)), brought});
        }
    }

    const norvik_container &container_;
    version_tree tree_;
    norvik_annotation *out_;
    position_range self_;
    std::vector<const norvik_version *> by_position_;
};

norvik_error *annotate(const norvik_container *container, const norvik_version *version,
                       norvik_annotation **out) {
    norvik_error *error = nullptr;
    const version_record *record = living_record(container, version, &error);
    if (record == nullptr) {
        return error;
    }
    auto annotation = std::make_unique<norvik_annotation>();
    annotator(*container, *record, annotation.get()).run();
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

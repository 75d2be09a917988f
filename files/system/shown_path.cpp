// A list of the few paths that are in use at a time, newest first.
#include "shown_path.h"

#include <cctype>
#include <utility>

namespace norvik {

struct shown_path::entry {
    std::string path;
    std::string name;
    entry *older;
};

thread_local shown_path::entry *shown_path::newest = nullptr;

namespace {

bool may_go_on(char byte) {
    return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '/' || byte == '.' ||
           byte == '-' || byte == '_' || (byte & 0x80) != 0;
}

// Whether `text` begins with the path and not with a longer one: /proc/self/fd/1 is not in
// /proc/self/fd/12.
bool begins_with_path(std::string_view text, std::string_view path) {
    return !path.empty() && text.starts_with(path) &&
           (text.size() == path.size() || !may_go_on(text[path.size()]));
}

}  // namespace

shown_path::shown_path(std::string path, std::string_view name)
    : entry_(new entry{std::move(path), std::string(name == "-" ? "<stdin>" : name), newest}) {
    newest = entry_.get();
}

void shown_path::forget::operator()(entry *dead) const {
    entry **place = &newest;
    while (*place != dead) {
        place = &(*place)->older;
    }
    *place = dead->older;
    delete dead;
}

std::string_view name_of_path(std::string_view path) {
    for (const shown_path::entry *known = shown_path::newest; known; known = known->older) {
        if (known->path == path) {
            return known->name;
        }
    }
    return path;
}

std::string_view newest_shown_name() {
    return shown_path::newest == nullptr ? std::string_view() : shown_path::newest->name;
}

std::string with_shown_paths(std::string_view message, std::string (*show)(std::string_view name)) {
    std::string shown;
    while (!message.empty()) {
        const shown_path::entry *known = shown_path::newest;
        while (known != nullptr && !begins_with_path(message, known->path)) {
            known = known->older;
        }
        if (known != nullptr) {
            shown += show(known->name);
        } else {
            shown += message.front();
        }
        message.remove_prefix(known != nullptr ? known->path.size() : 1);
    }
    return shown;
}

}  // namespace norvik

// The names that people know files by, for the paths that only the command and the library know: a
// temporary file, a file in memory, a descriptor's path below /proc/self/fd.
#ifndef NORVIK_SHOWN_PATH_H
#define NORVIK_SHOWN_PATH_H

#include <memory>
#include <string>
#include <string_view>

namespace norvik {

// As long as it lives, messages show `name` (as the user gave it; "-" becomes <stdin>) where the
// library says `path`. Where one path has several, the newest counts.
class shown_path {
public:
    shown_path() = default;
    shown_path(std::string path, std::string_view name);

private:
    friend std::string_view name_of_path(std::string_view path);
    friend std::string_view newest_shown_name();
    friend std::string with_shown_paths(std::string_view message,
                                        std::string (*show)(std::string_view name));

    struct entry;
    struct forget {
        void operator()(entry *dead) const;
    };
    static thread_local entry *newest;

    std::unique_ptr<entry, forget> entry_;
};

// The name shown for `path`, which is `path` itself when nobody gave one. Like the next one, a view
// that lives as long as the shown_path.
std::string_view name_of_path(std::string_view path);

// The name given last, empty when there is none.
std::string_view newest_shown_name();

// The message with every such path replaced by what `show` makes of its name.
std::string with_shown_paths(std::string_view message, std::string (*show)(std::string_view name));

}  // namespace norvik

#endif

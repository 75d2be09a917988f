// Opening containers, and what their headers list.
//
// The file is copied into memory, whole, and so are the names of its records, as strings of C: what
// is handed out changes with nobody's file and lives until the container is closed.
#include "container.h"

#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <memory>

#include "memory_file.h"
#include "owned_descriptor.h"
#include "structure.h"
#include "system_calls.h"
#include "texts.h"
#include "version_names.h"

namespace norvik::face {
namespace {

const char *keep(norvik_container *container, std::string text) {
    return container->strings.emplace_back(std::move(text)).c_str();
}

// Copies the records, with strings that end with a NUL.
void list_records(norvik_container *container) {
    const container_view &view = container->view;
    container->element = view.element_oid;
    for (const version_record &version : view.versions) {
        container->versions.push_back({keep(container, version_name(view, version.id)),
                                       keep(container, std::string(version.oid)), version.id.branch,
                                       version.id.number, version.time, version.deleted ? 1 : 0});
    }
    for (const branch_record &branch : view.branches) {
        container->branches.push_back({keep(container, std::string(branch.oid)), branch.number,
                                       branch.parent.branch, branch.parent.number,
                                       branch.deleted ? 1 : 0});
    }
}

norvik_error *open_held(const memory_file &memory, std::string_view name, std::uint32_t flags,
                        norvik_container **out) {
    auto container = std::make_unique<norvik_container>();
    auto opened = open_container(memory.descriptor(), std::string(name));
    if (!opened) {
        return make_error(opened.failure());
    }
    container->view = std::move(*opened);
    if ((flags & norvik_open_damaged) == 0) {
        if (const std::optional<damage> found = scan_structure(container->view)) {
            return make_error(damaged(container->view, *found));
        }
    }
    list_records(container.get());
    *out = container.release();
    return nullptr;
}

// The bytes are copied: whatever somebody does to the file, a mapping of it could change, or end
// the process.
norvik_error *open_descriptor(int descriptor, std::string_view name, std::uint32_t flags,
                              norvik_container **out) {
    if ((flags & ~std::uint32_t{norvik_open_damaged}) != 0) {
        return refuse("unknown flags of an opening");
    }
    memory_file memory;
    std::error_code error = memory.create(name);
    (void)sys::lseek(descriptor, 0, SEEK_SET);  // a pipe has no start
    error = error ? error : memory.copy_from(descriptor);
    return error ? make_error(system_failure(name, "cannot be read", error))
                 : open_held(memory, name, flags, out);
}

// A device may have no end, and a pipe no writer.
norvik_error *open_path(const char *path, std::uint32_t flags, norvik_container **out) {
    if (path == nullptr) {
        return refuse("there is no path");
    }
    const owned_descriptor input(sys::open(path, sys::read_at_once));
    struct stat status {};
    if (!input.is_open() || sys::fstat(input.get(), &status) != 0) {
        return make_error(system_failure(path, "cannot be read", last_error()));
    }
    if (!S_ISREG(status.st_mode)) {
        return make_error(norvik_kind_refused, path, "is no regular file");
    }
    return open_descriptor(input.get(), path, flags, out);
}

norvik_error *open_bytes(norvik_text bytes, std::string_view name, std::uint32_t flags,
                         norvik_container **out) {
    if (bytes.bytes == nullptr && bytes.size != 0) {
        return make_error(norvik_kind_refused, name, "has a size and no bytes");
    }
    memory_file memory;
    std::error_code error = memory.create(name);
    error = error ? error : memory.write(view_of(bytes));
    if (error) {
        return make_error(system_failure(name, "cannot be held", error));
    }
    return (flags & ~std::uint32_t{norvik_open_damaged}) != 0
               ? refuse("unknown flags of an opening")
               : open_held(memory, name, flags, out);
}

}  // namespace

const version_record *record_of(const norvik_container *container, const norvik_version *version) {
    const std::vector<norvik_version> &all = container->versions;
    const norvik_version *const first = all.data();
    const bool is_ours = version != nullptr && !std::less<>{}(version, first) &&
                         std::less<>{}(version, first + all.size());
    return is_ours ? &container->view.versions[static_cast<std::size_t>(version - first)] : nullptr;
}

const version_record *living_record(const norvik_container *container,
                                    const norvik_version *version, norvik_error **error) {
    if (container == nullptr) {
        *error = refuse("there is no container");
        return nullptr;
    }
    const version_record *record = record_of(container, version);
    if (record == nullptr || record->deleted) {
        *error = make_error(
            norvik_kind_refused, container->view.name,
            record == nullptr ? "the version is none of the container" : "the version is deleted");
        return nullptr;
    }
    return record;
}

}  // namespace norvik::face

using namespace norvik;

norvik_error *norvik_open(const char *path, std::uint32_t flags, norvik_container **out) {
    return face::giving(out, [&] { return face::open_path(path, flags, out); });
}

norvik_error *norvik_open_descriptor(int descriptor, const char *name, std::uint32_t flags,
                                     norvik_container **out) {
    return face::giving(
        out, [&] { return face::open_descriptor(descriptor, face::view_of(name), flags, out); });
}

norvik_error *norvik_open_memory(norvik_text bytes, const char *name, std::uint32_t flags,
                                 norvik_container **out) {
    return face::giving(out,
                        [&] { return face::open_bytes(bytes, face::view_of(name), flags, out); });
}

void norvik_close(norvik_container *container) {
    delete container;
}

const char *norvik_element(const norvik_container *container) {
    return container == nullptr ? "" : container->element.c_str();
}

std::size_t norvik_version_count(const norvik_container *container) {
    return container == nullptr ? 0 : container->versions.size();
}

const norvik_version *norvik_version_at(const norvik_container *container, std::size_t index) {
    return container == nullptr ? nullptr : face::at(container->versions, index);
}

std::size_t norvik_branch_count(const norvik_container *container) {
    return container == nullptr ? 0 : container->branches.size();
}

const norvik_branch *norvik_branch_at(const norvik_container *container, std::size_t index) {
    return container == nullptr ? nullptr : face::at(container->branches, index);
}

norvik_error *norvik_find_version(norvik_container *container, const char *name,
                                  const norvik_version **out) {
    return face::giving(out, [&]() -> norvik_error * {
        if (container == nullptr) {
            return face::refuse("there is no container");
        }
        const container_view &view = container->view;
        const auto found = resolve_version(view, face::view_of(name));
        if (!found) {
            return face::make_error(found.failure());
        }
        *out = &container->versions[static_cast<std::size_t>(*found - view.versions.data())];
        return nullptr;
    });
}

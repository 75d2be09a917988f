#include "support.h"

#include <fcntl.h>
#include <norviktdm/tdm.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>

#include "output.h"
#include "record_line.h"
#include "structure.h"

namespace {

int report_descriptor = STDERR_FILENO;
std::string scratch;
std::list<host::memory_file> library_files;

void remove_scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(scratch, ignored);
}

}  // namespace

// Services of the library: no messages, and temporary files in memory that go after every run.
void msg_print(int, const void *, int, ...) {}
void msg_print_shared(int, const char *, const msg_table *, int, ...) {}
void log_internal_error(const char *, const msg_table *, int, const char *, int, int, ...) {}

FILE *futil_tmpfile_binary(void *, void *, void *, char *name, size_t name_size) {
    host::memory_file &file = library_files.emplace_back();
    if (file.create() != 0) {
        return nullptr;
    }
    name[file.path().copy(name, name_size - 1)] = '\0';
    return std::fopen(name, "wb");
}

int sys_fsync_stream(FILE *stream) {
    return std::fflush(stream) == 0 && std::ferror(stream) == 0 ? 0 : -1;
}

// In place of the command's own, which closes standard output for good.
extern "C" int __wrap__ZN4host22finish_standard_outputEv() {
    return std::fflush(stdout) == 0 ? host::standard_output().finish_keeping_open() : 2;
}

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    report_descriptor = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100);
    for (const char *name : {"PAGER", "TDM_PAGER", "EDITOR", "VISUAL", "VT_LANG_CODESET"}) {
        unsetenv(name);
    }
    setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
    scratch =
        std::filesystem::exists("/dev/shm") ? "/dev/shm/tdm-fuzz-XXXXXX" : "/tmp/tdm-fuzz-XXXXXX";
    if (mkdtemp(scratch.data()) == nullptr) {
        std::abort();
    }
    std::filesystem::current_path(scratch);
    std::atexit(remove_scratch);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDIN_FILENO);
    dup2(null, STDOUT_FILENO);
    close(null);
    return 0;
}

namespace fuzz {

void drop_library_files() {
    library_files.clear();
}

int given_output() {
    return report_descriptor;
}

void require(bool holds, const std::string &words) {
    if (!holds) {
        dprintf(report_descriptor, "FINDING: %s\n", words.c_str());
        remove_scratch();
        std::abort();
    }
}

choices::choices(std::string_view seed)
    : random(static_cast<unsigned>(std::hash<std::string_view>()(seed) % 2147483629u + 1)) {}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void write_file(const std::string &path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::vector<std::string> files_here() {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(".")) {
        names.push_back(entry.path().filename());
    }
    return names;
}

held_container::held_container(std::string_view bytes) {
    opened = file.create() == 0 && file.write(bytes) == 0 &&
             host::open_container(file.descriptor(), "input", &view) == 0;
}

std::optional<std::string> library_text(const std::string &path, std::string_view oid,
                                        uint32_t annotation) {
    host::memory_file out;
    require(out.create() == 0, "no memory file");
    const int status =
        tdm_construct_ver(path.c_str(), out.path().c_str(), std::string(oid).c_str(), annotation);
    return status == 0 ? std::optional(read_file(out.path())) : std::nullopt;
}

std::optional<std::string> walked_text(const host::container_view &view, host::version_id id) {
    std::vector<host::version_id> lineage;
    std::string text;
    const auto add = [&text](std::string_view piece) {
        text += piece;
        return true;
    };
    if (!host::lineage_of(view, id, &lineage) || host::walk_version(view, lineage, add)) {
        return std::nullopt;
    }
    return text;
}

texts_by_id texts_of(const held_container &container) {
    texts_by_id texts;
    for (const host::version_record &version : container.view.versions) {
        if (!version.deleted && !texts.contains(version.id)) {
            if (auto text = library_text(container.file.path(), version.oid)) {
                texts[version.id] = std::move(*text);
            }
        }
    }
    return texts;
}

bool is_sound(const host::container_view &view) {
    return host::check_container(view, false, {}).faults.empty();
}

std::string word_for(const host::container_view &view, const host::version_record &version) {
    std::string reason;
    for (const std::string &word : {version_name(view, version.id), std::string(version.oid)}) {
        const host::version_record *found = resolve_version(view, word, &reason);
        if (!version.deleted && found != nullptr && found->id == version.id) {
            return word;
        }
    }
    return "";
}

void visit_lines(const host::container_view &view, const line_visitor &visit) {
    const host::version_tree tree = host::build_version_tree(view);
    std::vector<bool> alive(tree.versions.size());
    for (const host::version_record &version : view.versions) {
        alive[host::position_of(tree, version.id)] = !version.deleted;
    }
    host::weave_cursor cursor(view, tree, false);
    std::vector<host::position_range> holders;
    for (host::weave_stretch stretch; cursor.next(&stretch);) {
        holders.clear();
        cursor.holders(stretch, &holders);
        const bool held = std::any_of(holders.begin(), holders.end(), [&](const auto &part) {
            return std::find(alive.begin() + part.first, alive.begin() + part.end, true) !=
                   alive.begin() + part.end;
        });
        for (const std::string &line : split(stretch.bytes)) {
            visit(stretch.run, host::text_of(line), held);
        }
    }
}

}  // namespace fuzz

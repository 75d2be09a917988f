#include <fcntl.h>
#include <norviktdm/tdm.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <list>

#include "cli.h"
#include "failure_words.h"
#include "output.h"
#include "structure.h"
#include "targets.h"

namespace {

int report_descriptor = STDERR_FILENO;
std::string scratch;
std::list<fuzz::held_file> library_files;
void (*target)(std::string_view) = nullptr;

constexpr struct {
    std::string_view name;
    void (*run)(std::string_view);
} targets[] = {
    {"reader", fuzz::reader},   {"annotate", fuzz::annotate}, {"delete", fuzz::delete_versions},
    {"purge", fuzz::purge},     {"repair", fuzz::repair},     {"checkin", fuzz::checkin},
    {"compare", fuzz::compare}, {"stream", fuzz::stream},     {"merge", fuzz::merge},
    {"options", fuzz::options}};

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
    const std::string &path = library_files.emplace_back().path();
    name[path.copy(name, name_size - 1)] = '\0';
    return std::fopen(name, "wb");
}

int sys_fsync_stream(FILE *stream) {
    return std::fflush(stream) == 0 && std::ferror(stream) == 0 ? 0 : -1;
}

// In place of the command's own, which closes standard output for good.
extern "C" int __wrap__ZN6norvik22finish_standard_outputEv() {
    norvik::standard_output().flush();
    return std::fflush(stdout) == 0 && !norvik::standard_output().failed() ? 0 : 2;
}

// The target is named by the environment, as the fuzzer has the command line.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    report_descriptor = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 100);
    const char *wanted = getenv("TDM_FUZZ_TARGET");
    for (const auto &[name, run] : targets) {
        target = wanted != nullptr && name == wanted ? run : target;
    }
    fuzz::require(target != nullptr, "TDM_FUZZ_TARGET names no target");
    for (const char *name : {"PAGER", "TDM_PAGER", "EDITOR", "VISUAL", "VT_LANG_CODESET"}) {
        unsetenv(name);
    }
    setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
    scratch = access("/dev/shm", W_OK) == 0 ? "/dev/shm/tdm-fuzz-XXXXXX" : "/tmp/tdm-fuzz-XXXXXX";
    fuzz::require(mkdtemp(scratch.data()) != nullptr, "no scratch folder");
    std::filesystem::current_path(scratch);
    std::atexit(remove_scratch);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, STDIN_FILENO);
    dup2(null, STDOUT_FILENO);
    close(null);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    target({reinterpret_cast<const char *>(data), size});
    for (const auto &entry : std::filesystem::directory_iterator(scratch)) {
        std::filesystem::remove_all(entry.path());
    }
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

int run(std::vector<std::string> words) {
    words.insert(words.begin(), "tdm");
    std::vector<char *> arguments;
    for (std::string &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const int status = norvik::run_command_line(static_cast<int>(words.size()), arguments.data());
    drop_library_files();
    require(fcntl(STDOUT_FILENO, F_GETFD) >= 0, "standard output is closed");
    require(status >= 0 && status <= 2, "the exit status is " + std::to_string(status));
    return status;
}

held_file::held_file(std::string_view bytes) {
    require(!create("input") && !write(bytes), "no memory file");
}

held_container::held_container(std::string_view bytes)
    : file(bytes),
      opened(norvik::told(norvik::open_container(file.descriptor(), "input"), &view) == 0) {}

std::optional<std::string> library_text(const held_container &container, std::string_view oid,
                                        uint32_t annotation) {
    const held_file out;
    const int status = tdm_construct_ver(container.file.path().c_str(), out.path().c_str(),
                                         std::string(oid).c_str(), annotation);
    return status == 0 ? std::optional(read_file(out.path())) : std::nullopt;
}

std::optional<std::string> walked_text(const norvik::container_view &view, norvik::version_id id) {
    std::vector<norvik::version_id> lineage;
    std::string text;
    const auto add = [&text](std::string_view piece) { return text += piece, true; };
    if (!norvik::lineage_of(view, id, &lineage) || norvik::walk_version(view, lineage, add)) {
        return std::nullopt;
    }
    return text;
}

texts_by_id texts_of(const held_container &container) {
    texts_by_id texts;
    for (const norvik::version_record &version : container.view.versions) {
        if (!version.deleted && !texts.contains(version.id)) {
            if (auto text = library_text(container, version.oid)) {
                texts[version.id] = std::move(*text);
            }
        }
    }
    return texts;
}

bool is_sound(const norvik::container_view &view) {
    return norvik::check_container(view, norvik::fingerprints::none, {}).faults.empty();
}

}  // namespace fuzz

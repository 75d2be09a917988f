#include "inputs.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace bench {

namespace {

constexpr size_t line_bytes = 40;

class run_folder {
public:
    run_folder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "tdm-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            perror(pattern.c_str());
            exit(2);
        }
        path_ = pattern;
    }
    ~run_folder() { std::filesystem::remove_all(path_); }
    run_folder(const run_folder &) = delete;
    run_folder &operator=(const run_folder &) = delete;
    const std::string &path() const { return path_; }

private:
    std::string path_;
};

uint64_t mixed(uint64_t value) {
    value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9U;
    value = (value ^ (value >> 27)) * 0x94d049bb133111ebU;
    return value ^ (value >> 31);
}

class text_writer {
public:
    explicit text_writer(const std::string &path) : out_(path, std::ios::binary) {}

    void line(char kind, int64_t number) {
        char bytes[64];
        snprintf(bytes, sizeof bytes, "%c%012lld %016llx of texts\n", kind,
                 static_cast<long long>(number),
                 static_cast<unsigned long long>(mixed(static_cast<uint64_t>(number))));
        out_.write(bytes, line_bytes);
    }
    void record(std::string_view bytes) { out_ << bytes; }

private:
    std::ofstream out_;
};

std::string hexadecimal(int64_t number) {
    char digits[20];
    snprintf(digits, sizeof digits, "%llx", static_cast<unsigned long long>(number));
    return digits;
}

// Seven of every eight lines stay as version 1 brought them; the eighth is replaced by one of the
// later versions, in turn.
void write_container(const std::string &path, int64_t bytes, int64_t versions) {
    text_writer out(path);
    const auto header_record = [&](int64_t number) {
        out.record("^V " + version_oid(number) + " 0 " + hexadecimal(number) + " " +
                   hexadecimal(1700000000 + number) + "\n");
    };
    out.record("^S db1 0\n");
    for (int64_t number = versions; number >= 0; --number) {
        header_record(number);
    }
    out.record("^B main 0 0 0\n^E bench\n");

    const int64_t lines = bytes / static_cast<int64_t>(line_bytes) * 8 / 10;
    out.record("^I 0 1 " + hexadecimal(lines) + "\n");
    for (int64_t i = 0; i < lines; ++i) {
        if (i % 8 != 7 || versions < 2) {
            out.line('a', i);
            continue;
        }
        const std::string owner = hexadecimal(2 + i / 8 % (versions - 1));
        out.record("^D 0 " + owner + " 1\n");
        out.line('a', i);
        out.record("^I 0 " + owner + " 1\n");
        out.line('b', i);
    }
}

void write_random(text_writer &out, int64_t lines) {
    for (int64_t i = 0; i < lines; ++i) {
        const uint64_t chance = mixed(static_cast<uint64_t>(i) + 0x1234567) % 300;
        if (chance != 0) {
            out.line(chance == 1 ? 'c' : 'a', i);
        }
        if (chance == 2) {
            out.line('d', i);
        }
    }
}

void write_text(const std::string &path, int64_t lines, edit kind) {
    text_writer out(path);
    const int64_t block = lines / 5;
    switch (kind) {
        case edit::random:
            write_random(out, lines);
            return;
        case edit::moved:
            for (int64_t i = 0; i < lines; ++i) {
                out.line('a', i < lines - 2 * block
                                  ? i + block
                                  : (i < lines - block ? i + 2 * block - lines : i));
            }
            return;
        default:
            break;
    }
    for (int64_t i = 0; i < lines; ++i) {
        const bool changed = kind == edit::foreign || (kind == edit::alternate && i % 2 == 1) ||
                             (kind == edit::few && i % (lines / 10) == lines / 20);
        out.line(changed ? 'e' : 'a', i);
    }
}

}  // namespace

std::string scratch_path(const std::string &name) {
    static const run_folder folder;
    return folder.path() + "/" + name;
}

uint64_t file_bytes(const std::string &path) {
    return std::filesystem::file_size(path);
}

std::string version_oid(int64_t number) {
    char oid[33];
    snprintf(oid, sizeof oid, "%016llx%016llx",
             static_cast<unsigned long long>(mixed(static_cast<uint64_t>(number) + 1)),
             static_cast<unsigned long long>(number));
    return oid;
}

std::string container(int64_t megabytes, int64_t versions) {
    const std::string path =
        scratch_path("container-" + std::to_string(megabytes) + "-" + std::to_string(versions));
    if (!std::filesystem::exists(path)) {
        write_container(path, megabytes * 1000000, versions);
    }
    return path;
}

std::string text(int64_t lines, edit kind) {
    const std::string path = scratch_path("text-" + std::to_string(lines) + "-" +
                                          std::to_string(static_cast<int>(kind)));
    if (!std::filesystem::exists(path)) {
        write_text(path, lines, kind);
    }
    return path;
}

}  // namespace bench

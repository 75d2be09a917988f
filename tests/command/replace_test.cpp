// The safe replacement, driven from outside: whatever happens to a check-in, the container is the
// old one or the new one, whole, and nothing is left behind for people to clear away.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "private_file.h"
#include "run_command.h"

namespace {

const std::string first_text = "one\ntwo\nthree\n";
const std::string second_text = "one\n2\nthree\nfour\n";

// Version 2; user::rw-, user:1234:r--, group::r--, mask::rw-, other::---.
constexpr uint32_t access_list[] = {2,          0x60001, 0xffffffff, 0x60002, 1234,      0x40004,
                                    0xffffffff, 0x60010, 0xffffffff, 0x20,    0xffffffff};

// A folder with a container of one stored version and the text of the next.
class replacement : public testing::Test {
protected:
    void SetUp() override {
        write_file("first", first_text);
        write_file("second", second_text);
        ASSERT_EQ(tdm("create c").status, 0);
        ASSERT_EQ(tdm("checkin c first").status, 0);
        old_bytes_ = read_file("c");
    }

    bool is_old() const { return read_file("c") == old_bytes_; }

    // The new container: status, one version record more, the old header and the new weave.
    bool is_new() const {
        const std::string bytes = read_file("c");
        const size_t added = bytes.find("^V ");
        const size_t rest = bytes.find('\n', added) + 1;
        const std::string header = old_bytes_.substr(9, old_bytes_.find("^I 0 1") - 9);
        return bytes.starts_with("^S db1 0\n^V ") &&
               bytes.substr(rest) == header +
                                         "^I 0 1 3\none\n^D 0 2 1\ntwo\n^I 0 2 1\n2\nthree\n"
                                         "^I 0 2 1\nfour\n";
    }

    static size_t leftovers() {
        size_t count = 0;
        for (const std::string &name : files_in(".")) {
            count += name.starts_with(".tdm-") || name.starts_with("norviktdm.");
        }
        return count;
    }

    const scratch_folder folder_;
    std::string old_bytes_;
};

// A check-in of the second text under strace with these options.
command_result traced(const std::string &strace_options) {
    return shell("TMPDIR=. strace -qq -f " + strace_options + " $TDM checkin c second --no-base");
}

// How often the check-in makes each system call. What it writes meanwhile is nobody else's.
std::map<std::string, int> count_system_calls() {
    traced("-o trace");
    std::map<std::string, int> counts;
    const std::string trace = read_file("trace");
    EXPECT_NE(trace.find("O_CREAT|O_EXCL|O_NOFOLLOW|O_CLOEXEC, 0600)"), std::string::npos);
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);) {
        const size_t name = line.find_first_not_of("0123456789 ");
        const size_t end = line.find('(');
        if (name != std::string::npos && end != std::string::npos && name < end) {
            counts[line.substr(name, end - name)]++;
        }
    }
    std::filesystem::remove("trace");
    return counts;
}

std::string injection(const std::string &call, const std::string &what, int n) {
    return "-o /dev/null -e trace=" + call + " -e inject=" + call + ":" + what +
           ":when=" + std::to_string(n);
}

TEST_F(replacement, killed_at_any_system_call_it_leaves_the_old_or_the_new_container) {
    const std::map<std::string, int> counts = count_system_calls();
    ASSERT_GE(counts.size(), 10u) << "strace must be installed and allowed to trace";
    ASSERT_TRUE(is_new());
    EXPECT_EQ(counts.at("fsync"), 2);  // the new container and its folder
    int seen_old = 0, seen_new = 0, seen_leftovers = 0;
    for (const auto &[call, count] : counts) {
        for (int n = 1; n <= count && call != "execve"; n += sanitized ? 23 : 1) {
            write_file("c", old_bytes_);
            traced(injection(call, "signal=KILL", n));
            seen_old += is_old();
            seen_new += is_new();
            seen_leftovers += leftovers() > 0;
            EXPECT_LE(leftovers(), 1u);
            ASSERT_TRUE(is_old() || is_new()) << call << " " << n << "\n" << read_file("c");
        }
    }
    EXPECT_GT(seen_old, 20);
    EXPECT_TRUE(sanitized || (seen_new > 0 && seen_leftovers > 0));
    // What the killed runs left behind goes with the next one.
    write_file("c", old_bytes_);
    EXPECT_EQ(tdm("checkin c second").status, 0);
    EXPECT_EQ(leftovers(), 0u);
    // One that may only be read goes too.
    write_file("c", old_bytes_);
    ASSERT_EQ(traced(injection("renameat", "signal=KILL", 1)).status, 128 + 9);
    ASSERT_EQ(leftovers(), 1u);
    shell("chmod 0444 .tdm-*; chmod 0777 .");
    tdm("checkin c second --dry-run", {.unprivileged = true});
    EXPECT_EQ(leftovers(), 0u);
}

TEST_F(replacement, signal_that_ends_it_removes_the_temporary_file) {
    EXPECT_EQ(shell("trap '' HUP; strace -o /dev/null -e trace=fsync "
                    "-e inject=fsync:signal=HUP:when=1 $TDM checkin c second")
                  .status,
              0);
    EXPECT_TRUE(is_new());
    write_file("c", old_bytes_);
    for (const auto &[name, number] : {std::pair("INT", 2), std::pair("TERM", 15), {"HUP", 1}}) {
        const command_result result = traced(injection("fsync", std::string("signal=") + name, 1));
        EXPECT_EQ(result.status, 128 + number) << result.err;
        EXPECT_EQ(files_in("."), (std::vector<std::string>{"c", "first", "second"})) << name;
        EXPECT_TRUE(is_old());
    }
}

TEST_F(replacement, container_that_is_cut_while_it_is_read_is_told) {
    write_file("long", std::string(20000, '\n'));
    ASSERT_EQ(tdm("checkin -q c long").status, 0);
    expect_told(
        shell("strace -o /dev/null -P $PWD/c -e trace=mmap -e inject=mmap:delay_exit=1000000 $TDM "
              "list c & sleep 0.5; truncate -s 0 c; wait $!"),
        2, "tdm: a file was cut short while it was being read; gave up\n");
}

TEST_F(replacement, private_file_is_nobody_elses) {
    const mode_t before = umask(0);
    norvik::private_file file;
    ASSERT_FALSE(file.create());
    umask(before);
    EXPECT_EQ(mode_of(file.path()), 0600u);
    EXPECT_EQ(mode_of(std::filesystem::path(file.path()).parent_path()), 0700u);
}

TEST_F(replacement, descriptors_without_paths_of_their_own_are_written_all_the_same) {
    const std::filesystem::path bin = std::filesystem::path(TDM_COMMAND).parent_path();
    const auto without = [&](const std::string &arguments) {
        return shell(
            "unshare -m sh -c \"mount -t tmpfs none /proc && TMPDIR=$PWD LD_LIBRARY_PATH='" +
                (bin.parent_path() / "lib").string() + "' $TDM " + arguments + "\"",
            {.input = second_text});
    };
    if (sanitized || shell("unshare -m mount -t tmpfs none /proc").status != 0) {
        GTEST_SKIP() << "needs leave to mount, and a build that starts without /proc";
    }
    EXPECT_EQ(without("checkin c -").status, 0);
    EXPECT_TRUE(is_new());
    EXPECT_EQ(without("checkout c main@1 -o out").status, 0);
    EXPECT_EQ(read_file("out"), first_text);
    EXPECT_EQ(without("diff -q second -").status, 0);
    EXPECT_EQ(without("merge first first - -o merged").status, 0);
    EXPECT_EQ(read_file("merged"), second_text);
    EXPECT_EQ(without("delete c main@1 --yes").status, 0);
    EXPECT_EQ(tdm("checkout c").out, second_text);
    EXPECT_EQ(files_in("."), (std::vector<std::string>{"c", "first", "merged", "out", "second"}));
}

TEST_F(replacement, no_check_in_of_many_at_once_is_lost) {
    const command_result result = shell(
        "for i in $(seq 32); do echo $i > t$i; $TDM checkin -q c t$i || echo failed & done; wait");
    EXPECT_EQ(result.out, "") << result.err;
    std::map<std::string, int> texts;
    for (int version = 2; version <= 33; version++) {
        texts[tdm({"checkout", "c", "main@" + std::to_string(version)}).out]++;
    }
    EXPECT_EQ(texts.size(), 32u);
    EXPECT_FALSE(texts.contains(""));
    EXPECT_EQ(leftovers(), 0u);
}

TEST_F(replacement, keeps_mode_owner_and_access_list) {
    const char *key = "system.posix_acl_access";
    ASSERT_EQ(setxattr("c", key, access_list, sizeof access_list, 0), 0)
        << "the folder must keep access lists";
    ASSERT_EQ(setxattr("c", "user.note", "kept", 4, 0), 0);
    const bool root = geteuid() == 0;
    ASSERT_EQ(root ? chown("c", 1234, 4321) : 0, 0);
    ASSERT_EQ(chmod("c", 02660), 0);
    const command_result full = traced(injection("fsetxattr", "error=ENOSPC", 1));
    EXPECT_TRUE(full.err.starts_with("tdm: c: its attribute ")) << full.err;
    EXPECT_TRUE(full.err.ends_with(" cannot be kept (--force goes on)\n")) << full.err;
    // Without the list nobody has more than it gave to those whom it named.
    ASSERT_EQ(setxattr(".", "system.posix_acl_default", access_list, sizeof access_list, 0), 0);
    shell(
        "cp --preserve=all c d; strace -o /dev/null -e inject=fsetxattr:error=ENOSPC "
        "$TDM checkin d second --force");
    EXPECT_EQ(mode_of("d"), 02640u);
    EXPECT_LT(getxattr("d", key, nullptr, 0), 0);
    ASSERT_EQ(tdm("checkin c second").status, 0);
    struct stat now {};
    ASSERT_EQ(stat("c", &now), 0);
    EXPECT_EQ(now.st_mode & 07777, 02660u);
    EXPECT_TRUE(!root || (now.st_uid == 1234 && now.st_gid == 4321));
    uint32_t kept[16] = {};
    EXPECT_EQ(getxattr("c", key, kept, sizeof kept), static_cast<ssize_t>(sizeof access_list));
    EXPECT_EQ(memcmp(kept, access_list, sizeof access_list), 0);
    char note[8] = {};
    EXPECT_EQ(getxattr("c", "user.note", note, sizeof note), 4);
}

TEST_F(replacement, stops_when_the_owner_cannot_be_kept) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to make a file that belongs to somebody else";
    }
    ASSERT_EQ(chmod(".", 0777) + chmod("c", 06676) + chmod("second", 0644), 0);
    const command_options nobody{.unprivileged = true};
    expect_told(tdm("checkin c second", nobody), 2,
                "tdm: c: its owner cannot be kept (--force goes on)\n");
    EXPECT_TRUE(is_old());
    EXPECT_EQ(leftovers(), 0u);
    EXPECT_EQ(tdm("checkin c second --force", nobody).status, 0);
    EXPECT_TRUE(is_new());
    // Neither the set-id bit nor the group's rights pass to somebody else.
    EXPECT_EQ(mode_of("c"), 0666u);
}

TEST_F(replacement, folder_without_write_permission_is_told) {
    ASSERT_EQ(chmod(".", 0555) + chmod("c", 0666) + chmod("second", 0644), 0);
    expect_told(tdm("checkin c second", {.unprivileged = true}), 2,
                "cannot create a file beside it");
    chmod(".", 0755);
    EXPECT_TRUE(is_old());
}

TEST_F(replacement, is_done_or_refused_as_written_here) {
    const std::string waits = "c: waiting for another command to finish with it\n";
    const struct {
        const char *script;
        int status;
        std::string said;
        bool replaces = false;
    } rows[] = {
        {"$TDM checkin c second --dry-run", 0,
         "c: would be replaced\ntdm: main@2 would be the new version\n"},
        {"$TDM create new --dry-run -q", 0, "new: would be created\n"},
        {"$TDM info c -o new --dry-run", 0, "new: would be created\n"},
        {"$TDM merge first first second -f -o second --dry-run", 0, "second: would be replaced\n"},
        {"prlimit --fsize=200 $TDM checkin c second", 2, "tdm: c: cannot write: File too large\n"},
        {"$TDM checkin c second >&- <&-", 2,
         "main@2 is stored, but <stdout> could not be written: Bad file descriptor\n", true},
        {"mkfifo p; exec 3<>p 4>p 3<&-; rm p; $TDM checkin c second >&4", 2,
         "main@2 is stored, but <stdout> could not be written: Broken pipe\n", true},
        {"mkfifo p; exec 3<>p 4>p 3<&-; rm p; $TDM list c >&4", 141, ""},
        {"flock c sleep 0.6 & sleep 0.2; $TDM checkin c second --lock-timeout 0.1", 2,
         waits + "tdm: c: another command holds it; gave up waiting (--lock-timeout)\n"},
        {"flock c sleep 0.6 & sleep 0.2; $TDM checkin c second", 0, waits, true},
        {"flock c sleep 0.6 & sleep 0.2; $TDM checkin c second -q", 0, "", true},
        {"mkdir sub; ln -s ../c sub/link; $TDM checkin sub/link second && test -L sub/link", 0, "",
         true},
        {"ln c other; $TDM checkin c second", 2,
         "c: has several hard links, which would part (--break-links goes on)\n"},
        {"ln c other; $TDM checkin c second --break-links; grep -q two other", 0, "", true},
        {"mkdir folder; $TDM checkin folder second", 2, "folder: is not a regular file"},
        {"cat c | $TDM checkin /dev/stdin second", 2, "/dev/stdin: is not a regular file"},
        {"$TDM checkin c /dev/zero", 2, "/dev/zero: is neither a regular file nor a pipe"},
        {"$TDM checkin c - </dev/zero", 2, "<stdin>: is neither a regular file nor a pipe"},
        {"$TDM import c --from-list /dev/zero", 2, "/dev/zero: is neither"},
        {"$TDM merge first second /dev/zero", 2, "/dev/zero: is neither"},
        {"$TDM checkin missing second", 2, "missing: cannot be opened: No such file"},
        {"$TDM checkin c c", 2, "c: is the same file as c"},
        {"ln -s c other; $TDM checkin other ./c", 2, "other: is the same file as ./c"},
        {"ln -s c other; $TDM checkout c -o other -f", 2, "other: is the same file as c"},
        {"ln -s c other; $TDM info other -o c -f", 2, "c: is the same file as other"},
        {"$TDM checkout c -o second", 2, "second: has changes that are in no version"},
        {"$TDM checkout c -o c --force", 2, "c: is the same file as c"},
        {"$TDM checkout c -o /dev/null --force", 2, "/dev/null: is not a regular file"},
        {"ln -s nowhere dangling; $TDM checkout c -o dangling", 2,
         "dangling: is a symbolic link to a file that does not exist"},
        {"$TDM checkout c -o none/x", 2, "none/x: its folder cannot be found: No such file"},
        {"$TDM create c --force", 2, "unknown option"},
        {"$TDM create c", 2, "c: exists already"},
        {"$TDM info c -o c --force", 2, "c: is the same file as c"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.script);
        expect_told(shell(row.script), row.status, row.said);
        EXPECT_EQ(read_file("second"), second_text);
        EXPECT_TRUE(row.replaces ? is_new() : is_old());
        write_file("c", old_bytes_);
        shell("rm -rf second new sub other folder dangling");
        write_file("second", second_text);
        EXPECT_EQ(files_in("."), (std::vector<std::string>{"c", "first", "second"}));
    }
}

TEST_F(replacement, output_file_is_replaced_with_force_and_new_ones_obey_the_umask) {
    ASSERT_EQ(tdm("checkout c -o out").status, 0);
    EXPECT_EQ(read_file("out"), first_text);
    EXPECT_EQ(mode_of("out"), 0644u);
    shell(
        "mkfifo -m 600 p; cat c >p & sleep 0.2; $TDM checkout p -o private; "
        "$TDM checkout <(cat c) -o public");
    EXPECT_EQ(mode_of("private"), 0600u);
    EXPECT_EQ(mode_of("public"), 0644u);
    write_file("out", "precious");
    chmod("out", 0600);
    ASSERT_EQ(tdm("checkout c -o out --force").status, 0);
    EXPECT_EQ(read_file("out"), first_text);
    EXPECT_EQ(mode_of("out"), 0600u);
}

TEST_F(replacement, new_file_is_read_by_no_more_than_what_it_is_made_from) {
    write_file("base", first_text);
    ASSERT_EQ(setxattr(".", "system.posix_acl_default", access_list, sizeof access_list, 0), 0);
    ASSERT_EQ(tdm("create fresh").status, 0);
    ASSERT_EQ(chmod("second", 0600) + chmod("c", 0640) + chmod("fresh", 0644), 0);
    const mode_t own = geteuid() == 0 ? 0 : 0600;  // the superuser can take a file's last right
    const struct {
        const char *words, *file;
        mode_t mode;
        mode_t was = 0;  // of the file that is replaced, where that is told
        const char *told = "what it is made from may be read by no more";
    } rows[] = {
        {"checkin fresh second", "fresh", 0600, 0644, "its first text may be read by no more"},
        {"checkout c -o out", "out", 0640},
        {"checkout c -o out", "out", 0750, 0755},
        {"checkout c -o out", "out", own, own | 04},
        {"repair c -o saved", "saved", 0640},
        {"repair c -f -o saved", "saved", 0640, 0644},
        {"info c -o listing", "listing", 0640},
        {"info c -f -o listing", "listing", 0660, 0666},
        {"merge base first second -o merged", "merged", 0600},
        {"merge base first second -f -o merged", "merged", 0600, 0604},
        {"checkin c second", "c", 0640},  // it has a text already
    };
    for (const auto &r : rows) {
        if (r.was != 0) {
            ASSERT_EQ(chmod(r.file, r.was), 0);
            const command_result planned = tdm((r.words + std::string(" --dry-run")).c_str());
            expect_told(planned, 0, "would get the mode 0");
            expect_told(planned, 0, r.told);
            EXPECT_EQ(mode_of(r.file), r.was);
        }
        const command_result result = tdm(r.words);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err.find(r.told) != std::string::npos, r.was != 0) << result.err;
        EXPECT_EQ(mode_of(r.file), r.mode) << r.file;
        EXPECT_LT(getxattr(r.file, "system.posix_acl_access", nullptr, 0), 0) << r.file;
    }
    // What the list left to the group, not its mask.
    ASSERT_EQ(setxattr("out", "system.posix_acl_access", access_list, sizeof access_list, 0), 0);
    EXPECT_EQ(mode_of("out"), 0660u);
    EXPECT_EQ(tdm("checkout c -o out").status, 0);
    EXPECT_EQ(mode_of("out"), 0640u);
    EXPECT_LT(getxattr("out", "system.posix_acl_access", nullptr, 0), 0);
}

TEST_F(replacement, what_others_do_meanwhile_is_refused_and_only_dead_files_of_ours_go) {
    const std::string name = ".tdm-af63de4c8601eff2-";  // of "c"
    const std::string living = name + std::string(32, 'a'), odd = name + std::string(32, 'x');
    const std::string dead = name + std::string(32, '0'), longer = dead + '0';
    const std::string foreign = name + std::string(32, '1');
    for (const std::string &file : {living, odd, dead, longer, foreign}) {
        write_file(file, "");
    }
    ASSERT_EQ(geteuid() == 0 ? chown(foreign.c_str(), 1234, 4321) : 0, 0);
    const int held = open(living.c_str(), O_RDONLY);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    const char *nothing = "nothing is replaced";
    const struct {
        const char *words, *act, *said;
    } rows[] = {{"checkin c second", "echo x >>c", nothing},
                {"checkin c second", "touch -d @$(stat -c %Y c).5 c", nothing},
                {"checkin c second", "ln c other", nothing},
                {"checkin c second", "find . -name '.tdm-*[0-9a-f]' ! -empty -delete", nothing},
                {"checkout c -o out", "echo precious >out", "File exists"}};
    for (const auto &[words, act, said] : rows) {
        write_file("c", old_bytes_);
        expect_told(
            shell("$SLOW $TDM " + std::string(words) + " & sleep 0.5; " + act + "; wait $!"), 2,
            said);
        EXPECT_FALSE(is_new()) << act;
        std::filesystem::remove("other");
    }
    EXPECT_EQ(read_file("out"), "precious\n");
    write_file("c", old_bytes_);
    expect_told(shell("strace -o /dev/null -e trace=renameat -e inject=renameat:delay_exit=800000 "
                      "$TDM checkin c second & sleep 0.4; echo theirs >n; mv n c; wait $!"),
                2, "c: is not what was written: somebody");
    close(held);
    for (const std::string &file : {living, odd, longer, foreign}) {
        EXPECT_TRUE(std::filesystem::exists(file) || (file == foreign && geteuid() != 0)) << file;
    }
    EXPECT_FALSE(std::filesystem::exists(dead));
}

}  // namespace

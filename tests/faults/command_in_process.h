// A folder with a container, texts and damage, and commands that run on it within this process, so
// that a test can make something fail under them.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include "command/run_command.h"

using folder_contents = std::map<std::string, std::string>;

// One of each kind of command, and of its ways.
inline constexpr const char *command_lines[] = {
    "checkin c t4",
    "checkin c - --branch n --from main@1",
    "checkin c t4 --base main@2 --merge --update",
    "import c t4 t5",
    "branch c n main@1",
    "create n",
    "delete c main@2 --yes",
    "delete c main@2 --dry-run",
    "delete c --branch draft --yes",
    "purge c draft@1 --yes",
    "repair bad -o n",
    "checkout c main@1 -f -o t5",
    "checkout c draft",
    "checkout c main@2 -o n",
    "merge t1 t2 t3 -f -o t0 --report n",
    "merge --mq 2 t1 t2 t3 -f -o t0",
    "git-merge t1 t2 t3",
    "diff t1 t3",
    "diff -y t1 t3",
    "diff --word t1 t3",
    "diff -c c main@1 main@3",
    "annotate c --all",
    "log c",
    "show c main@2",
    "info c -o n",
    "dump c",
    "list c",
    "config git",
    "verify c",
    "verify --json c bad",
    "verify --digests d c",
    "merge --json t1 t2 t3 -f -o t0",
    "diff --json t1 t3",
    "log --json c",
    "list --json c",
    "checkin --help",
};

long open_descriptors();

class command_in_process : public ::testing::Test {
protected:
    void SetUp() override;

    // Runs the words of the line, with the folder as it was at first; `around` calls its argument,
    // which gives the exit status, with whatever is to fail.
    command_result run_here(const std::string &line,
                            const std::function<int(const std::function<int()> &)> &around);

    static folder_contents contents();
    // With identifiers made at random all alike.
    static folder_contents normal_contents();

    // Whether every file is as it was or as it should become: one of several may be in place.
    bool is_partly_done(const folder_contents &now, const folder_contents &after) const;

    // Whether the run has done what it should, as if nothing had failed.
    static bool is_done(const command_result &result, const command_result &plain,
                        const folder_contents &after);

    // Whether git's driver has kept both sides where it could not merge.
    bool keeps_both_sides(const command_result &result);

    scratch_folder folder_;
    folder_contents before_;

private:
    void restore();
};

// tdm config: lines for the configuration of other programs.
#include <memory>

#include "command_context.h"
#include "command_declaration.h"
#include "escaped_text.h"
#include "output.h"
#include "usage_error.h"

namespace norvik {

namespace {

// Where git has no text to give, BASE is a name without a file; an empty text stands for it.
constexpr const char *git_lines = R"CFG(# tdm config git >> ~/.gitconfig
# Then name the files in .gitattributes, such as:  *.txt merge=tdm diff=tdm
# and use the tools as:  git difftool -t tdm, git mergetool -t tdm
[merge "tdm"]
	name = text merge that sees moved lines
	driver = tdm git-merge %O %A %B %L -- %P
[diff "tdm"]
	command = tdm diff --git --
[difftool "tdm"]
	cmd = "tdm diff --label \"a/$MERGED\" --label \"b/$MERGED\" -- \"$LOCAL\" \"$REMOTE\""
[mergetool "tdm"]
	cmd = "test -e \"$BASE\" || BASE=/dev/null; tdm merge --ask --force -o \"$MERGED\" -- \"$BASE\" \"$LOCAL\" \"$REMOTE\""
	trustExitCode = true
)CFG";

exit_status run_config(const std::string &program) {
    if (program != "git") {
        return usage_error("config",
                           "unknown program '" + escape_name(program) + "'; there is git");
    }
    standard_output().write(git_lines);
    return status_done;
}

}  // namespace

void register_config(command_declaration &command, command_context &) {
    const auto program = std::make_shared<std::string>();
    command.take("PROGRAM", *program, "git: merge driver, merge tool, diff tool, external diff");
    command.details = "Prints only; nothing is changed.";
    command.exit_codes = "0 printed; 2 wrong usage or trouble.";
    command.examples = {"tdm config git", "tdm config git >> ~/.gitconfig"};
    command.run = [program] { return run_config(*program); };
}

}  // namespace norvik

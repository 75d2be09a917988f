// Adding a command is a declaration and a line here.
#include "commands.h"

#include <array>

namespace norvik {

void register_annotate(command_declaration &command, command_context &context);
void register_branch(command_declaration &command, command_context &context);
void register_checkin(command_declaration &command, command_context &context);
void register_checkout(command_declaration &command, command_context &context);
void register_config(command_declaration &command, command_context &context);
void register_create(command_declaration &command, command_context &context);
void register_diff(command_declaration &command, command_context &context);
void register_git_merge(command_declaration &command, command_context &context);
void register_import(command_declaration &command, command_context &context);
void register_list(command_declaration &command, command_context &context);
void register_merge(command_declaration &command, command_context &context);
void register_log(command_declaration &command, command_context &context);
void register_show(command_declaration &command, command_context &context);
void register_info(command_declaration &command, command_context &context);
void register_dump(command_declaration &command, command_context &context);
void register_delete(command_declaration &command, command_context &context);
void register_purge(command_declaration &command, command_context &context);
void register_repair(command_declaration &command, command_context &context);
void register_verify(command_declaration &command, command_context &context);
void register_seal(command_declaration &command, command_context &context);

std::span<const command_entry> command_table() {
    static constexpr std::array table = {
        command_entry{"create", "Make the container of a new element", register_create},
        command_entry{"checkin", "Store the next version of a branch", register_checkin},
        command_entry{"checkout", "Write the text of a version", register_checkout},
        command_entry{"annotate", "Show which version brought each line", register_annotate},
        command_entry{"branch", "Make a branch off a version", register_branch},
        command_entry{"import", "Store many files as consecutive versions", register_import},
        command_entry{"list", "List branches and versions", register_list},
        command_entry{"diff", "Show how texts or versions differ", register_diff},
        command_entry{"merge", "Merge changed texts into their base", register_merge},
        command_entry{"git-merge", "Merge for git, as its merge driver", register_git_merge},
        command_entry{"config", "Print lines of configuration for git", register_config},
        command_entry{"log", "Show the tree of versions and their sizes", register_log},
        command_entry{"show", "Show a version and what it changed", register_show},
        command_entry{"info", "List the header's records for scripts", register_info},
        command_entry{"dump", "List every line of the container", register_dump},
        command_entry{"delete", "Delete versions and branches", register_delete},
        command_entry{"purge", "Remove a version and every line it alone has", register_purge},
        command_entry{"verify", "Check that a container is sound", register_verify},
        command_entry{"seal", "Add digests to versions that have none", register_seal},
        command_entry{"repair", "Save what can be saved from a damaged container", register_repair},
    };
    return table;
}

}  // namespace norvik

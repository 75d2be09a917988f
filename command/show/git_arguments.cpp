// Git's words are PATH OLD-FILE OLD-HEX OLD-MODE NEW-FILE NEW-HEX NEW-MODE, for a rename then the
// new path and header lines that are printed as they are; for an unmerged path PATH alone.
#include "git_arguments.h"

#include <algorithm>
#include <cstdlib>

#include "unified_diff.h"

namespace norvik {

namespace {

constexpr const char *no_file = "/dev/null";

bool is_mode(const std::string &word) {
    return word == "." || (word.size() == 6 && std::all_of(word.begin(), word.end(), [](char c) {
                               return c >= '0' && c <= '7';
                           }));
}

// Without the tab that only the lines with "---" and "+++" have.
std::string header_name(const std::string &name) {
    std::string text = patch_name(name);
    if (text.ends_with('\t')) {
        text.pop_back();
    }
    return text;
}

}  // namespace

bool is_git_call(std::span<const std::string> operands) {
    if (std::getenv("GIT_DIFF_PATH_COUNTER") == nullptr) {
        return false;
    }
    return operands.size() == 1 || ((operands.size() == 7 || operands.size() == 9) &&
                                    is_mode(operands[3]) && is_mode(operands[6]));
}

bool parse_git_call(std::span<const std::string> operands, git_change *out) {
    if (operands.size() != 1 && operands.size() != 7 && operands.size() != 9) {
        return false;
    }
    out->path = out->new_path = operands[0];
    if (operands.size() == 1) {
        out->unmerged = true;
        return true;
    }
    out->old_file = operands[1];
    out->old_mode = operands[3];
    out->new_file = operands[4];
    out->new_mode = operands[6];
    if (operands.size() == 9) {
        out->new_path = operands[7];
        out->header = operands[8];
    }
    return true;
}

void write_git_header(output_writer &out, const git_change &change, bool has_hunks) {
    const bool added = change.old_file == no_file;
    const bool deleted = change.new_file == no_file;
    const std::string old_name = "a/" + change.path;
    const std::string new_name = "b/" + change.new_path;
    out.printf("diff --git %s %s\n", header_name(old_name).c_str(), header_name(new_name).c_str());
    if (added) {
        out.printf("new file mode %s\n", change.new_mode.c_str());
    } else if (deleted) {
        out.printf("deleted file mode %s\n", change.old_mode.c_str());
    } else if (change.old_mode != change.new_mode) {
        out.printf("old mode %s\nnew mode %s\n", change.old_mode.c_str(), change.new_mode.c_str());
    }
    out.write(change.header);
    if (has_hunks) {
        write_unified_header(out, {}, added ? no_file : old_name, deleted ? no_file : new_name);
    }
}

void write_git_binary(output_writer &out, const git_change &change) {
    write_git_header(out, change, false);
    out.printf("Binary files %s and %s differ\n", header_name("a/" + change.path).c_str(),
               header_name("b/" + change.new_path).c_str());
}

}  // namespace norvik

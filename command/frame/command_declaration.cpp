#include "command_declaration.h"

namespace norvik {

void command_declaration::take(const char *operand_name, std::string &value,
                               const char *description) {
    operands.push_back({operand_name, description, &value, nullptr, true});
}

void command_declaration::take_optional(const char *operand_name, std::string &value,
                                        const char *description) {
    operands.push_back({operand_name, description, &value, nullptr, false});
}

void command_declaration::take_list(const char *operand_name, std::vector<std::string> &values,
                                    bool required, const char *description) {
    operands.push_back({operand_name, description, nullptr, &values, required});
}

void command_declaration::flag(const char *names, bool &given, const char *help,
                               option_group group) {
    options.push_back({names, nullptr, help, &given, group});
}

void command_declaration::value(const char *names, const char *value_name, std::string &text,
                                const char *help, option_group group) {
    options.push_back({names, value_name, help, &text, group});
}

void command_declaration::values(const char *names, const char *value_name,
                                 std::vector<std::string> &texts, const char *help,
                                 option_group group) {
    options.push_back({names, value_name, help, &texts, group});
}

void command_declaration::choice(const char *names, const char *value_name,
                                 std::vector<std::string> choices, std::string &chosen,
                                 const char *help, option_group group) {
    options.push_back({names, value_name, help, &chosen, group, std::move(choices)});
}

void command_declaration::allow_one_of(std::initializer_list<const char *> names) {
    for (const char *const *first = names.begin(); first != names.end(); ++first) {
        for (const char *const *other = first + 1; other != names.end(); ++other) {
            exclusions.emplace_back(*first, *other);
        }
    }
}

void command_declaration::refuse_with(const char *option,
                                      std::initializer_list<const char *> names) {
    for (const char *other : names) {
        exclusions.emplace_back(option, other);
    }
}

}  // namespace norvik

// Each run has a CLI11 application of its own, to which every declared option is added with the
// variable that its value goes to. What is no option of it is handed back unjudged.
#include "option_parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>

namespace norvik {

namespace {

CLI::Option *add_target(CLI::App &app, const declared_option &option, bool *given) {
    return app.add_flag(option.names, *given, option.help);
}

CLI::Option *add_target(CLI::App &app, const declared_option &option,
                        std::vector<std::string> *texts) {
    // One value each time: else it would take the operands behind its value as well.
    return app.add_option(option.names, *texts, option.help)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

template <class value>
CLI::Option *add_target(CLI::App &app, const declared_option &option, value *target) {
    return app.add_option(option.names, *target, option.help);
}

void add_option(CLI::App &app, const declared_option &option) {
    CLI::Option *added = std::visit(
        [&](const auto &target) { return add_target(app, option, target); }, option.target);
    if (!option.choices.empty()) {
        added->check(CLI::IsMember(option.choices));
    }
    if (option.range) {
        added->check(CLI::Range(option.range->least, option.range->most));
    }
    if (option.check != nullptr) {
        added->check(option.check);
    }
}

// CLI::App::get_option ends the program when memory is short.
CLI::Option *option_named(CLI::App &app, std::string_view name) {
    for (CLI::Option *option : app.get_options()) {
        if (std::ranges::find(option->get_lnames(), name.substr(2)) != option->get_lnames().end()) {
            return option;
        }
    }
    throw CLI::OptionNotFound(std::string(name));
}

std::string option_without_value(const CLI::App &app) {
    for (const CLI::Option *option : app.get_options()) {
        const std::vector<std::string> &values = option->results();
        if (option->get_items_expected_max() > 0 &&
            std::find(values.begin(), values.end(), "") != values.end()) {
            return option->get_name();
        }
    }
    return "";
}

}  // namespace

parsed_words parse_options(const command_declaration &command, std::span<char *> words) {
    CLI::App app;
    // The frame declares -h and --help itself, and knows better what to say of an unknown option.
    app.set_help_flag();
    app.allow_extras();
    for (const declared_option &option : command.options) {
        add_option(app, option);
    }
    for (const auto &[option, other] : command.exclusions) {
        option_named(app, option)->excludes(option_named(app, other));
    }
    for (const auto &[option, other] : command.needs) {
        option_named(app, option)->needs(option_named(app, other));
    }
    parsed_words parsed;
    try {
        // It takes the words from the back.
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError &error) {
        parsed.wrong = error.what();
        parsed.wrong.resize(std::min(parsed.wrong.find('\n'), parsed.wrong.size()));
        return parsed;
    }
    parsed.lacks_value = option_without_value(app);
    parsed.others = app.remaining();
    return parsed;
}

}  // namespace norvik

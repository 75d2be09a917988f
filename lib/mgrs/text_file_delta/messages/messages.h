// The library's message catalogue: indices by name, and the one way to print them.
#pragma once

#include <norviktdm/tdm.h>

#include <cerrno>

namespace tdm {

/// Position of a text in the catalogue (not its catalogue number).
enum class message : int {
    cannot_open = 0,
    trouble_accessing = 1,
    trouble_reading = 2,
    trouble_removing = 3,
    trouble_writing = 4,
    unexpected_eof = 5,
    line_too_long = 6,
    holds_nul = 7,
    use_other_manager = 8,
    not_a_text_file = 9,
    different_then_identical = 10,
    too_few_files = 11,
    no_such_version = 12,
    bad_control_record = 13,
    not_a_container = 14,
    no_ancestors = 15,
    wrong_branch = 16,
    malformed_oid = 17,
    no_such_branch = 18,
    unknown_difference = 19,
    unknown_format = 20,
    report_separator = 21,
    automatic = 22,
    no_automatic_decision = 23,
    aborting = 24,
    keeping_original = 25,
    applying_change = 26,
    applying_insert = 27,
    applying_deletion = 28,
    ask_insertion = 29,
    ask_change = 30,
    ask_deletion = 31,
    one_line = 32,
    line_range = 33,
    no_checkin_of_binary = 34,
    no_merge_of_binary = 35,
    operation_refuses_binary = 36,
    named_program_refuses_binary = 37,
    program_refuses_binary = 38,
    version_not_highest = 39,
    version_still_active = 40,
    branch_already_present = 41,
    unprintable_character = 42,
    status_must_be_first = 43,
    bad_record_at_line = 44,
    no_temporary_file = 45,
    excess_lines = 46,
    out_of_memory = 47,
    locale_without_codeset = 48,
    same_codeset = 49,
    no_converter = 50,
    unknown_codeset = 51,
    cannot_convert = 52,
    nul_beyond_size = 53,
};

enum class severity : int {
    report = msg_severity_report,
    notice = msg_severity_notice,
    failure = msg_severity_failure,
    explanation = msg_severity_explanation
};

template <typename... Arguments>
void print_message(severity level, message text, Arguments... arguments) {
    msg_print(static_cast<int>(level), &_tdm_text_file_delta_msg_table, static_cast<int>(text),
              arguments...);
}

/// Reports a failure at the place where it was found; callers then only pass the status on.
template <typename... Arguments>
void report_failure(message text, Arguments... arguments) {
    print_message(severity::failure, text, arguments...);
}

/// Reports a failure whose text ends with the name of a file and the text of errno.
inline void report_file_trouble(message text, const char *file_name) {
    report_failure(text, file_name, msg_strerror(errno));
}

inline void report_out_of_memory() {
    report_failure(message::out_of_memory, msg_strerror(errno));
}

/// Prints a text of the library's own that has no place in the catalogue; `format` ends with a
/// newline and takes strings only.
template <typename... Arguments>
void report_failure_text(const char *format, Arguments... arguments) {
    msg_print(static_cast<int>(severity::failure), format, -1, arguments...);
}

inline constexpr char container_unit[] = "lib/mgrs/text_file_delta/tdm_container";
inline constexpr char session_unit[] = "lib/mgrs/text_file_delta/tdm_session";

/// Reports an inconsistency that no input should be able to bring about; `line` is part of the
/// report's text, not of this file.
inline void report_inconsistency(const char *unit, int line) {
    constexpr int internal_inconsistency = 34;
    msg_print_shared(static_cast<int>(severity::failure), "tdm", &shared_msg_table,
                     internal_inconsistency, unit, line);
}

}  // namespace tdm

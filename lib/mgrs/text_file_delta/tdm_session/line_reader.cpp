// Reads lines of bounded length from a buffered stream into the stream's own growing buffer.
//
// The buffer grows by a fixed step up to the longest line that is text. A line is looked over once,
// for its newline or a NUL, by memory search. Cost: one copy and one search a line; no allocation
// once the longest line has been seen.
#include "tdm_session/line_reader.h"

#include <cstring>
#include <string_view>

#include "messages/messages.h"

static_assert(sizeof(line_stream) == 56 && offsetof(line_stream, op_is_operation) == 8 &&
              offsetof(line_stream, op_name) == 16 && offsetof(line_stream, line) == 24 &&
              offsetof(line_stream, capacity) == 32 && offsetof(line_stream, file_size) == 40 &&
              offsetof(line_stream, file_name) == 48);
static_assert(sizeof(diff_block) == 32 && offsetof(diff_block, base_first) == 4 &&
              offsetof(diff_block, other_first) == 12 && offsetof(diff_block, moved_first) == 20 &&
              offsetof(diff_block, file_index) == 28);

namespace tdm {
namespace {

constexpr int first_capacity = 64;
constexpr int growth_step = 63;
// The buffer for a line of `longest_line` bytes, its newline, the NUL and a byte that stays unused.
constexpr int full_capacity = longest_line + 3;

void explain_binary_data(const line_stream *in) {
    print_message(severity::failure, message::holds_nul, in->file_name);
    constexpr auto level = severity::explanation;
    if (in->op_name == nullptr) {
        print_message(level, message::program_refuses_binary);
        return;
    }
    const std::string_view name = in->op_name;
    if (in->op_is_operation == 0) {
        print_message(level, message::named_program_refuses_binary, in->op_name);
    } else if (name == "create_version") {
        print_message(level, message::no_checkin_of_binary);
        print_message(level, message::use_other_manager);
    } else if (name == "compare" || name == "merge" || name == "guidiff" || name == "guiblend") {
        print_message(level, message::no_merge_of_binary);
    } else {
        print_message(level, message::operation_refuses_binary, in->op_name);
    }
}

int replace_buffer(line_stream *in, int capacity) {
    auto *grown = static_cast<char *>(in->capacity == 0
                                          ? mem_malloc(static_cast<size_t>(capacity))
                                          : mem_realloc(in->line, static_cast<size_t>(capacity)));
    if (grown == nullptr) {
        report_out_of_memory();
        return 1;
    }
    in->line = grown;
    in->capacity = capacity;
    return 0;
}

int grow_buffer(line_stream *in) {
    const int capacity = next_line_capacity(
        in->capacity, std::string_view(in->line).starts_with(format::unended_prefix));
    if (capacity == 0) {
        report_line_too_long(in->file_name);
        return 1;
    }
    return replace_buffer(in, capacity);
}

}  // namespace

void report_line_too_long(const char *file_name) {
    report_failure(message::line_too_long, file_name, longest_line);
    print_message(severity::explanation, message::use_other_manager);
}

int next_line_capacity(int capacity, bool no_newline_line) {
    const int allowance = no_newline_line ? no_newline_prefix : 0;
    if (capacity >= full_capacity + allowance) {
        return 0;
    }
    const bool step_fits = capacity <= full_capacity - growth_step + allowance;
    return step_fits ? capacity + growth_step : full_capacity + allowance;
}

int judge_nul(const line_stream *in, bool at_eof, uint64_t offset) {
    if (at_eof && offset == in->file_size) {
        return 0;
    }
    if (at_eof && offset > in->file_size) {
        constexpr int reported_line = 1628;
        log_internal_error("tdm", &_tdm_text_file_delta_msg_table,
                           static_cast<int>(message::nul_beyond_size), session_unit, reported_line,
                           0, in->file_name);
        return 1;
    }
    explain_binary_data(in);
    return 1;
}

int read_line(line_stream *in, off_t *position, size_t *length, bool *at_eof) {
    *at_eof = false;
    *length = 0;
    const off_t start = *position == position_unknown ? ftello(in->stream) : *position;
    if (in->capacity == 0 && replace_buffer(in, first_capacity) != 0) {
        return 1;
    }
    in->line[0] = '\0';
    size_t fill = 0;
    for (;;) {
        const int room = in->capacity - 1 - static_cast<int>(fill);
        char *const piece = in->line + fill;
        if (fgets_unlocked(piece, room, in->stream) == nullptr) {
            if (feof_unlocked(in->stream) == 0) {
                report_file_trouble(message::trouble_accessing, in->file_name);
                return 1;
            }
            *at_eof = in->line[0] == '\0';
            break;
        }
        const char *const end = strchrnul(piece, '\n');
        fill = static_cast<size_t>(end - in->line);
        if (*end == '\n') {
            ++fill;
            break;
        }
        const bool full = fill == static_cast<size_t>(in->capacity - 2);
        const bool ended = feof_unlocked(in->stream) != 0;
        if (!full && judge_nul(in, ended, static_cast<uint64_t>(start) + fill) != 0) {
            return 1;
        }
        if (ended) {
            break;
        }
        if (grow_buffer(in) != 0) {
            return 1;
        }
    }
    *length = fill;
    if (*position != position_unknown) {
        *position += static_cast<off_t>(fill);
    }
    return 0;
}

}  // namespace tdm

int tdm_read_long_line(line_stream *in, int *at_eof) {
    off_t position = tdm::position_unknown;
    size_t length = 0;
    bool ended = false;
    const int status = tdm::read_line(in, &position, &length, &ended);
    *at_eof = ended ? 1 : 0;
    return status;
}

// Widths are measured over all versions before the first is printed, and identifiers are cut as
// short as still tells them all apart: a sort of the identifiers, and the lines in memory until
// they can be turned over.
#include "version_log.h"

#include <algorithm>
#include <string>

#include "columns.h"
#include "escaped_text.h"
#include "output.h"
#include "time_text.h"
#include "version_graph.h"

namespace norvik {

namespace {

constexpr std::size_t shortest_identifier = 8;

constexpr const char *yellow = "\x1b[33m";
constexpr const char *green = "\x1b[32m";
constexpr const char *red = "\x1b[31m";
constexpr const char *cyan = "\x1b[36m";
constexpr const char *plain = "\x1b[m";

// How much of the identifiers tells every one from all others.
std::size_t identifier_length(const container_view &view) {
    std::vector<std::string_view> oids;
    for (const version_record &version : view.versions) {
        oids.push_back(version.oid);
    }
    std::sort(oids.begin(), oids.end());
    std::size_t length = shortest_identifier;
    for (std::size_t i = 1; i < oids.size(); i++) {
        const auto [a, b] =
            std::mismatch(oids[i - 1].begin(), oids[i - 1].end(), oids[i].begin(), oids[i].end());
        length = std::max(length, static_cast<std::size_t>(a - oids[i - 1].begin()) + 1);
    }
    return length;
}

bool is_ascii(const std::string &text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
}

class log_printer {
public:
    log_printer(const container_view &view, const log_look &look)
        : view_(view), look_(look), graph_(view) {}

    void print(const version_log &log) {
        measure(log);
        std::vector<std::string> lines;
        std::vector<std::string> joins;
        for (const logged_version &version : log) {
            const std::string graph = graph_.next(*version.record, &joins);
            if (!look_.one_branch) {
                lines.insert(lines.end(), joins.begin(), joins.end());
            }
            lines.push_back(
                (look_.one_branch ? graph.substr(graph.find_first_of("*x"), 2) : graph) +
                describe(version));
        }
        if (look_.reverse) {
            std::reverse(lines.begin(), lines.end());
        }
        for (const std::string &line : lines) {
            const bool join = look_.reverse && line.find_first_of("*x") == std::string::npos;
            standard_output().write((join ? turned_over(line) : line) + "\n");
        }
    }

private:
    void measure(const version_log &log) {
        identifier_ = identifier_length(view_);
        for (const logged_version &version : log) {
            name_ = std::max(name_, count_columns(shown_name(*version.record)));
        }
    }

    // On a terminal a long name loses the end of its branch's, so that the line may fit; the
    // identifier names the version all the same.
    std::string shown(const std::string &name) const {
        constexpr std::size_t others = 62;  // columns of a usual line without its name
        constexpr std::size_t least = 16;
        constexpr std::string_view cut = "...";
        const std::size_t most = look_.width > others + least ? look_.width - others : least;
        const std::string number = name.substr(std::min(name.rfind('@'), name.size()));
        const std::size_t end = cut.size() + number.size();
        if (look_.width == 0 || name.size() <= most || end >= most || !is_ascii(name)) {
            return name;
        }
        return name.substr(0, most - end) + std::string(cut) + number;
    }

    std::string shown_name(const version_record &record) const {
        return shown(escape_name(version_name(view_, record.id)));
    }

    std::string in_color(const char *color, const std::string &text) const {
        return look_.color ? color + text + plain : text;
    }

    std::string describe(const logged_version &version) const {
        const version_record &record = *version.record;
        const std::string name = shown_name(record);
        const std::string padding(look_.oneline ? 0 : name_ - count_columns(name), ' ');
        std::string line =
            in_color(yellow, name) + padding + " " + escape_name(record.oid.substr(0, identifier_));
        if (!look_.oneline) {
            line += "  " + time_text(record.time) + " ";
        }
        line += " " + in_color(green, "+" + std::to_string(version.change.added)) + " " +
                in_color(red, "-" + std::to_string(version.change.deleted)) + " " +
                std::to_string(version.text.lines);
        if (!look_.oneline) {
            line += version.text.lines == 1 ? " line" : " lines";
        }
        for (const branch_record *branch : version.branches) {
            line += in_color(cyan, " [" + shown(escape_name(branch->oid)) + "]");
        }
        return record.deleted ? line + in_color(red, " (deleted, kept)") : line;
    }

    const container_view &view_;
    const log_look &look_;
    version_graph graph_;
    std::size_t identifier_ = shortest_identifier;
    std::size_t name_ = 0;
};

}  // namespace

void print_log(const container_view &view, const version_log &log, const log_look &look) {
    log_printer(view, look).print(log);
}

}  // namespace norvik

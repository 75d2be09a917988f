// The weave of a container in memory, open at one version's text, so that many versions can be
// woven in one after the other without a container being written for each.
//
// It is a sequence of visible runs, the lines of the current text in the form in which the
// container stores them, each followed by a chain of hidden pieces: records and lines that are not
// in the text. A record that an edit adds stands directly behind the last line passed before it,
// ahead of the hidden pieces that followed that line, which is where the library's check-in puts it
// too; so a weave of many versions is the same, byte for byte, as after weaving them one by one.
//
// An edit costs O(visible runs) and the bytes of the runs that it splits.
#ifndef NORVIK_IMPORT_WEAVE_H
#define NORVIK_IMPORT_WEAVE_H

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "container_view.h"

namespace norvik {

class import_weave {
public:
    // Takes the container's weave, open at the text of that lineage. Only for a container whose
    // structure is sound. Views into the container are kept.
    import_weave(const container_view &view, const std::vector<version_id> &lineage);

    // An edit runs once over the current text, from its first line to its last: begin_edit, then
    // the steps below in the order of the text, then end_edit, which keeps what is left.
    void begin_edit(version_id id);
    void keep_until(std::uint64_t line);    // keeps the lines up to that one (from 1; 0: none)
    void delete_until(std::uint64_t line);  // deletes the lines behind the last step up to that one
    // Inserts stored lines (as the container holds them); the bytes are kept.
    void insert(std::string stored, std::uint64_t lines);
    void end_edit();

    // Hands out the whole weave, in order.
    using piece_sink = std::function<void(std::string_view piece)>;
    void write_to(const piece_sink &sink) const;

private:
    struct hidden_piece {
        std::string_view bytes;
        std::size_t next;
    };
    struct hidden_chain {
        std::size_t first = no_piece;
        std::size_t last = no_piece;
    };
    struct visible_run {
        std::string_view bytes;
        std::uint64_t lines;
        hidden_chain hidden;  // what stands behind the run
    };
    static constexpr std::size_t no_piece = SIZE_MAX;

    hidden_chain &chain_here() { return runs_.empty() ? front_ : runs_.back().hidden; }
    void hide(std::string_view bytes);
    void show(std::string_view bytes, std::uint64_t lines);
    void join_pending();
    void move_until(std::uint64_t line, bool keep);
    void add_record(char kind, std::uint64_t count);
    void write_chain(const hidden_chain &chain, const piece_sink &sink) const;

    std::vector<hidden_piece> pieces_;
    hidden_chain front_;  // before the first visible run
    std::vector<visible_run> runs_;
    std::deque<std::string> owned_;  // inserted lines and records, at addresses that stay

    // The edit under way: the text as it was, what is taken from it so far, and the pieces that
    // stand behind the line last taken.
    version_id id_;
    std::vector<visible_run> before_;
    std::size_t run_ = 0;
    std::uint64_t line_ = 0;
    hidden_chain pending_;
};

}  // namespace norvik

#endif

// In memory are the old container as it is mapped, the text before and the next one, and what the
// new versions add; the new container is written piece by piece.
#include "version_weaver.h"

#include "proof.h"
#include "replacement_writer.h"
#include "structure.h"
#include "version_edit.h"
#include "version_sum.h"

namespace norvik {

result<> version_weaver::begin() {
    const container_view &old = change_->old;
    std::vector<version_id> lineage;
    if (!lineage_of(old, plan_.predecessor, &lineage)) {
        return refusal(old.name, "the branch cannot be traced to its origin");
    }
    weave_ = std::make_unique<import_weave>(old, lineage);
    std::vector<std::size_t> open;  // the ends of lines that are stored without newline
    const auto broken = walk_version(old, lineage, [this, &open](std::string_view piece) {
        before_ += piece;
        if (!piece.ends_with('\n')) {
            open.push_back(before_.size());
        }
        return true;
    });
    newest_ = stored_with(before_, open);
    const version_record *version = find_version(old, plan_.predecessor);
    auto sound = broken ? result<>(damaged(old, *broken)) : result<>();
    if (sound && version != nullptr && !version->deleted && version->sum) {
        sound = require_sum(old, *version, add_text(0, before_));
    }
    if (!sound) {
        sound.failure().follows = "is damaged; nothing is built on it";
    }
    return sound;
}

result<> version_weaver::add(new_version fresh, std::string_view text, const std::string &name) {
    auto record = record_of(fresh, id_of(versions_.size()), change_->old.element_oid, branch(),
                            fresh.plain ? 0 : add_text(0, text));
    if (!record) {
        record.failure().file = name;
        return record.failure();
    }
    // An equal text is a version without records of its own.
    if (text == newest_.text) {
        newest_.text = text;
        if (newest_.lines) {
            newest_.lines->bytes = text;
        }
    } else {
        stored_text next = split_stored(text);
        if (auto woven = weave_version(*weave_, id_of(versions_.size()), newest_, next, name);
            !woven) {
            return woven;
        }
        newest_ = std::move(next);
    }
    versions_.push_back(std::move(fresh));
    records_.push_back(std::move(*record));
    return {};
}

// The record of the branch that gets the versions, as the container has it or will have it.
branch_record version_weaver::branch() const {
    const branch_record *found =
        plan_.adds_branch ? nullptr : find_branch(change_->old, plan_.id.branch);
    return found != nullptr ? *found
                            : branch_record{plan_.branch, plan_.id.branch, plan_.predecessor};
}

std::string version_weaver::header() const {
    std::string header = status_record_text(change_->old, plan_.adds_branch);
    for (std::size_t i = records_.size(); i-- > 0;) {
        header += records_[i];
    }
    if (plan_.adds_branch) {
        header += branch_line(plan_.branch, plan_.id.branch, plan_.predecessor);
    }
    return header;
}

result<> version_weaver::write(const std::string &header) const {
    const container_view &old = change_->old;
    const std::string_view rest = behind_status(old);
    replacement_writer out(change_->replacement);
    out.add(header);
    out.add(rest.substr(0, rest.size() - (old.bytes.view().size() - old.weave_offset)));
    weave_->write_to([&out](std::string_view piece) { out.add(piece); });
    return out.finish();
}

result<> version_weaver::commit(const text_proof &prove) {
    const std::string records = header();
    auto done = change_->replacement.begin();
    done = done ? write(records) : std::move(done);
    if (!done) {
        return done;
    }
    return change_->replacement.commit([&](int descriptor) -> result<> {
        const auto fresh =
            prove_addition(change_->old, descriptor, {plan_.id.branch, plan_.id.number, records});
        if (!fresh) {
            return fresh.failure();
        }
        library_proof library;
        auto proven = library.open(descriptor, change_->old.name);
        return proven ? prove(*fresh, library) : std::move(proven);
    });
}

}  // namespace norvik

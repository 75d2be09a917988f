// Two texts are in memory at a time, the one before and the next, besides the weave; files stay
// open for the proof, so that it reads what was woven. A text from a pipe is kept, since nobody
// could read it again.
#include "version_import.h"

#include "history_proof.h"
#include "proof.h"
#include "random_digits.h"
#include "structure.h"
#include "system_calls.h"
#include "version_edit.h"

namespace norvik {

namespace {

// So many files stay open until the proof; more are opened a second time.
constexpr std::size_t most_open_files = 256;

}  // namespace

// Opens the weave at the text that the first version is compared with, and gives that text.
result<> version_import::begin(input_text *text) {
    const container_view &old = change_->old;
    std::vector<version_id> lineage;
    if (!lineage_of(old, plan_.predecessor, &lineage)) {
        return refusal(old.name, "the branch cannot be traced to its origin");
    }
    weave_ = std::make_unique<import_weave>(old, lineage);
    std::string bytes;
    const auto broken = walk_version(old, lineage, [&bytes](std::string_view piece) {
        bytes += piece;
        return true;
    });
    return broken ? damaged(old, *broken) : text->take(std::move(bytes));
}

result<> version_import::add(const import_item &item, const input_text &before,
                             const std::shared_ptr<input_text> &next) {
    auto oid = random_digits();
    if (!oid) {
        return oid.failure();
    }
    const version_id id{plan_.id.branch, plan_.id.number + versions_.size()};
    // An equal text is a version without records of its own, as a check-in stores it.
    if (next->text() != before.text()) {
        if (auto woven =
                weave_version(*weave_, id, before.path(), next->path(), item.path, next->text());
            !woven) {
            return woven;
        }
    }
    change_->stores(next->rights());
    const bool again = next->can_be_read_again();
    const bool keeps_open = again && versions_.size() < most_open_files;
    versions_.push_back({std::move(*oid), item.time, id.number, &item.path, again ? nullptr : next,
                         owned_descriptor(keeps_open ? sys::duplicate(next->descriptor()) : -1)});
    return {};
}

result<> version_import::weave(bool allow_same, const notice_sink &tell, const progress_sink &at) {
    auto before = std::make_shared<input_text>();
    if (auto begun = begin(before.get()); !begun) {
        return begun;
    }
    for (std::size_t i = 0; i < items_.size(); i++) {
        const import_item &item = items_[i];
        auto next = std::make_shared<input_text>();
        result<> done;
        if (item.path != "-") {
            done = change_->replacement.refuse_same(item.path);
        }
        done = done ? next->read(item.path) : std::move(done);
        if (done && next->text() == before->text() && !allow_same) {
            tell(refusal(item.path, "not stored: the text is that of the version before"));
            continue;
        }
        done = done ? add(item, *before, next) : std::move(done);
        if (!done) {
            return done;
        }
        before = std::move(next);
        at(i);
    }
    return {};
}

std::string version_import::header() const {
    std::string header = status_record_text(change_->old, plan_.adds_branch);
    for (std::size_t i = versions_.size(); i-- > 0;) {
        const imported_version &version = versions_[i];
        header += version_record_text(
            version_record{version.oid, {plan_.id.branch, version.number}, version.time});
    }
    if (plan_.adds_branch) {
        header += branch_record_text({plan_.branch, plan_.id.branch, plan_.predecessor});
    }
    return header;
}

result<> version_import::write(const std::string &header) const {
    const container_view &old = change_->old;
    const std::string_view bytes = old.bytes.view();
    const std::size_t second_line = bytes.find('\n') + 1;
    std::string out = header;
    out += bytes.substr(second_line, old.weave_offset - second_line);
    weave_->append_to(out);
    return change_->replacement.write(out);
}

// Reads every file again and compares it with its version.
result<> version_import::prove(const std::string &header, int descriptor,
                               const progress_sink &at) const {
    const auto fresh =
        prove_addition(change_->old, descriptor, {plan_.id.branch, plan_.id.number, header});
    if (!fresh) {
        return fresh.failure();
    }
    history_proof proof(*fresh, plan_.id, static_cast<std::uint32_t>(versions_.size()));
    for (std::size_t i = 0; i < versions_.size(); i++) {
        const imported_version &version = versions_[i];
        const bool is_open = version.file.is_open();
        input_text again;
        file_bytes bytes;
        if (is_open) {
            if (const std::error_code error = bytes.load(version.file.get())) {
                return system_failure(*version.path, "cannot be read again", error);
            }
        } else if (version.kept == nullptr) {
            if (auto read = again.read(*version.path); !read) {
                return read;
            }
        }
        const std::string_view given = is_open                   ? bytes.view()
                                       : version.kept == nullptr ? again.text()
                                                                 : version.kept->text();
        if (!proof.next_equals(given)) {
            return refusal(*version.path,
                           "is not what the new container holds; nothing is imported");
        }
        at(items_.size() + i);
    }
    return {};
}

result<> version_import::commit(const progress_sink &at) {
    const std::string records = header();
    auto done = change_->replacement.begin();
    done = done ? write(records) : std::move(done);
    return done ? change_->replacement.commit(
                      [&](int descriptor) { return prove(records, descriptor, at); })
                : done;
}

}  // namespace norvik

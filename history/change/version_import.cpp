// Two texts are in memory at a time, the one before and the next, besides the weave; files stay
// open for the proof, so that it reads what was woven. A text from a pipe is kept, since nobody
// could read it again.
#include "version_import.h"

#include "history_proof.h"
#include "random_digits.h"
#include "system_calls.h"

namespace norvik {

namespace {

// So many files stay open until the proof; more are opened a second time.
constexpr std::size_t most_open_files = 256;
// Of so many versions the library reads one back, beside the newest: the one pass of ours reads
// them all, its passes are one a version.
constexpr std::size_t read_by_library = 64;

}  // namespace

result<> version_import::add(const import_item &item, const std::shared_ptr<input_text> &next) {
    auto oid = random_digits();
    if (!oid) {
        return oid.failure();
    }
    if (auto woven = weaver_.add({std::move(*oid), item.time, plain_}, next->text(), item.path);
        !woven) {
        woven.failure().follows = "cannot be imported";
        return woven;
    }
    change_->stores(next->rights());
    const bool again = next->can_be_read_again();
    const bool keeps_open = again && sources_.size() < most_open_files;
    sources_.push_back({&item.path, again ? nullptr : next,
                        owned_descriptor(keeps_open ? sys::duplicate(next->descriptor()) : -1)});
    return {};
}

result<> version_import::weave(bool allow_same, const notice_sink &tell, const progress_sink &at) {
    if (auto begun = weaver_.begin(); !begun) {
        return begun;
    }
    std::shared_ptr<input_text> before;  // the text that the weave is open at
    for (std::size_t i = 0; i < items_.size(); i++) {
        const import_item &item = items_[i];
        auto next = std::make_shared<input_text>();
        result<> done;
        if (item.path != "-") {
            done = change_->replacement.refuse_same(item.path);
        }
        done = done ? next->read(item.path) : std::move(done);
        if (done && next->text() == weaver_.newest_text() && !allow_same) {
            tell(refusal(item.path, "not stored: the text is that of the version before"));
            continue;
        }
        done = done ? add(item, next) : std::move(done);
        if (!done) {
            return done;
        }
        before = std::move(next);
        at(i);
    }
    return {};
}

// Reads every file again and compares it with its version.
result<> version_import::prove(const container_view &fresh, const library_proof &library,
                               const progress_sink &at) const {
    history_proof proof(fresh, weaver_.id_of(0), static_cast<std::uint32_t>(sources_.size()));
    for (std::size_t i = 0; i < sources_.size(); i++) {
        const version_source &source = sources_[i];
        const bool is_open = source.file.is_open();
        input_text again;
        file_bytes bytes;
        if (is_open) {
            if (const std::error_code error = bytes.load(source.file.get())) {
                return system_failure(*source.path, "cannot be read again", error);
            }
        } else if (source.kept == nullptr) {
            if (auto read = again.read(*source.path); !read) {
                return read;
            }
        }
        const std::string_view given = is_open                  ? bytes.view()
                                       : source.kept == nullptr ? again.text()
                                                                : source.kept->text();
        if (!proof.next_equals(given)) {
            return refusal(*source.path,
                           "is not what the new container holds; nothing is imported");
        }
        if (i % read_by_library == 0 || i + 1 == sources_.size()) {
            if (auto proven = library.prove(weaver_.versions()[i].oid, given); !proven) {
                return proven;
            }
        }
        at(items_.size() + i);
    }
    return {};
}

result<> version_import::commit(const progress_sink &at) {
    return weaver_.commit([&](const container_view &fresh, const library_proof &library) {
        return prove(fresh, library, at);
    });
}

}  // namespace norvik

// Nothing of what is written is believed before the bytes have been read back, by the library, too
// (proof.h, library_proof.h). A failure leaves the old container, and the temporary
// file goes with the replacement.
#include "version_store.h"

#include "new_branch.h"
#include "proof.h"
#include "replacement_writer.h"
#include "version_sum.h"
#include "version_text.h"
#include "version_weaver.h"

namespace norvik {

namespace {

// A new container is these lines and nothing else.
result<> prove_element(const std::string &name, int descriptor, const std::string &expected) {
    file_bytes bytes;
    if (const std::error_code error = bytes.load(descriptor)) {
        return system_failure(name, "the new container cannot be read", error);
    }
    return bytes.view() == expected
               ? result<>()
               : refusal(name, "the new container is refused: it does not read back as written");
}

// The value of the text of a new branch's point, which must agree with its digest.
result<std::uint64_t> value_of_point(const container_view &view, const version_record &point) {
    auto value = read_text_value(view, point.id);
    const auto sound = value ? require_sum(view, point, *value) : result<>(value.failure());
    if (!sound) {
        failure why = sound.failure();
        why.follows = "is damaged; nothing is built on it";
        return why;
    }
    return value;
}

}  // namespace

result<bool> store_version(container_change *change, const checkin_plan &plan,
                           const new_version &fresh, const text_source &source, bool allow_same) {
    version_weaver weaver(change, plan);
    if (auto begun = weaver.begin(); !begun) {
        return begun.failure();
    }
    if (!allow_same && weaver.newest_text() == source.text) {
        return false;
    }
    if (auto woven = weaver.add(fresh, source.text, source.name); !woven) {
        return woven.failure();
    }
    const auto done =
        weaver.commit([&](const container_view & /*view*/, const library_proof &library) {
            return library.prove(fresh.oid, source.text);
        });
    return done ? result<bool>(true) : done.failure();
}

result<> store_branch(container_change *change, const std::string &name,
                      const version_record &point, const new_version &fresh) {
    file_replacement &replacement = change->replacement;
    const auto number = new_branch_number(change->old);
    if (!number) {
        return number.failure();
    }
    const auto value = value_of_point(change->old, point);
    if (!value) {
        return value.failure();
    }
    const auto record =
        record_of(fresh, {*number, 0}, change->old.element_oid, {name, *number, point.id}, *value);
    if (!record) {
        return record.failure();
    }
    const added_records added{
        *number, 0,
        status_record_text(change->old, true) + *record + branch_line(name, *number, point.id)};
    auto done = replacement.begin();
    if (done) {
        replacement_writer out(replacement);
        out.add(added.header);
        out.add(behind_status(change->old));
        done = out.finish();
    }
    if (!done) {
        return done;
    }
    return replacement.commit([&](int descriptor) -> result<> {
        const auto proven = prove_addition(change->old, descriptor, added);
        return proven ? result<>() : proven.failure();
    });
}

result<> store_element(file_replacement *output, const std::string &element,
                       const std::string &branch, const new_version &fresh) {
    const auto record = record_of(fresh, {0, 0}, element, {branch, 0, {0, 0}}, 0);
    if (!record) {
        return record.failure();
    }
    const std::string text =
        status_line(0) + *record + branch_line(branch, 0, {0, 0}) + element_line(element);
    auto done = output->begin();
    done = done ? output->write(text) : std::move(done);
    if (!done) {
        return done;
    }
    const std::string &name = output->file().name;
    return output->commit([&](int descriptor) { return prove_element(name, descriptor, text); });
}

}  // namespace norvik

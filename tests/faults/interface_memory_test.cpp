// Every call of history.h and changes.h with its n-th allocation failing, alone and with all that
// follow: the error says so, nothing stays allocated, and files are as before or as they shall be.
#include <gtest/gtest.h>
#include <norviktdm/history.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

#include "files.h"

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);
}

namespace {

// Of this program, the shared libraries in it included. Counts while `on`.
struct allocator_state {
    bool on = false;
    bool fails_on = false;  // all that follow fail too
    long fails_at = 0;      // from 1; 0: none
    long count = 0;
    long live = 0;
} state;

bool fails() {
    state.count += state.on ? 1 : 0;
    const bool now =
        state.on && state.fails_at != 0 &&
        (state.fails_on ? state.count >= state.fails_at : state.count == state.fails_at);
    errno = now ? ENOMEM : errno;
    return now;
}

void *counted(void *block) {
    state.live += state.on && block != nullptr ? 1 : 0;
    return block;
}

}  // namespace

extern "C" void *malloc(size_t size) {
    return fails() ? nullptr : counted(__libc_malloc(size));
}
extern "C" void *calloc(size_t count, size_t size) {
    return fails() ? nullptr : counted(__libc_calloc(count, size));
}
extern "C" void *realloc(void *block, size_t size) {
    if (fails()) {
        return nullptr;
    }
    void *const moved = __libc_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}
extern "C" void free(void *block) {
    state.live -= state.on && block != nullptr ? 1 : 0;
    __libc_free(block);
}

namespace {

norvik_text text(const char *string) {
    return {string, std::char_traits<char>::length(string)};
}

// Each does one thing from the beginning to its end and gives the error of the call that failed.
using step = norvik_error *(*)();

norvik_error *compares() {
    norvik_comparison *changes = nullptr;
    norvik_error *error = norvik_compare(text("1\n2\n3\n"), text("2\n3\n1\n4\n"), 0, &changes);
    norvik_comparison_free(changes);
    return error;
}

norvik_error *merges() {
    const norvik_text texts[] = {text("1\n2\n3\n"), text("1\n2\nthree\n"), text("1\n2\n3!\n")};
    norvik_merge *merge = nullptr;
    norvik_error *error = norvik_merge_texts(texts, 3, nullptr, &merge);
    norvik_merge_free(merge);
    return error;
}

norvik_error *reads() {
    norvik_container *container = nullptr;
    const norvik_version *version = nullptr;
    norvik_annotation *annotation = nullptr;
    norvik_verdict *verdict = nullptr;
    char *bytes = nullptr;
    norvik_error *error = norvik_open("c", 0, &container);
    error = error != nullptr ? error : norvik_find_version(container, "main@2", &version);
    error = error != nullptr ? error : norvik_version_text(container, version, &bytes, nullptr);
    error = error != nullptr ? error : norvik_annotate(container, version, &annotation);
    error = error != nullptr
                ? error
                : norvik_verify(container, norvik_with_digests, nullptr, nullptr, &verdict);
    norvik_free_bytes(bytes);
    norvik_annotation_free(annotation);
    norvik_verdict_free(verdict);
    norvik_close(container);
    return error;
}

norvik_error *creates() {
    unlink("new");
    return norvik_create("new", nullptr, nullptr, nullptr);
}

norvik_error *checks_in() {
    norvik_checkin_options options = {};
    options.size = sizeof options;
    options.base = "main@1";
    options.flags = norvik_merge_newest;
    norvik_outcome *outcome = nullptr;
    norvik_error *error = norvik_checkin("c", text("one\n2\n3\n"), &options, nullptr, &outcome);
    norvik_outcome_free(outcome);
    return error;
}

norvik_error *branches() {
    return norvik_create_branch("c", "side", "main@1", 1, nullptr, nullptr);
}

norvik_error *carry_out(norvik_error *error, norvik_plan **plan) {
    error = error != nullptr ? error : norvik_carry_out(*plan, nullptr);
    norvik_plan_free(*plan);
    return error;
}

norvik_error *deletes() {
    const char *const version = "main@2";
    norvik_plan *plan = nullptr;
    return carry_out(norvik_plan_deletion("c", &version, 1, nullptr, 0, nullptr, &plan), &plan);
}

norvik_error *purges() {
    norvik_plan *plan = nullptr;
    return carry_out(norvik_plan_purge("c", "main@2", nullptr, &plan), &plan);
}

norvik_error *repairs() {
    unlink("new");
    norvik_plan *plan = nullptr;
    return carry_out(norvik_plan_repair("c", "new", 0, nullptr, &plan), &plan);
}

class interface_memory : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(norvik_create("c", nullptr, nullptr, nullptr), nullptr);
        for (const char *version : {"1\n2\n3\n", "1\n2\n3\nfour\n"}) {
            norvik_outcome *outcome = nullptr;
            ASSERT_EQ(norvik_checkin("c", text(version), nullptr, nullptr, &outcome), nullptr);
            norvik_outcome_free(outcome);
        }
        container_ = read_file("c");
    }
    // What is left allocated, and the error's kind.
    std::pair<long, int> run(step action) {
        write_file("c", container_);
        state.count = 0;
        state.live = 0;
        state.on = true;
        norvik_error *error = action();
        const int kind = norvik_error_kind(error);
        norvik_error_free(error);
        state.on = false;
        return {state.live, kind};
    }

    std::string container_;

    const scratch_folder folder_;
};

TEST_F(interface_memory, every_call_says_that_it_is_short_and_leaves_nothing) {
    const std::pair<const char *, step> steps[] = {
        {"compares", compares}, {"merges", merges},       {"reads", reads},
        {"creates", creates},   {"checks in", checks_in}, {"branches", branches},
        {"deletes", deletes},   {"purges", purges},       {"repairs", repairs}};
    long runs = 0;
    for (const auto &[name, action] : steps) {
        state.fails_at = 0;
        run(action);  // what the C library keeps for itself
        ASSERT_EQ(run(action), std::pair(0L, 0)) << name;
        const long total = state.count;
        EXPECT_GT(total, 10) << name;
        for (long i = 1; i <= 2 * total; i++, runs++) {
            state.fails_on = i > total;
            state.fails_at = i > total ? i - total : i;
            const auto [live, kind] = run(action);
            EXPECT_TRUE(kind == 0 || kind == norvik_kind_memory)
                << name << " " << state.fails_at << ": " << kind;
            EXPECT_EQ(live, 0) << name << " " << state.fails_at;
            EXPECT_LE(files_in(folder_.path()).size(), 2U) << name << " " << state.fails_at;
            if (kind != 0) {
                EXPECT_EQ(read_file("c"), container_) << name << " " << state.fails_at;
            }
            if (HasFailure()) {
                return;
            }
        }
    }
    std::printf("%ld runs\n", runs);
}

}  // namespace

// What an outcome says.
#include "change.h"

int norvik_outcome_answer(const norvik_outcome *outcome) {
    return outcome == nullptr ? 0 : outcome->answer;
}

const char *norvik_outcome_version(const norvik_outcome *outcome) {
    return outcome == nullptr ? "" : outcome->version.c_str();
}

const char *norvik_outcome_oid(const norvik_outcome *outcome) {
    return outcome == nullptr ? "" : outcome->oid.c_str();
}

const norvik_merge *norvik_outcome_merge(const norvik_outcome *outcome) {
    return outcome == nullptr ? nullptr : outcome->merge.get();
}

std::size_t norvik_outcome_since_count(const norvik_outcome *outcome) {
    return outcome == nullptr ? 0 : outcome->since.size();
}

const char *norvik_outcome_since_at(const norvik_outcome *outcome, std::size_t index) {
    return index < norvik_outcome_since_count(outcome) ? outcome->since[index].c_str() : nullptr;
}

void norvik_outcome_free(norvik_outcome *outcome) {
    delete outcome;
}

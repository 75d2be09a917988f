// Texts compared by a plain pairing of lines, which takes the place of the library's comparison.
#pragma once

#include <string>
#include <vector>

#include "edit_list.h"
#include "merge_run.h"

// Pairs lines that are unique in both texts, then their equal neighbours, and from both ends.
norvik::paired_lines plain_pairs(const norvik::text_lines &base, const norvik::text_lines &file,
                                 norvik::line_equality equality);

// The base and the texts made from it, with their lines.
struct compared_texts {
    std::vector<std::string> texts;
    std::vector<norvik::text_lines> lines;

    explicit compared_texts(std::vector<std::string> all);
    compared_texts(const compared_texts &) = delete;
    compared_texts &operator=(const compared_texts &) = delete;

    // Of texts[index] against the base.
    norvik::file_edits edits(size_t index, const norvik::edit_list_options &options = {}) const;
};

// A merge of the texts, decided and written; its markers call them by their index.
struct merge_of {
    compared_texts compared;
    norvik::merge_run run;
    bool clean = false;
    std::string text;

    explicit merge_of(const std::vector<std::string> &all, norvik::merge_options options = {});
};

// The library's blocks of each file, in their order, walk the base without a gap and give the file.
#include "comparison.h"
#include "support.h"

namespace {

std::string take(const std::vector<std::string> &lines, int32_t first, int32_t last) {
    fuzz::require(first >= 1 && last <= static_cast<int32_t>(lines.size()), "lines that are not");
    std::string text;
    for (int32_t n = first; n <= last; n++) {
        text += lines[static_cast<size_t>(n) - 1];
    }
    return text;
}

struct rebuilt_file {
    std::string text;
    int32_t base_end = 0;  // the last base line that a block has dealt with
};

void add(const std::vector<std::string> &base, const std::vector<std::string> &file,
         const diff_block &block, rebuilt_file *out) {
    if (block.kind == 2 || block.kind == 4) {
        fuzz::require(block.base_first == out->base_end, "an insertion out of place");
    } else {
        fuzz::require(block.base_first == out->base_end + 1 && block.base_last >= block.base_first,
                      "a gap");
        out->base_end = block.base_last;
    }
    if (block.kind == 0) {
        const std::string same = take(base, block.base_first, block.base_last);
        fuzz::require(same == take(file, block.other_first, block.other_last), "unchanged lines");
        out->text += same;
    } else if (block.kind == 4) {
        out->text += take(base, block.moved_first, block.moved_last);
    } else if (block.kind == 5) {
        fuzz::require(take(file, block.moved_first, block.moved_last) ==
                          take(base, block.base_first, block.base_last),
                      "moved lines differ");
    } else if (block.kind != 3) {
        out->text += take(file, block.other_first, block.other_last);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto texts = fuzz::texts_of_input(fuzz::bytes_of(data, size), 2, 6);
    std::vector<host::memory_file> files(texts.size());
    std::vector<const char *> paths;
    std::vector<std::vector<std::string>> lines;
    for (size_t i = 0; i < texts.size(); i++) {
        fuzz::require(files[i].create() == 0 && files[i].write(texts[i]) == 0, "no memory file");
        paths.push_back(files[i].path().c_str());
        lines.push_back(fuzz::split(texts[i]));
    }
    tdm_session *opened = nullptr;
    int identical = 0;
    fuzz::require(tdm_create_session(static_cast<int>(paths.size()), paths.data(), &opened) == 0,
                  "no session");
    const std::unique_ptr<tdm_session, host::session_closer> session(opened);
    fuzz::require(tdm_compare(opened, &identical) == 0, "texts that cannot be compared");
    if (identical != 0) {
        return 0;
    }
    uint64_t head = 0;
    uint64_t tail = 0;
    fuzz::require(tdm_init_diff_stream(opened, &head, &tail) == 0, "no stream");
    const auto base_lines = static_cast<int32_t>(lines[0].size());
    const auto head_lines = static_cast<int32_t>(head);
    const int32_t tail_start = base_lines - static_cast<int32_t>(tail) + 1;
    std::vector<rebuilt_file> rebuilt(texts.size(), {take(lines[0], 1, head_lines), head_lines});
    uint32_t end = 0;
    for (diff_block block{}; tdm_get_next_diff(opened, &end, &block) == 0 && end == 0;) {
        add(lines[0], lines.at(block.file_index), block, &rebuilt.at(block.file_index));
    }
    fuzz::require(end != 0, "a stream that does not end");
    for (size_t i = 1; i < texts.size(); i++) {
        fuzz::require(rebuilt[i].base_end == tail_start - 1, "the base is not walked to its end");
        fuzz::require(rebuilt[i].text + take(lines[0], tail_start, base_lines) == texts[i],
                      "the blocks do not give the file");
    }
    return 0;
}

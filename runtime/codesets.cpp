// Codesets: the locale's, a text's by the form of its bytes, and conversion by iconv.
#include <iconv.h>
#include <langinfo.h>
#include <norviktdm/runtime.h>
#include <strings.h>

#include <cerrno>
#include <iterator>
#include <string_view>

#include "codeset_forms.h"

namespace {

enum codeset : uint32_t { ascii = 0, euc_jp = 1, shift_jis = 2, utf_8 = 3, unknown = 4 };

struct codeset_name {
    const char *name;
    codeset code;
};

// As nl_langinfo spells them on this system, and on others.
constexpr codeset_name locale_names[] = {
    {"ANSI_X3.4-1968", ascii}, {"US-ASCII", ascii},        {"ASCII", ascii},
    {"EUC-JP", euc_jp},        {"eucJP", euc_jp},          {"SHIFT_JIS", shift_jis},
    {"SJIS", shift_jis},       {"WINDOWS-31J", shift_jis}, {"UTF-8", utf_8},
};

// As iconv knows them, by code.
constexpr const char *iconv_names[] = {"ASCII", "EUC-JP", "SHIFT_JIS", "UTF-8"};
static_assert(std::size(iconv_names) == unknown);

/// The name of a codeset in a conversion from or to `other`. iconv's SHIFT_JIS makes a yen sign of
/// a backslash where the other codeset has both; the variant that people's files are really written
/// in keeps it. Towards EUC-JP, which has one of the two, the plain pair loses nothing.
const char *iconv_name(uint32_t code, uint32_t other) {
    return code == shift_jis && other == utf_8 ? "CP932" : iconv_names[code];
}

constexpr int converted = 0, not_converted = 1, output_too_small = 3;

const auto no_conversion = reinterpret_cast<iconv_t>(-1);

/// What cs_init_language hands out: the descriptor of the last pair of codesets.
struct converter_state {
    iconv_t descriptor;  // owned; no_conversion before the first pair
    uint32_t from, to;
};

void close_descriptor(converter_state *state) {
    if (state->descriptor != no_conversion) {
        iconv_close(state->descriptor);
        state->descriptor = no_conversion;
    }
}

bool choose_pair(converter_state *state, uint32_t from, uint32_t to) {
    if (state->descriptor != no_conversion && state->from == from && state->to == to) {
        // Forget what an earlier, failed conversion may have left.
        iconv(state->descriptor, nullptr, nullptr, nullptr, nullptr);
        return true;
    }
    close_descriptor(state);
    if (from >= unknown || to >= unknown) {
        return false;
    }
    state->descriptor = iconv_open(iconv_name(to, from), iconv_name(from, to));
    state->from = from;
    state->to = to;
    return state->descriptor != no_conversion;
}

}  // namespace

uint32_t cs_get_locale_codeset(void) {
    const char *name = nl_langinfo(CODESET);
    for (const codeset_name &known : locale_names) {
        if (strcasecmp(known.name, name) == 0) {
            return known.code;
        }
    }
    return unknown;
}

uint32_t cs_detect_codeset(const char *text, size_t len) {
    const std::string_view bytes(text, len);
    if (runtime::is_ascii(bytes)) {
        return ascii;
    }
    if (runtime::is_utf_8(bytes)) {
        return utf_8;
    }
    if (runtime::is_euc_jp(bytes)) {
        return euc_jp;
    }
    return runtime::is_shift_jis(bytes) ? shift_jis : unknown;
}

void *cs_init_language(void) {
    auto *state = static_cast<converter_state *>(mem_malloc(sizeof(converter_state)));
    if (state != nullptr) {
        *state = {.descriptor = no_conversion, .from = unknown, .to = unknown};
    }
    return state;
}

int cs_convert_encodings(void *converter, uint32_t from, uint32_t to, const char *text, size_t len,
                         char *out, size_t out_capacity, uint64_t *out_len) {
    *out_len = 0;
    auto *state = static_cast<converter_state *>(converter);
    if (state == nullptr || !choose_pair(state, from, to)) {
        return not_converted;
    }
    char *in = const_cast<char *>(text);  // iconv reads it only
    char *stored = out;
    size_t left = out_capacity;
    if (iconv(state->descriptor, &in, &len, &stored, &left) == static_cast<size_t>(-1)) {
        return errno == E2BIG ? output_too_small : not_converted;
    }
    *out_len = out_capacity - left;
    return converted;
}

void cs_exit(void *converter) {
    if (converter != nullptr) {
        close_descriptor(static_cast<converter_state *>(converter));
        mem_free(converter);
    }
}

// The codeset of the files' text against that of the locale, and the conversion of a line.
#include <cstdlib>
#include <string_view>

#include "messages/messages.h"
#include "tdm_session/session.h"

namespace tdm {
namespace {

constexpr uint64_t first_buffer_size = 265;
constexpr uint64_t buffer_slack = 64;
constexpr int converted = 0;
constexpr int buffer_too_small = 3;

uint32_t codeset_named(std::string_view name) {
    if (name == "EUC") {
        return codeset_euc;
    }
    return name == "SJIS" ? codeset_sjis : codeset_none;
}

const char *codeset_name(uint32_t codeset) {
    switch (codeset) {
        case codeset_euc:
            return "EUCJP";
        case codeset_sjis:
            return "SJIS";
        default:
            return "Unknown";
    }
}

void start_converter(tdm_session *s) {
    s->cs_handle = cs_init_language();
    if (s->cs_handle == nullptr) {
        report_failure(message::no_converter);
        return;
    }
    s->convert = 1;
    s->conv_buf = static_cast<char *>(mem_malloc(first_buffer_size));
    s->conv_buf_size = s->conv_buf == nullptr ? 0 : first_buffer_size;
}

/// Grows the caller's buffer to hold `need` bytes and some slack.
int reserve_buffer(char **buf, uint64_t *buf_size, uint64_t need) {
    if (need <= *buf_size) {
        return 0;
    }
    const uint64_t size = need + buffer_slack;
    void *const grown = *buf == nullptr ? mem_malloc(size) : mem_realloc(*buf, size);
    if (grown == nullptr) {
        return 1;  // silent: the line stays unconverted
    }
    *buf = static_cast<char *>(grown);
    *buf_size = size;
    return 0;
}

char *convert_text(void *handle, uint32_t from, uint32_t to, const char *text, uint32_t len,
                   char **buf, uint64_t *buf_size, uint64_t *out_len) {
    if (*buf == nullptr) {
        *buf_size = 0;
    }
    for (uint64_t need = 2 * uint64_t{len} + 1;; need *= 2) {
        if (reserve_buffer(buf, buf_size, need) != 0) {
            return nullptr;
        }
        **buf = '\0';
        uint64_t length = 0;
        switch (cs_convert_encodings(handle, from, to, text, len, *buf, *buf_size - 1, &length)) {
            case converted:
                (*buf)[length] = '\0';
                *out_len = length;
                return *buf;
            case buffer_too_small:
                break;
            default:
                report_failure(message::cannot_convert, text);
                return nullptr;
        }
    }
}

}  // namespace

void set_up_codesets(tdm_session *s) {
    const char *const setting = std::getenv("VT_LANG_CODESET");
    if (setting == nullptr) {
        return;
    }
    const uint32_t locale = cs_get_locale_codeset();
    s->file_codeset = codeset_named(setting);
    s->locale_codeset = locale;
    if (locale == codeset_none || locale == codeset_unknown) {
        print_message(severity::notice, message::locale_without_codeset);
    } else if (locale == s->file_codeset) {
        print_message(severity::notice, message::same_codeset, codeset_name(locale));
    } else {
        start_converter(s);
        return;
    }
    s->file_codeset = codeset_none;
    s->locale_codeset = codeset_none;
}

void release_codesets(tdm_session *s) {
    if (s->cs_handle != nullptr) {
        cs_exit(s->cs_handle);
        s->cs_handle = nullptr;
    }
    mem_free(s->conv_buf);
    s->conv_buf = nullptr;
}

bool detect_codeset(tdm_session *s, std::string_view line) {
    if (s->convert == 0 || s->file_codeset != codeset_none) {
        return true;
    }
    const uint32_t code = cs_detect_codeset(line.data(), line.size());
    if (code == codeset_unknown) {
        print_message(severity::notice, message::unknown_codeset, line.data());
        return false;
    }
    s->file_codeset = code;
    return true;
}

}  // namespace tdm

char *tdm_convert_codeset(void *handle, uint32_t from_codeset, uint32_t to_codeset,
                          const char *text, uint32_t len, char **buf, uint64_t *buf_size,
                          uint64_t *out_len) {
    if (text == nullptr || buf == nullptr || buf_size == nullptr || out_len == nullptr) {
        return nullptr;
    }
    *out_len = 0;
    if (from_codeset == tdm::codeset_none || to_codeset == tdm::codeset_none ||
        from_codeset == to_codeset) {
        return nullptr;
    }
    return tdm::convert_text(handle, from_codeset, to_codeset, text, len, buf, buf_size, out_len);
}

uint32_t tdm_get_codeset_info(tdm_session *s, uint32_t *file_codeset, uint32_t *locale_codeset) {
    if (s == nullptr) {
        return 0;
    }
    if (file_codeset != nullptr) {
        *file_codeset = s->file_codeset;
    }
    if (locale_codeset != nullptr) {
        *locale_codeset = s->locale_codeset;
    }
    return s->convert;
}

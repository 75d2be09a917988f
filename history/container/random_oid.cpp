#include "random_oid.h"

#include <sys/random.h>

#include <cerrno>
#include <cstring>

#include "exit_status.h"
#include "output.h"

namespace norvik {

std::string hexadecimal(uint64_t value) {
    std::string text(16, '0');
    for (size_t i = text.size(); i-- > 0; value >>= 4) {
        text[i] = "0123456789abcdef"[value & 15];
    }
    return text;
}

int random_oid(std::string &oid) {
    uint64_t bits[2];
    ssize_t got = 0;
    do {
        got = getrandom(bits, sizeof bits, 0);
    } while (got < 0 && errno == EINTR);
    if (got != sizeof bits) {
        say("no random numbers: %s", std::strerror(errno));
        return status_trouble;
    }
    oid = hexadecimal(bits[0]) + hexadecimal(bits[1]);
    return status_done;
}

bool is_random_oid(std::string_view text) {
    return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

}  // namespace norvik

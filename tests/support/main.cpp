// Every test executable starts here. A test must say the same wherever it is started, so what a
// caller may hand down is put aside first: settings, a file mask, signals that are ignored.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

bool is_setting(const std::string &name) {
    for (const char *prefix : {"GIT_", "LC_", "LANG", "TDM_"}) {
        if (name.starts_with(prefix)) {
            return name != "TDM_SEED" && name != "TDM_ROUNDS" && name != "TDM_UPDATE_GOLDEN";
        }
    }
    for (const char *known : {"VT_LANG_CODESET", "NO_COLOR", "PAGER", "LESS", "SOURCE_DATE_EPOCH",
                              "TZ", "COLUMNS", "LINES", "POSIXLY_CORRECT", "CDPATH"}) {
        if (name == known) {
            return true;
        }
    }
    return false;
}

void forget_settings() {
    std::vector<std::string> names;
    for (char **entry = environ; *entry != nullptr; ++entry) {
        const std::string setting = *entry;
        names.push_back(setting.substr(0, setting.find('=')));
    }
    for (const std::string &name : names) {
        if (is_setting(name)) {
            unsetenv(name.c_str());
        }
    }
    setenv("LC_ALL", "C.UTF-8", 1);
}

void take_all_signals() {
    for (const int number :
         {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGALRM, SIGCHLD, SIGXFSZ, SIGUSR1}) {
        std::signal(number, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

int main(int count, char **words) {
    forget_settings();
    take_all_signals();
    umask(022);
    testing::InitGoogleTest(&count, words);
    return RUN_ALL_TESTS();
}

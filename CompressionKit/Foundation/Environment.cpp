#include "Foundation/Environment.h"

#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <string_view>

namespace tarnwick {
namespace {

/// An open() takes the lowest free descriptor. Each is opened for the direction in which nobody uses it, so
/// that reading or writing fails as it does on a closed one.
void occupyStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) {
            continue;
        }
        if (::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor) {
            std::abort();
        }
    }
}

bool isLocaleUTF8() {
    const locale_t locale = ::newlocale(LC_ALL_MASK, "", nullptr);
    if (locale == nullptr) {
        return false;
    }
    const bool isUTF8 = std::string_view(::nl_langinfo_l(CODESET, locale)) == "UTF-8";
    ::freelocale(locale);
    return isUTF8;
}

} // namespace

void prepareEnvironment() {
    occupyStandardDescriptors();
    // LC_CTYPE alone keeps the language; LC_ALL overrides an LC_ALL or an uninstalled locale of the user.
    for (const char* variable : {"LC_CTYPE", "LC_ALL"}) {
        if (!isLocaleUTF8()) {
            ::setenv(variable, "C.UTF-8", 1);
        }
    }
    ::setenv("OMP_WAIT_POLICY", "passive", 0);
}

} // namespace tarnwick

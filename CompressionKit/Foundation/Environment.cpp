#include "Foundation/Environment.h"

#include <langinfo.h>

#include <clocale>
#include <cstdlib>
#include <string_view>

namespace tarnwick {
namespace {

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
    // LC_CTYPE alone keeps the language; LC_ALL overrides an LC_ALL or an uninstalled locale of the user.
    for (const char* variable : {"LC_CTYPE", "LC_ALL"}) {
        if (!isLocaleUTF8()) {
            ::setenv(variable, "C.UTF-8", 1);
        }
    }
    ::setenv("OMP_WAIT_POLICY", "passive", 0);
}

} // namespace tarnwick

#include "ui/history/UserLocale.h"

#include <QByteArray>
#include <QList>

#include <unicode/locid.h>

namespace tavrik {

namespace {

std::string localeOf(const char* category) {
    for (const char* variable : {"LC_ALL", category, "LANG"}) {
        // Without encoding and variant, as in "de_DE.UTF-8@euro".
        const auto name = qgetenv(variable).split('@').first().split('.').first();
        if (name == "C" || name == "POSIX")
            return "en_US";
        if (!name.isEmpty())
            return icu::Locale::createCanonical(name.constData()).getName();
    }
    return icu::Locale::getDefault().getName();
}

} // namespace

UserLocale UserLocale::fromEnvironment() {
    return {.texts = localeOf("LC_CTYPE"), .numbers = localeOf("LC_NUMERIC"), .dates = localeOf("LC_TIME")};
}

} // namespace tavrik

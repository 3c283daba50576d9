#include "base/messages.h"

#include "base/elog.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <libintl.h>

// Changing this counter makes gettext drop the translations it has cached.
extern "C" int _nl_msg_cat_cntr;

namespace {

std::string &currentLanguage()
{
    static std::string language;
    return language;
}

const char *firstSetVariable(std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        const char *value = std::getenv(name);
        if (value != nullptr && *value != '\0')
            return value;
    }
    return nullptr;
}

// "de_DE.UTF-8@euro" -> "de_DE"; "C" and "POSIX" mean no translation.
std::string languageFromLocaleName(const std::string &localeName)
{
    const std::string language = localeName.substr(0, localeName.find_first_of(".@"));
    if (language == "C" || language == "POSIX")
        return {};
    return language;
}

} // namespace

std::string messageCatalogueDir()
{
    const char *fromEnvironment = std::getenv("TARNWAVE_LOCALEDIR");
    if (fromEnvironment != nullptr && *fromEnvironment != '\0')
        return fromEnvironment;
    return TARNWAVE_BUILD_LOCALE_DIR;
}

void initMessages()
{
    // gettext ignores every language setting in the plain "C" locale, so a
    // locale that is not installed falls back to C.UTF-8, which is always there.
    const char *locale = std::setlocale(LC_ALL, "");
    if (locale == nullptr || std::strcmp(locale, "C") == 0 || std::strcmp(locale, "POSIX") == 0) {
        if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr)
            eWarning("messages: no UTF-8 locale is installed, not even C.UTF-8, so every text stays in English");
    }
    // Numbers are formatted the same way in every language.
    std::setlocale(LC_NUMERIC, "C");

    bindtextdomain(messageDomain, messageCatalogueDir().c_str());
    bind_textdomain_codeset(messageDomain, "UTF-8");
    textdomain(messageDomain);

    const char *explicitLanguage = firstSetVariable({"TARNWAVE_LANGUAGE", "LANGUAGE"});
    if (explicitLanguage != nullptr) {
        setMessageLanguage(explicitLanguage);
    } else {
        const char *localeName = firstSetVariable({"LC_ALL", "LC_MESSAGES", "LANG"});
        setMessageLanguage(localeName != nullptr ? languageFromLocaleName(localeName) : std::string());
    }
}

void setMessageLanguage(const std::string &language)
{
    currentLanguage() = language;
    if (language.empty()) {
        // An explicit list with only English keeps a German LC_MESSAGES from applying.
        setenv("LANGUAGE", "en", 1);
    } else {
        // "de_DE" also finds catalogues filed under "de".
        std::string search = language;
        const auto underscore = language.find('_');
        if (underscore != std::string::npos)
            search += ":" + language.substr(0, underscore);
        setenv("LANGUAGE", search.c_str(), 1);
    }
    ++_nl_msg_cat_cntr;
}

std::string messageLanguage()
{
    return currentLanguage();
}

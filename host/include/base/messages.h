#ifndef TARNWAVE_HOST_BASE_MESSAGES_H
#define TARNWAVE_HOST_BASE_MESSAGES_H

#include <clocale>
#include <libintl.h>
#include <string>

// The host's message catalogue. After initMessages, plug-ins translate with
// dcgettext(nullptr, text, LC_MESSAGES) in the default text domain "tarnwave",
// or with translated(text), which says the same.
//
// Where the catalogues are: $TARNWAVE_LOCALEDIR if set, otherwise the locale
// directory of the build. The language: the first of $TARNWAVE_LANGUAGE,
// $LANGUAGE, $LC_ALL, $LC_MESSAGES and $LANG that is set and not empty, so that
// "LANG=de_DE.UTF-8" or "LANGUAGE=de" both give German, even on a machine that
// has no German locale installed.

inline constexpr const char *messageDomain = "tarnwave";

// The translation of `text` in the default text domain, `text` itself where the
// catalogue has none. Marked as handing back a format like the one it was
// given, so that the compiler checks the arguments of a translated format.
__attribute__((format_arg(1))) inline const char *translated(const char *text)
{
    return dcgettext(nullptr, text, LC_MESSAGES);
}

// Sets the locale from the environment (falling back to C.UTF-8 when the
// environment names a locale that is not installed), binds the default text
// domain to the catalogue directory and chooses the language. Idempotent.
void initMessages();

// Switches the language at run time ("de", "en", "de_DE", ...); texts translated
// afterwards use it. An empty name means untranslated (the English originals).
void setMessageLanguage(const std::string &language);

// The language in use, as given to setMessageLanguage or found in the environment.
std::string messageLanguage();

// The directory the catalogues are read from.
std::string messageCatalogueDir();

#endif

#ifndef TARNWAVE_PLUGIN_TRANSLATION_H
#define TARNWAVE_PLUGIN_TRANSLATION_H

// The plug-in's texts in the user's language: the host's message catalogue,
// default text domain, messages category.

#include <clocale>
#include <libintl.h>

// Marked as handing back a format like the one it was given, so that the
// compiler checks the arguments of a translated format.
__attribute__((format_arg(1))) inline const char *translated(const char *text)
{
    return dcgettext(nullptr, text, LC_MESSAGES);
}

#endif

#ifndef TARNWAVE_RECORD_SHELL_WORD_H
#define TARNWAVE_RECORD_SHELL_WORD_H

// Command lines for the image daemon, which runs them with /bin/sh -c.

#include "base/estring.h"

// `text` as one shell word that the shell hands on byte for byte: in single
// quotes, each ' written as '\''. No character of it (; $( ) ` " ' & | < >
// blanks, line breaks) can end the word or run anything. An empty text gives
// ''.
eString shellWord(const eString &text);

#endif

// Quoting one shell word.

#include "record/shell_word.h"

eString shellWord(const eString &text)
{
    eString word = "'";
    for (const char c : text) {
        if (c == '\'')
            word += "'\\''";
        else
            word += c;
    }
    word += '\'';
    return word;
}

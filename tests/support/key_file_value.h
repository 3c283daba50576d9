#ifndef TARNWAVE_TESTS_SUPPORT_KEY_FILE_VALUE_H
#define TARNWAVE_TESTS_SUPPORT_KEY_FILE_VALUE_H

#include "base/econfigfile.h"

// The value of `key` in `file`, or "<absent>" when it holds none.
inline eString keyOf(const eConfigFile &file, const char *key)
{
    eString value = "<absent>";
    file.getKey(key, value);
    return value;
}

#endif

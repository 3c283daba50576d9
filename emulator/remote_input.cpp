#include "remote_input.h"

#include "gui/eaction.h"
#include "gui/widgets/escreen.h"

namespace emulator {

bool isRemoteKey(const std::string &name)
{
    return eKeymap::instance().isKey(name);
}

bool pressRemoteKey(const std::string &name)
{
    return eScreen::osd().handleKey(name);
}

std::string keyForUnusedCharacter(char32_t character)
{
    switch (character) {
    case U'm':
    case U'M': return "menu";
    case U'r':
    case U'R': return "record";
    case 8: return "exit";
    default: return "";
    }
}

bool typeCharacter(char32_t character)
{
    if (eScreen::osd().handleCharacter(character))
        return true;
    const std::string key = keyForUnusedCharacter(character);
    return !key.empty() && pressRemoteKey(key);
}

} // namespace emulator

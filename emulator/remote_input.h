#ifndef TARNWAVE_EMULATOR_REMOTE_INPUT_H
#define TARNWAVE_EMULATOR_REMOTE_INPUT_H

// Input as every front end gives it to the box (GUI thread only).
//
// Remote keys go to the OSD as key presses. Typed characters (the desktop
// keyboard, the page's keyboard, "text" in scripts, POST /api/text) go to the
// focused widget first, so that a text field that has the focus receives
// them; a character that no widget takes is then read as the key it stands
// for on the desktop keyboard: "m" the menu key, "r" the record key, and the
// backspace (8) the exit key. Digits are remote keys, not characters: on the
// remote they type letters multi-tap.

#include <string>

namespace emulator {

// True when `name` is a remote-control key.
bool isRemoteKey(const std::string &name);

// One remote key, as a real press; true when a widget used it.
bool pressRemoteKey(const std::string &name);

// One typed character (a code point), as described above; true when used.
bool typeCharacter(char32_t character);

// The key a desktop key press stands for when no text field takes it ("" for
// none): see typeCharacter.
std::string keyForUnusedCharacter(char32_t character);

} // namespace emulator

#endif

#ifndef TARNWAVE_EMULATOR_EMULATOR_H
#define TARNWAVE_EMULATOR_EMULATOR_H

// The box emulator as a whole: prepares the box root, starts the station
// server unless a directory is given, loads the plug-in, runs the host loop
// with the plug-in menu, the front ends (window, page, script) and the
// control API, and takes everything down again in order.

#include "options.h"

namespace emulator {

// Exit status: 0 when stopped normally, 1 when a script failed, 2 when the
// command line, the plug-in, the box root or the port cannot be used.
int runEmulator(const EmulatorOptions &options);

inline constexpr int exitUnusable = 2;

} // namespace emulator

#endif

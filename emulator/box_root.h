#ifndef TARNWAVE_EMULATOR_BOX_ROOT_H
#define TARNWAVE_EMULATOR_BOX_ROOT_H

// The directory that stands for the box's "/": made usable and given what a
// new box has (the recorder script, an empty recordings directory, the
// configuration store's directory), then set as the host's box root.

#include <string>

namespace emulator {

// True when the root is ready and set; otherwise false with the reason in
// `error` ("cannot use DIR as the box root: Permission denied"). What exists
// already (an edited recorder script) is kept.
bool prepareBoxRoot(const std::string &root, std::string &error);

} // namespace emulator

#endif

#ifndef TARNWAVE_EMULATOR_RECORDER_SCRIPT_H
#define TARNWAVE_EMULATOR_RECORDER_SCRIPT_H

// The recorder script that a new box root gets at "/var/script/streamripper_script.sh".

#include <string>

namespace emulator {

inline constexpr const char *recorderScriptPath = "/var/script/streamripper_script.sh";
// Where recordings go: the script's STREAMDIR.
inline constexpr const char *recordingsDir = "/hdd/radio";
// The recorder program as a box path: the script's DAEMON. The emulator links
// it to the streamripper of the PC.
inline constexpr const char *recorderProgram = "/usr/bin/streamripper";

// The script's text. It reads its own STREAMDIR and DAEMON assignments (both
// box paths, under $BOX_ROOT), starts the recorder in the background with
// "start URL", stops it with "stop", and passes the recorder's complaints on
// to "/tmp/.streamdebug".
std::string recorderScriptText();

} // namespace emulator

#endif

#ifndef TARNWAVE_RECORD_RECORDER_H
#define TARNWAVE_RECORD_RECORDER_H

// The recorder control. The plug-in never runs streamripper itself: the
// image's daemon runs the recorder script for it ("start URL" or "stop"), and
// the process table tells whether a recording runs. The script is also the
// recorder's settings file: its STREAMDIR (where recordings go) and DAEMON
// (the recorder program; recording is offered only when it exists).

#include "base/estring.h"

class my_ListBox;

// The recorder script, a box path (mapped through boxPath).
inline constexpr const char *recorderScriptPath = "/var/script/streamripper_script.sh";

// Asks whether to record the station of `row` into `directory` (the script's
// STREAMDIR) and, on yes, has the daemon run the script with "start" and the
// station's address. A directory that does not exist is reported and nothing
// else happens; a station without an address does nothing. The recording flag
// is left to the next checksripper().
void startrecord(my_ListBox *row, eString directory);

// When a recording runs, asks whether to stop it (`fromExit`: the plug-in is
// closing, and the question says that a kept recording goes on in the
// background); on yes, has the daemon run the script with "stop" and clears
// the recording flag at once.
void stoprecord(bool fromExit);

// True while a process named "streamripper" runs. The answer is also kept as
// the recording flag of the image's shared configuration (pConfig), so that
// the flag always mirrors the process table.
bool checksripper();

#endif

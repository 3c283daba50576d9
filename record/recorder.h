#ifndef TARNWAVE_RECORD_RECORDER_H
#define TARNWAVE_RECORD_RECORDER_H

// The recorder control. The plug-in never runs streamripper itself: the
// image's daemon runs the recorder script for it, and the process table tells
// whether a recording runs.

// True while a process named "streamripper" runs. The answer is also kept as
// the recording flag of the image's shared configuration (pConfig), so that
// the flag always mirrors the process table.
bool checksripper();

#endif

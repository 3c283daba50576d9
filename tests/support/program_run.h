#ifndef TARNWAVE_TESTS_SUPPORT_PROGRAM_RUN_H
#define TARNWAVE_TESTS_SUPPORT_PROGRAM_RUN_H

// The built programs (station-server, box-emulator) as children of a test:
// started with their stderr kept, throwing std::runtime_error when they do
// not start, and their ends told as the tests count them.

#include "system/child_process.h"

#include <chrono>
#include <string>
#include <vector>

// `program` running with `arguments`; throws with the reason when it does not start.
boxhost::ChildProcess startProgram(const std::string &program, const std::vector<std::string> &arguments);

// The exit status, 128 + the signal when a signal ended it, or -1 when it had
// to be killed or its end is not known.
int exitStatusOf(const boxhost::ChildExit &end);

// The outcome of a run that is expected to end by itself (bad arguments, --help).
struct ProgramExit
{
    int status = -1; // as exitStatusOf() tells it
    std::string output;
    std::string errors;
};

// Runs `program` to its end: reads its stdout until it closes or `limit`
// passes, then waits up to `exitLimit` for the exit; one still running after
// that is stopped with `grace` and gets the status -1.
ProgramExit runProgramToExit(const std::string &program, const std::vector<std::string> &arguments,
                             std::chrono::milliseconds limit, std::chrono::milliseconds exitLimit,
                             std::chrono::milliseconds grace);

#endif

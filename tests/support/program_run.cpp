#include "support/program_run.h"

#include <optional>
#include <stdexcept>

boxhost::ChildProcess startProgram(const std::string &program, const std::vector<std::string> &arguments)
{
    boxhost::ChildProcess child;
    std::string error;
    if (!child.start(program, arguments, {}, error))
        throw std::runtime_error(error);
    return child;
}

int exitStatusOf(const boxhost::ChildExit &end)
{
    return end.killed ? -1 : end.shellStatus();
}

ProgramExit runProgramToExit(const std::string &program, const std::vector<std::string> &arguments,
                             std::chrono::milliseconds limit, std::chrono::milliseconds exitLimit,
                             std::chrono::milliseconds grace)
{
    boxhost::ChildProcess child = startProgram(program, arguments);
    ProgramExit outcome;
    // Reading to the end also ends when the program ends.
    outcome.output = child.readOutputToEnd(limit);
    // Its stdout closed because it ended, or the time is up: a program still
    // running after that is stopped.
    if (const std::optional<boxhost::ChildExit> end = child.waitForExit(exitLimit))
        outcome.status = exitStatusOf(*end);
    else
        child.stop(grace);
    outcome.errors = child.errors();
    return outcome;
}

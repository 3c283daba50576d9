#ifndef TARNWAVE_EMULATOR_SCRIPT_PLAYER_H
#define TARNWAVE_EMULATOR_SCRIPT_PLAYER_H

// Scripts: a tour of the box played from a file (--script), one step a line:
//
//   # a comment; blank lines are skipped
//   ok                remote keys by name, or "key ok"
//   wait 500          milliseconds
//   settle 3000       until the box is at rest (see settle_state.h), at most
//                     that long (default 5000 ms)
//   shot menu         the composed screen into DIR/menu.png (--shots DIR)
//   text hip hop      typed characters, as from a keyboard
//
// Steps run on the host loop. A step's successor is planned before the step
// runs, so that a key that opens a modal window (which runs a loop of its own
// inside the key press) does not stop the script: the next steps run inside
// that window's loop.

#include "base/ebase.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace emulator {

class ScreenComposer;

struct ScriptStep
{
    enum Kind { key, wait, settle, shot, text };
    Kind kind = key;
    std::string argument; // key name, shot name or text
    long milliseconds = 0; // wait, settle
    int line = 0;
};

// The steps of a script; false with "LINE: reason" in `error` when a line is
// not understood (an unknown key, a bad number, a shot name with a slash).
bool parseScript(const std::string &text, std::vector<ScriptStep> &steps, std::string &error);

class ScriptPlayer : public SigC::Object
{
public:
    // `finished` is called on the loop with 0 when every step ran, 1 when a
    // shot could not be written.
    ScriptPlayer(std::vector<ScriptStep> steps, std::string shotsDir, ScreenComposer &composer,
                 std::function<void(int)> finished);
    ~ScriptPlayer() override;

    void start();

private:
    void runNextStep();
    void planNext(long milliseconds);
    void pollSettled();
    void writeShot(const std::string &name);

    std::vector<ScriptStep> m_steps;
    std::size_t m_next = 0;
    std::string m_shotsDir;
    ScreenComposer &m_composer;
    std::function<void(int)> m_finished;
    int m_status = 0;
    eTimer m_stepTimer;
    eTimer m_settleTimer;
    std::chrono::steady_clock::time_point m_settleDeadline;
    int m_settledInARow = 0;
};

} // namespace emulator

#endif

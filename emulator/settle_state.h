#ifndef TARNWAVE_EMULATOR_SETTLE_STATE_H
#define TARNWAVE_EMULATOR_SETTLE_STATE_H

// Whether the box has come to rest: no HTTP transfer runs, no screen waits to
// be painted, and the loop has no due timer or posted work. Tests, scripts
// ("settle") and the control API (POST /api/settle) wait for it.

namespace emulator {

struct SettleState
{
    int activeTransfers = 0;
    bool damagePending = false; // the OSD or the LCD waits to be painted
    bool loopBusy = false; // a timer is due or work is posted
    bool settled() const { return activeTransfers == 0 && !damagePending && !loopBusy; }
};

// GUI thread only.
SettleState currentSettleState();

} // namespace emulator

#endif

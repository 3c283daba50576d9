#include "settle_state.h"

#include "base/ebase.h"
#include "gui/widgets/escreen.h"
#include "net/ehttpconnection.h"

namespace emulator {

SettleState currentSettleState()
{
    SettleState state;
    state.activeTransfers = eHTTPConnection::activeTransfers();
    state.damagePending = eScreen::osd().hasDamage() || eScreen::lcd().hasDamage();
    state.loopBusy = eApp != nullptr && !eApp->isIdle();
    return state;
}

} // namespace emulator

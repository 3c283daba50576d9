#ifndef TARNWAVE_EMULATOR_SCREEN_COMPOSER_H
#define TARNWAVE_EMULATOR_SCREEN_COMPOSER_H

// The picture a viewer sees: the TV picture of the decoder's state with the
// on-screen display blended over it (straight alpha, source over), 720x576;
// and the front panel's LCD. GUI thread only; other threads get copies.

#include <chrono>
#include <memory>

class gPixmap;

namespace emulator {

class ScreenComposer
{
public:
    ScreenComposer();
    ~ScreenComposer();
    ScreenComposer(const ScreenComposer &) = delete;
    ScreenComposer &operator=(const ScreenComposer &) = delete;

    // Paints pending OSD damage, then the TV picture of now with the OSD over
    // it. The result stays valid until the next call.
    const gPixmap &composeScreen();
    // Paints pending LCD damage; the LCD's picture.
    const gPixmap &composeLcd();
    // Whether the TV picture changes by itself (so viewers must refresh).
    bool tvMoves() const;

private:
    std::unique_ptr<gPixmap> m_screen;
    std::chrono::steady_clock::time_point m_started;
};

} // namespace emulator

#endif

#ifndef TARNWAVE_EMULATOR_TV_PICTURE_H
#define TARNWAVE_EMULATOR_TV_PICTURE_H

// What the TV behind the on-screen display shows, painted from the decoder's
// state: a moving test picture (colour bars, a sweeping marker and a clock)
// while a TV service runs, the same with a crossed-out speaker when its sound
// is taken away, a still "radio" picture, or black.

#include "system/decoder.h"

#include <chrono>

class gPixmap;

namespace emulator {

// Paints `picture` into `target` (the screen's size, every pixel opaque).
// `running` is how long the emulator has run (moves the marker); `clock` is
// the wall time the clock shows.
void paintTvPicture(gPixmap &target, TvPicture picture, std::chrono::milliseconds running,
                    std::chrono::system_clock::time_point clock);

// True when the picture changes with time, so that it must be painted anew.
bool tvPictureMoves(TvPicture picture);

} // namespace emulator

#endif

#ifndef TARNWAVE_HOST_SYSTEM_DECODER_H
#define TARNWAVE_HOST_SYSTEM_DECODER_H

// The box's TV decoder. Plug-ins change what the TV shows behind them by
// writing Decoder::parms and applying it with Decoder::Set(), or by showing the
// still radio picture with showMP3Pic(). There is no tuner here: the emulator
// paints the picture that the decoder state stands for (Decoder::picture()).
//
// At start a TV service runs: video pid 0x0100, audio pid 0x0101, mode 0, so
// the TV shows a moving test picture with sound. An audio pid that is not a
// real pid (0 or below, or 0x1FFE = 8190 and above) takes the sound away while
// the picture stays; a video pid that is not a real pid leaves the screen
// black. showMP3Pic() shows the still radio picture until the next Set().
//
// GUI thread only.

#include "base/signals.h"

// The decoder's parameter record: a record of ints, in this order. Plug-ins
// reach the first, second and sixth field (video pid, audio pid, mode word).
struct decoderParameters
{
    int vpid; // 1st: video pid
    int apid; // 2nd: audio pid; 8190 (0x1FFE) means no sound
    int tpid; // 3rd: teletext pid
    int pcrpid; // 4th: clock reference pid
    int pmtpid; // 5th: program map pid
    int mode; // 6th: mode word (audio type and decoder flags)
};

// What the TV shows now.
enum class TvPicture {
    testPictureWithSound, // a TV service runs with a real video and audio pid
    testPictureMuted, // the same picture, its sound taken away (a mute mark is shown)
    blackScreen, // no real video pid
    radioStill, // the still radio picture of showMP3Pic()
};

// The text for logs and the emulator: "test picture with sound", ...
const char *tvPictureName(TvPicture picture);

struct Decoder
{
    // The parameters that Set() applies.
    static decoderParameters parms;

    // The pid that stands for "none" (8190).
    static constexpr int noPid = 0x1FFE;

    // Applies parms: the TV picture follows the video and audio pid.
    static void Set();

    // What the TV shows, as of the last Set() or showMP3Pic().
    static TvPicture picture();

    // The parameters last applied by Set().
    static decoderParameters applied();

    // Emitted with the new picture whenever it changes.
    static SigC::Signal1<void, TvPicture> &pictureChanged();

    // Puts back the state the box starts with (parms, picture); for the
    // emulator and tests. Emits pictureChanged when the picture changes.
    static void reset();
};

// Shows the still radio picture (the background of radio playback) until the
// next Decoder::Set().
void showMP3Pic();

#endif

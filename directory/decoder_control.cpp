// What the TV decoder does behind the radio (the TV picture without its sound,
// or the still radio picture), and ending playback.

#include "plugin/ctarnwave.h"

#include "base/econfig.h"
#include "media/eservice.h"
#include "system/decoder.h"

namespace {

// "/tarnwave/background": what the TV shows behind the radio.
constexpr int BACKGROUND_TV = 50; // the TV picture, its sound taken away
constexpr int BACKGROUND_PICTURE = 51; // the still radio picture

// The audio pid that takes the TV's sound away and leaves its picture.
constexpr int noSoundPid = 8190;

} // namespace

void Ctarnwave::set_Decoder(int vpid, int apid, int mode)
{
    Decoder::parms.vpid = vpid;
    Decoder::parms.apid = apid;
    Decoder::parms.mode = mode;
    Decoder::Set();
}

void Ctarnwave::set_Background()
{
    int background = BACKGROUND_TV;
    eConfig::getInstance()->getKey("/tarnwave/background", background);

    if (background == BACKGROUND_TV)
        set_Decoder(savedDecoderParms[0], noSoundPid, 0);
    if (background == BACKGROUND_PICTURE)
        showMP3Pic();
    // Any other value leaves the decoder as it is.
}

void Ctarnwave::Stop(bool restore)
{
    lb_status->setText("");

    // The handler belongs to the host: it is only stopped and forgotten.
    if (stream) {
        stream->stop(0);
        stream = nullptr;
    }

    if (restore)
        set_Decoder(savedDecoderParms[0], savedDecoderParms[1], savedDecoderParms[2]);
    else
        set_Background();
}

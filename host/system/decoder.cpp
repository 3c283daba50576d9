#include "system/decoder.h"

#include "base/elog.h"

namespace {

constexpr decoderParameters startParameters{0x0100, 0x0101, 0, 0x0100, 0, 0};

struct DecoderState
{
    decoderParameters applied = startParameters;
    TvPicture picture = TvPicture::testPictureWithSound;
};

DecoderState &state()
{
    static DecoderState instance;
    return instance;
}

bool isRealPid(int pid)
{
    return pid > 0 && pid < Decoder::noPid;
}

void showPicture(TvPicture picture)
{
    DecoderState &current = state();
    if (current.picture == picture)
        return;
    current.picture = picture;
    eDebug("decoder: the TV shows the %s", tvPictureName(picture));
    Decoder::pictureChanged().emit(picture);
}

} // namespace

decoderParameters Decoder::parms = startParameters;

const char *tvPictureName(TvPicture picture)
{
    switch (picture) {
    case TvPicture::testPictureWithSound: return "test picture with sound";
    case TvPicture::testPictureMuted: return "test picture without sound";
    case TvPicture::blackScreen: return "black screen";
    case TvPicture::radioStill: return "radio still picture";
    }
    return "unknown picture";
}

void Decoder::Set()
{
    eDebug("decoder: vpid=0x%x apid=0x%x tpid=0x%x pcrpid=0x%x pmtpid=0x%x mode=%d", parms.vpid, parms.apid, parms.tpid,
           parms.pcrpid, parms.pmtpid, parms.mode);
    state().applied = parms;
    if (!isRealPid(parms.vpid))
        showPicture(TvPicture::blackScreen);
    else if (isRealPid(parms.apid))
        showPicture(TvPicture::testPictureWithSound);
    else
        showPicture(TvPicture::testPictureMuted);
}

TvPicture Decoder::picture()
{
    return state().picture;
}

decoderParameters Decoder::applied()
{
    return state().applied;
}

SigC::Signal1<void, TvPicture> &Decoder::pictureChanged()
{
    static SigC::Signal1<void, TvPicture> signal;
    return signal;
}

void Decoder::reset()
{
    parms = startParameters;
    state().applied = startParameters;
    showPicture(TvPicture::testPictureWithSound);
}

void showMP3Pic()
{
    showPicture(TvPicture::radioStill);
}

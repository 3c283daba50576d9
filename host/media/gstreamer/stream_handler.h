#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_HANDLER_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_HANDLER_H

#include "media/eservice.h"

#include <memory>

namespace boxmedia {

class StreamPlayer;

// The service handler for URL streams (eServiceReference::idStream): plays the
// reference's path with GStreamer, one stream at a time, on the loop eApp.
// A path that ends in blanks or a carriage return (a playlist line read with
// CR-LF line ends) is played without them; blanks inside it are sent
// percent-encoded.
class StreamHandler : public eServiceHandler
{
public:
    StreamHandler();
    ~StreamHandler() override;

    int play(const eServiceReference &ref, int workaround) override;
    int getState() override;
    eString getInfo(int selector) override;
    int stop(int workaround) override;

private:
    std::unique_ptr<StreamPlayer> m_player;
    bool m_startFailed = false; // the last play could not even make a player
};

} // namespace boxmedia

#endif

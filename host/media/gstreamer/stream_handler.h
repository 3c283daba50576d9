#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_HANDLER_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_HANDLER_H

#include "media/eservice.h"
#include "media/gstreamer/reconnect_schedule.h"

#include "base/ebase.h"

#include <memory>
#include <optional>
#include <string>

namespace boxmedia {

class StreamPlayer;

// The service handler for URL streams (eServiceReference::idStream): plays the
// reference's path with GStreamer, one stream at a time, on the loop eApp, as
// eservice.h describes. Only http:, https:, icy: and icyx: addresses are
// played (see stream_address.h). A path that ends in blanks or a carriage
// return (a playlist line read with CR-LF line ends) is played without them;
// blanks inside it are sent percent-encoded.
//
// Each connection is a StreamPlayer. When a live stream that played breaks or
// ends, the handler opens it again with a new player on the times a
// ReconnectSchedule gives, waiting on an eTimer; the window is
// TARNWAVE_RECONNECT_WINDOW seconds (default 300), read at each break.
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
    enum class Status { stopped, running, failed, ended };

    int refuse(const std::string &reason);
    void startAttempt();
    void attemptFinished();
    void planNextAttempt();
    void reopen();
    const char *stateText() const;
    std::string title() const;

    Status m_status = Status::stopped;
    std::string m_address;
    eMainloop *m_loop = nullptr; // the loop the stream was started on
    std::unique_ptr<StreamPlayer> m_player; // the running attempt, or the last one
    std::unique_ptr<eTimer> m_reopenTimer; // waits for the next attempt
    std::optional<ReconnectSchedule> m_reopening; // the attempts since the last break
    boxhost::MonotonicTime m_brokeAt{};
    std::string m_titleBeforeBreak; // shown until the reopened stream announces a title
};

} // namespace boxmedia

#endif

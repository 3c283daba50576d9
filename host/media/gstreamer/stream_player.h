#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_PLAYER_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_PLAYER_H

#include "media/gstreamer/gst_handles.h"

#include "base/ebase.h"

#include <memory>
#include <string>

namespace boxmedia {

// One stream played by a GStreamer playbin, audio only, from the moment it is
// made until it is destroyed. The pipeline's bus is watched by the host main
// loop through its poll descriptor, so every message is handled on the GUI
// thread; GStreamer's own threads never call into the host. A stream that
// fails or ends is shut down and stays so: there are no reconnects.
class StreamPlayer : public SigC::Object
{
public:
    enum class Phase {
        connecting, // started, no sound yet
        playing, // the pipeline plays
        paused, // the pipeline was paused after it played
        ended, // the stream came to its end
        failed, // the stream could not be played or broke down
    };

    // Starts playing `uri` at once; the outcome shows in phase().
    StreamPlayer(eMainloop &loop, std::string uri);
    ~StreamPlayer() override;
    StreamPlayer(const StreamPlayer &) = delete;
    StreamPlayer &operator=(const StreamPlayer &) = delete;

    Phase phase() const { return m_phase; }
    // The last title the stream announced (UTF-8), empty before the first.
    const std::string &title() const { return m_title; }
    const std::string &uri() const { return m_uri; }

private:
    bool build();
    void start();
    void busReady(int events);
    void handleMessage(GstMessage *message);
    void handleError(GstMessage *message);
    void handleTags(GstMessage *message);
    void handleStateChange(GstMessage *message);
    void fail(const std::string &reason);
    void shutDown();

    // playbin's "source-setup": runs on whichever thread makes the source and
    // only sets the source's properties.
    static void setupSource(GstElement *playbin, GstElement *source, gpointer player);

    eMainloop &m_loop;
    const std::string m_uri;
    const std::string m_userAgent;
    GstElementHandle m_pipeline;
    GstBusHandle m_bus;
    std::unique_ptr<eSocketNotifier> m_busWatch;
    Phase m_phase = Phase::connecting;
    std::string m_title;
};

} // namespace boxmedia

#endif

#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_PLAYER_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_STREAM_PLAYER_H

#include "media/gstreamer/gst_handles.h"

#include "base/ebase.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace boxmedia {

// One attempt at one stream, played by a GStreamer playbin, audio only, from
// start() until it ends, fails or the player is destroyed. The pipeline's bus
// is watched by the host main loop through its poll descriptor, so every
// message is handled on the GUI thread; GStreamer's own threads never call
// into the host. A stream that fails or ends is shut down and stays so:
// reopening it is up to the owner, with a new player.
//
// The stream plays as soon as the pipeline has prerolled, as a bare playbin
// does: waiting for GStreamer's network buffer to report 100 % would cost up
// to its whole length at every start, because servers send a burst on
// connecting that fools its rate estimate. Whether sound flows is judged at
// the audio sink instead: a playing stream whose sink has had no sound for
// soundGap is "buffering" until sound comes again.
class StreamPlayer : public SigC::Object
{
public:
    // How long the sink may go without sound before the stream counts as
    // buffering; several times what a sink gets at once.
    static constexpr std::chrono::milliseconds soundGap{700};

    enum class Phase {
        connecting, // started, nothing prerolled yet
        buffering, // prerolled but not playing yet, or playing without sound reaching the sink
        playing, // the pipeline plays and sound reaches the sink
        ended, // the stream came to its end
        failed, // the stream could not be played or broke down; see failureReason()
    };

    // Plays nothing until start().
    StreamPlayer(eMainloop &loop, std::string uri);
    ~StreamPlayer() override;
    StreamPlayer(const StreamPlayer &) = delete;
    StreamPlayer &operator=(const StreamPlayer &) = delete;

    // Starts playing the stream; the outcome shows in phase() and, when the
    // stream ends or fails (perhaps before start returns), in `finished`.
    void start();

    Phase phase() const;
    // Whether the pipeline played at some time.
    bool hasPlayed() const { return m_hasPlayed; }
    // Whether the server gave the length of what it sent (a file rather than
    // a live stream); known once the stream ended.
    bool hadKnownLength() const { return m_hadKnownLength; }
    // Why the stream failed, empty unless it did.
    const std::string &failureReason() const { return m_failureReason; }
    // The last title the stream announced (UTF-8), empty before the first.
    const std::string &title() const { return m_title; }
    const std::string &uri() const { return m_uri; }

    // Emitted once, when the stream ended or failed, after the pipeline was
    // shut down. A slot must not destroy the player.
    SigC::Signal0<void> finished;

private:
    enum class Outcome { running, ended, failed };

    bool build();
    void startPipeline();
    void busReady(int events);
    void handleMessage(GstMessage *message);
    void handleError(GstMessage *message);
    void handleEnd();
    void handleTags(GstMessage *message);
    void handleStateChange(GstMessage *message);
    void watchSound(GstElement *audioSink);
    bool soundFlows() const;
    bool sourceKnowsLength() const;
    void fail(const std::string &reason);
    void finish(Outcome outcome);
    void shutDown();

    // playbin's "source-setup": runs on whichever thread makes the source and
    // only sets the source's properties.
    static void setupSource(GstElement *playbin, GstElement *source, gpointer player);
    // A probe on the audio sink's input, on GStreamer's streaming thread: notes
    // when sound last arrived.
    static GstPadProbeReturn soundArrived(GstPad *pad, GstPadProbeInfo *info, gpointer player);

    eMainloop &m_loop;
    const std::string m_uri;
    const std::string m_userAgent;
    GstElementHandle m_pipeline;
    GstBusHandle m_bus;
    std::unique_ptr<eSocketNotifier> m_busWatch;
    Outcome m_outcome = Outcome::running;
    bool m_prerolled = false; // the pipeline reached PAUSED
    bool m_pipelinePlays = false; // the pipeline is in PLAYING now
    GstPad *m_soundPad = nullptr; // the audio sink's input, watched by soundArrived
    gulong m_soundProbe = 0;
    std::atomic<std::int64_t> m_lastSoundAt{0}; // boxhost::monotonicNow() in ns; written by the streaming thread
    bool m_hasPlayed = false;
    bool m_hadKnownLength = false;
    std::string m_failureReason;
    std::string m_title;
};

} // namespace boxmedia

#endif

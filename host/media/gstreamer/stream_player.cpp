#include "media/gstreamer/stream_player.h"

#include "media/gstreamer/audio_sink.h"
#include "media/gstreamer/gst_runtime.h"
#include "media/gstreamer/title_text.h"

#include "base/elog.h"
#include "system/putils.h"

namespace boxmedia {
namespace {

// Seconds without data after which the source gives up, as the HTTP client does.
constexpr guint stallTimeoutSeconds = 30;

// How much sound GStreamer's network buffer holds at most: enough to ride
// out a short hiccup, little enough for a box's memory.
constexpr gint64 networkBufferNanoseconds = GST_SECOND;

bool hasProperty(GstElement *element, const char *name)
{
    return g_object_class_find_property(G_OBJECT_GET_CLASS(element), name) != nullptr;
}

} // namespace

StreamPlayer::StreamPlayer(eMainloop &loop, std::string uri)
    : m_loop(loop), m_uri(std::move(uri)), m_userAgent(pUtils::pUserAgent())
{
}

StreamPlayer::~StreamPlayer()
{
    shutDown();
    if (m_soundPad) {
        gst_pad_remove_probe(m_soundPad, m_soundProbe);
        gst_object_unref(m_soundPad);
    }
    if (m_pipeline)
        g_signal_handlers_disconnect_by_data(m_pipeline.get(), this);
}

void StreamPlayer::start()
{
    if (build())
        startPipeline();
}

StreamPlayer::Phase StreamPlayer::phase() const
{
    if (m_outcome == Outcome::ended)
        return Phase::ended;
    if (m_outcome == Outcome::failed)
        return Phase::failed;
    if (m_pipelinePlays)
        return soundFlows() ? Phase::playing : Phase::buffering;
    return m_prerolled ? Phase::buffering : Phase::connecting;
}

bool StreamPlayer::soundFlows() const
{
    const std::int64_t last = m_lastSoundAt.load(std::memory_order_relaxed);
    return last != 0 && boxhost::monotonicNow().count() - last < std::chrono::nanoseconds(soundGap).count();
}

bool StreamPlayer::build()
{
    if (!ensureGstreamer()) {
        fail("GStreamer is not available");
        return false;
    }
    if (gst_uri_is_valid(m_uri.c_str()) == FALSE) {
        fail("not a valid address");
        return false;
    }
    m_pipeline = adoptElement(gst_element_factory_make("playbin", nullptr));
    if (!m_pipeline) {
        fail("GStreamer has no playbin");
        return false;
    }
    GstElementHandle audioSink = makeAudioSink();
    if (!audioSink) {
        fail("no audio sink");
        return false;
    }

    watchSound(audioSink.get());
    GObject *playbin = G_OBJECT(m_pipeline.get());
    g_object_set(playbin, "uri", m_uri.c_str(), "audio-sink", audioSink.get(), "buffer-duration",
                 networkBufferNanoseconds, nullptr);
    gst_util_set_object_arg(playbin, "flags", "audio+soft-volume"); // sound only, no video or subtitles
    g_signal_connect(playbin, "source-setup", G_CALLBACK(&StreamPlayer::setupSource), this);

    m_bus.reset(gst_element_get_bus(m_pipeline.get()));
    GPollFD busDescriptor = {};
    gst_bus_get_pollfd(m_bus.get(), &busDescriptor);
    m_busWatch = std::make_unique<eSocketNotifier>(&m_loop, busDescriptor.fd, eSocketNotifier::Read);
    CONNECT(m_busWatch->activated, StreamPlayer::busReady);
    return true;
}

void StreamPlayer::watchSound(GstElement *audioSink)
{
    m_soundPad = gst_element_get_static_pad(audioSink, "sink");
    if (m_soundPad)
        m_soundProbe = gst_pad_add_probe(
            m_soundPad, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
            &StreamPlayer::soundArrived, this, nullptr);
    else
        eWarning("media: the audio sink has no input to watch; the stream always counts as playing");
}

GstPadProbeReturn StreamPlayer::soundArrived(GstPad *, GstPadProbeInfo *, gpointer player)
{
    static_cast<StreamPlayer *>(player)->m_lastSoundAt.store(boxhost::monotonicNow().count(),
                                                             std::memory_order_relaxed);
    return GST_PAD_PROBE_OK;
}

// Plays as soon as the pipeline has prerolled.
void StreamPlayer::startPipeline()
{
    eDebug("media: playing %s", m_uri.c_str());
    const GstStateChangeReturn change = gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
    if (change == GST_STATE_CHANGE_FAILURE) {
        busReady(0); // the error message that says why, if one was posted
        fail("the pipeline does not start");
    }
}

void StreamPlayer::setupSource(GstElement *, GstElement *source, gpointer player)
{
    const auto *self = static_cast<const StreamPlayer *>(player);
    if (hasProperty(source, "iradio-mode"))
        g_object_set(source, "iradio-mode", TRUE, nullptr); // ask for ICY titles
    if (hasProperty(source, "automatic-redirect"))
        g_object_set(source, "automatic-redirect", TRUE, nullptr); // stations move
    if (hasProperty(source, "user-agent"))
        g_object_set(source, "user-agent", self->m_userAgent.c_str(), nullptr);
    if (hasProperty(source, "retries"))
        g_object_set(source, "retries", 0, nullptr); // the stream handler reopens a broken stream on its own schedule
    if (hasProperty(source, "timeout"))
        g_object_set(source, "timeout", stallTimeoutSeconds, nullptr);
}

void StreamPlayer::busReady(int)
{
    if (!m_bus)
        return;
    while (m_outcome == Outcome::running) {
        const GstMessageHandle message{gst_bus_pop(m_bus.get())};
        if (!message)
            break;
        handleMessage(message.get());
    }
}

void StreamPlayer::handleMessage(GstMessage *message)
{
    switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ERROR: handleError(message); break;
    case GST_MESSAGE_EOS: handleEnd(); break;
    case GST_MESSAGE_TAG: handleTags(message); break;
    case GST_MESSAGE_STATE_CHANGED: handleStateChange(message); break;
    case GST_MESSAGE_WARNING: {
        GError *rawError = nullptr;
        gst_message_parse_warning(message, &rawError, nullptr);
        const GErrorHandle warning(rawError);
        eDebug("media: %s: %s", GST_OBJECT_NAME(GST_MESSAGE_SRC(message)), warning ? warning->message : "");
        break;
    }
    default: break;
    }
}

void StreamPlayer::handleError(GstMessage *message)
{
    GError *rawError = nullptr;
    gchar *rawDetails = nullptr;
    gst_message_parse_error(message, &rawError, &rawDetails);
    const GErrorHandle error(rawError);
    const GStringHandle details(rawDetails);
    eDebug("media: error details: %s", details ? details.get() : "none");
    if (!error) {
        fail("unknown error");
        return;
    }
    // GStreamer words these as a missing plug-in; for a station it means the
    // address serves something else than audio (a web page, for instance).
    const bool notPlayable =
        (error->domain == GST_CORE_ERROR && error->code == GST_CORE_ERROR_MISSING_PLUGIN)
        || (error->domain == GST_STREAM_ERROR
            && (error->code == GST_STREAM_ERROR_CODEC_NOT_FOUND || error->code == GST_STREAM_ERROR_TYPE_NOT_FOUND
                || error->code == GST_STREAM_ERROR_WRONG_TYPE));
    fail(notPlayable ? std::string("no audio that can be played (") + error->message + ")" : error->message);
}

void StreamPlayer::handleEnd()
{
    m_hadKnownLength = sourceKnowsLength();
    eDebug("media: stream %s ended (%s)", m_uri.c_str(), m_hadKnownLength ? "its length was known" : "live");
    finish(Outcome::ended);
}

void StreamPlayer::handleTags(GstMessage *message)
{
    GstTagList *tags = nullptr;
    gst_message_parse_tag(message, &tags);
    gchar *rawTitle = nullptr;
    if (tags != nullptr && gst_tag_list_get_string(tags, GST_TAG_TITLE, &rawTitle) != FALSE) {
        const GStringHandle title(rawTitle);
        std::string text = titleAsUtf8(title.get());
        if (m_title != text) {
            m_title = std::move(text);
            eDebug("media: title \"%s\"", m_title.c_str());
        }
    }
    if (tags != nullptr)
        gst_tag_list_unref(tags);
}

void StreamPlayer::handleStateChange(GstMessage *message)
{
    if (GST_MESSAGE_SRC(message) != GST_OBJECT(m_pipeline.get()))
        return;
    GstState oldState = GST_STATE_VOID_PENDING;
    GstState newState = GST_STATE_VOID_PENDING;
    gst_message_parse_state_changed(message, &oldState, &newState, nullptr);
    m_prerolled = m_prerolled || newState == GST_STATE_PAUSED || newState == GST_STATE_PLAYING;
    m_pipelinePlays = newState == GST_STATE_PLAYING;
    if (m_pipelinePlays && !m_hasPlayed)
        eDebug("media: stream %s plays", m_uri.c_str());
    m_hasPlayed = m_hasPlayed || m_pipelinePlays;
}

// Whether the source knows how many bytes the stream has: the server gave
// its length, which a live stream has not.
bool StreamPlayer::sourceKnowsLength() const
{
    GstElement *rawSource = nullptr;
    g_object_get(m_pipeline.get(), "source", &rawSource, nullptr);
    const GstElementHandle source(rawSource);
    gint64 bytes = -1;
    return source && gst_element_query_duration(source.get(), GST_FORMAT_BYTES, &bytes) != FALSE && bytes > 0;
}

void StreamPlayer::fail(const std::string &reason)
{
    if (m_outcome != Outcome::running)
        return;
    eDebug("media: stream %s failed: %s", m_uri.c_str(), reason.c_str());
    m_failureReason = reason;
    finish(Outcome::failed);
}

void StreamPlayer::finish(Outcome outcome)
{
    m_outcome = outcome;
    shutDown();
    finished.emit();
}

void StreamPlayer::shutDown()
{
    if (m_busWatch)
        m_busWatch->stop();
    if (m_pipeline)
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL); // waits for GStreamer's threads to stop
}

} // namespace boxmedia

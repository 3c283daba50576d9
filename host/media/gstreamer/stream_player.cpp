#include "media/gstreamer/stream_player.h"

#include "media/gstreamer/audio_sink.h"
#include "media/gstreamer/gst_runtime.h"

#include "base/elog.h"
#include "system/putils.h"

namespace boxmedia {
namespace {

// Seconds without data after which the source gives up, as the HTTP client does.
constexpr guint stallTimeoutSeconds = 30;

bool hasProperty(GstElement *element, const char *name)
{
    return g_object_class_find_property(G_OBJECT_GET_CLASS(element), name) != nullptr;
}

} // namespace

StreamPlayer::StreamPlayer(eMainloop &loop, std::string uri)
    : m_loop(loop), m_uri(std::move(uri)), m_userAgent(pUtils::pUserAgent())
{
    if (build())
        start();
}

StreamPlayer::~StreamPlayer()
{
    shutDown();
    if (m_pipeline)
        g_signal_handlers_disconnect_by_data(m_pipeline.get(), this);
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

    GObject *playbin = G_OBJECT(m_pipeline.get());
    g_object_set(playbin, "uri", m_uri.c_str(), "audio-sink", audioSink.get(), nullptr);
    gst_util_set_object_arg(playbin, "flags", "audio+soft-volume"); // sound only, no video or subtitles
    g_signal_connect(playbin, "source-setup", G_CALLBACK(&StreamPlayer::setupSource), this);

    m_bus.reset(gst_element_get_bus(m_pipeline.get()));
    GPollFD busDescriptor = {};
    gst_bus_get_pollfd(m_bus.get(), &busDescriptor);
    m_busWatch = std::make_unique<eSocketNotifier>(&m_loop, busDescriptor.fd, eSocketNotifier::Read);
    CONNECT(m_busWatch->activated, StreamPlayer::busReady);
    return true;
}

void StreamPlayer::start()
{
    eDebug("media: playing %s", m_uri.c_str());
    if (gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        busReady(0); // the error message that says why, if one was posted
        fail("the pipeline does not start");
    }
}

void StreamPlayer::setupSource(GstElement *, GstElement *source, gpointer player)
{
    const auto *self = static_cast<const StreamPlayer *>(player);
    if (hasProperty(source, "iradio-mode"))
        g_object_set(source, "iradio-mode", TRUE, nullptr); // ask for ICY titles
    if (hasProperty(source, "user-agent"))
        g_object_set(source, "user-agent", self->m_userAgent.c_str(), nullptr);
    if (hasProperty(source, "retries"))
        g_object_set(source, "retries", 0, nullptr); // a stream that dies stays dead
    if (hasProperty(source, "timeout"))
        g_object_set(source, "timeout", stallTimeoutSeconds, nullptr);
}

void StreamPlayer::busReady(int)
{
    if (!m_bus)
        return;
    while (GstMessageHandle message{gst_bus_pop(m_bus.get())})
        handleMessage(message.get());
}

void StreamPlayer::handleMessage(GstMessage *message)
{
    switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ERROR: handleError(message); break;
    case GST_MESSAGE_EOS:
        if (m_phase != Phase::failed) {
            eDebug("media: stream %s ended", m_uri.c_str());
            m_phase = Phase::ended;
            shutDown();
        }
        break;
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

void StreamPlayer::handleTags(GstMessage *message)
{
    GstTagList *tags = nullptr;
    gst_message_parse_tag(message, &tags);
    gchar *rawTitle = nullptr;
    if (tags != nullptr && gst_tag_list_get_string(tags, GST_TAG_TITLE, &rawTitle) != FALSE) {
        const GStringHandle title(rawTitle);
        if (m_title != title.get()) {
            m_title = title.get();
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
    if (m_phase == Phase::ended || m_phase == Phase::failed)
        return;
    if (newState == GST_STATE_PLAYING) {
        if (m_phase != Phase::playing)
            eDebug("media: stream %s plays", m_uri.c_str());
        m_phase = Phase::playing;
    } else if (newState == GST_STATE_PAUSED && m_phase == Phase::playing) {
        m_phase = Phase::paused;
    }
}

void StreamPlayer::fail(const std::string &reason)
{
    if (m_phase == Phase::failed)
        return;
    eWarning("media: stream %s failed: %s", m_uri.c_str(), reason.c_str());
    m_phase = Phase::failed;
    shutDown();
}

void StreamPlayer::shutDown()
{
    if (m_busWatch)
        m_busWatch->stop();
    if (m_pipeline)
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL); // waits for GStreamer's threads to stop
}

} // namespace boxmedia

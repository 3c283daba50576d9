#include "media/gstreamer/audio_sink.h"

#include "base/elog.h"

#include <cstdlib>

namespace boxmedia {
namespace {

constexpr const char *defaultSink = "autoaudiosink";
constexpr const char *silentSink = "fakesink sync=true";

// The configured sink that was found unusable; it is not tried again.
std::string &rejectedSink()
{
    static std::string description;
    return description;
}

GstElementHandle parseSink(const std::string &description, std::string &problem)
{
    GError *rawError = nullptr;
    GstElementHandle sink = adoptElement(gst_parse_bin_from_description(description.c_str(), TRUE, &rawError));
    const GErrorHandle error(rawError);
    if (error) {
        problem = error->message;
        return {};
    }
    if (!sink)
        problem = "no element";
    return sink;
}

std::string factoryNameOf(GstElement *element)
{
    GstElementFactory *factory = element != nullptr ? gst_element_get_factory(element) : nullptr;
    const gchar *name = factory != nullptr ? gst_plugin_feature_get_name(GST_PLUGIN_FEATURE(factory)) : nullptr;
    return name != nullptr ? name : "";
}

// An automatic sink (autoaudiosink) that found no device drops the sound into
// a fake sink of its own instead of failing.
bool replacedByFakeSink(GstElement *sink)
{
    if (!GST_IS_BIN(sink))
        return false;
    bool replaced = false;
    GstIterator *children = gst_bin_iterate_recurse(GST_BIN(sink));
    GValue item = G_VALUE_INIT;
    while (gst_iterator_next(children, &item) == GST_ITERATOR_OK) {
        auto *element = static_cast<GstElement *>(g_value_get_object(&item));
        GstObject *parent = gst_object_get_parent(GST_OBJECT(element));
        if (factoryNameOf(element) == "fakesink" && parent != nullptr && GST_IS_ELEMENT(parent)
            && factoryNameOf(GST_ELEMENT(parent)).starts_with("auto"))
            replaced = true;
        if (parent != nullptr)
            gst_object_unref(parent);
        g_value_reset(&item);
    }
    g_value_unset(&item);
    gst_iterator_free(children);
    return replaced;
}

// Opens the sink's device once (state READY) and closes it again.
bool opensDevice(GstElement *sink, std::string &problem)
{
    const bool opened = gst_element_set_state(sink, GST_STATE_READY) != GST_STATE_CHANGE_FAILURE;
    const bool silent = opened && replacedByFakeSink(sink);
    gst_element_set_state(sink, GST_STATE_NULL);
    if (!opened)
        problem = "it cannot open its audio device";
    else if (silent)
        problem = "no audio device was found";
    return opened && !silent;
}

} // namespace

std::string configuredAudioSink()
{
    const char *fromEnvironment = std::getenv("TARNWAVE_AUDIO_SINK");
    return fromEnvironment != nullptr && *fromEnvironment != '\0' ? fromEnvironment : defaultSink;
}

GstElementHandle makeAudioSink()
{
    const std::string description = configuredAudioSink();
    if (description != rejectedSink()) {
        std::string problem;
        GstElementHandle sink = parseSink(description, problem);
        if (sink && opensDevice(sink.get(), problem))
            return sink;
        rejectedSink() = description;
        eWarning("media: audio sink \"%s\" is not usable (%s); playing without sound", description.c_str(),
                 problem.c_str());
    }
    std::string problem;
    GstElementHandle silent = parseSink(silentSink, problem);
    if (!silent)
        eError("media: cannot make the silent audio sink: %s", problem.c_str());
    return silent;
}

} // namespace boxmedia

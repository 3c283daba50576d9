#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_GST_HANDLES_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_GST_HANDLES_H

// Owning handles for the GStreamer and GLib objects the media library holds.

#include <gst/gst.h>

#include <memory>

namespace boxmedia {

struct GstObjectRelease
{
    void operator()(void *object) const { gst_object_unref(object); }
};
struct GstMessageRelease
{
    void operator()(GstMessage *message) const { gst_message_unref(message); }
};
struct GErrorRelease
{
    void operator()(GError *error) const { g_error_free(error); }
};
struct GMemoryRelease
{
    void operator()(void *memory) const { g_free(memory); }
};

using GstElementHandle = std::unique_ptr<GstElement, GstObjectRelease>;
using GstBusHandle = std::unique_ptr<GstBus, GstObjectRelease>;
using GstMessageHandle = std::unique_ptr<GstMessage, GstMessageRelease>;
using GErrorHandle = std::unique_ptr<GError, GErrorRelease>;
using GStringHandle = std::unique_ptr<gchar, GMemoryRelease>;

// Takes ownership of a newly made element, floating or not.
inline GstElementHandle adoptElement(GstElement *element)
{
    if (element != nullptr)
        gst_object_ref_sink(element);
    return GstElementHandle(element);
}

} // namespace boxmedia

#endif

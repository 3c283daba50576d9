#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_GST_RUNTIME_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_GST_RUNTIME_H

namespace boxmedia {

// Initialises GStreamer once per process, on first use; later calls return the
// first outcome. False (with one warning) when GStreamer cannot start.
bool ensureGstreamer();

} // namespace boxmedia

#endif

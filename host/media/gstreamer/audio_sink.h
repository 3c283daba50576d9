#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_AUDIO_SINK_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_AUDIO_SINK_H

#include "media/gstreamer/gst_handles.h"

#include <string>

namespace boxmedia {

// The description of the audio sink in use: the environment variable
// TARNWAVE_AUDIO_SINK (a gst-launch description such as "autoaudiosink",
// "fakesink sync=true" or "audioconvert ! wavenc ! filesink location=x.wav"),
// "autoaudiosink" when it is unset or empty.
std::string configuredAudioSink();

// The sink that plays a stream's sound. The configured sink is tried first:
// when it cannot be made, cannot open its device, or finds no device and would
// drop the sound silently itself, a "fakesink sync=true" takes its place and
// one warning says so; that sink is then used for the rest of the process (as
// long as the configuration stays the same), without further warnings.
// Null only when not even the silent sink can be made.
GstElementHandle makeAudioSink();

} // namespace boxmedia

#endif

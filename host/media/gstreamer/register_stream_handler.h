#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_REGISTER_STREAM_HANDLER_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_REGISTER_STREAM_HANDLER_H

// The media library's entry points. Loading libboxhost_media.so registers its
// stream handler for URL streams (type 4096) with eServiceInterface by itself;
// a program that links the library can also call registerStreamHandler(), and
// registering twice is harmless. GUI thread only.

namespace boxmedia {

void registerStreamHandler();
// Stops what the handler plays and takes it out of the registry.
void unregisterStreamHandler();

} // namespace boxmedia

#endif

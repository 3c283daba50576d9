#include "media/gstreamer/register_stream_handler.h"

#include "media/gstreamer/stream_handler.h"

namespace boxmedia {
namespace {

StreamHandler &streamHandler()
{
    static StreamHandler handler;
    return handler;
}

// Registers the handler while the library is loaded.
struct LoadTimeRegistration
{
    LoadTimeRegistration() { registerStreamHandler(); }
    ~LoadTimeRegistration() { unregisterStreamHandler(); }
    LoadTimeRegistration(const LoadTimeRegistration &) = delete;
    LoadTimeRegistration &operator=(const LoadTimeRegistration &) = delete;
};

const LoadTimeRegistration loadTimeRegistration;

} // namespace

void registerStreamHandler()
{
    eServiceInterface::getInstance()->registerHandler(eServiceReference::idStream, &streamHandler());
}

void unregisterStreamHandler()
{
    streamHandler().stop(0);
    eServiceInterface::getInstance()->unregisterHandler(eServiceReference::idStream, &streamHandler());
}

} // namespace boxmedia

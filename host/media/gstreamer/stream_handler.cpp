#include "media/gstreamer/stream_handler.h"

#include "media/gstreamer/stream_address.h"
#include "media/gstreamer/stream_player.h"

#include "base/ebase.h"
#include "base/elog.h"

#include <libintl.h>

#include <clocale>

namespace boxmedia {
namespace {

eString translated(const char *text)
{
    return dcgettext(nullptr, text, LC_MESSAGES);
}

} // namespace

StreamHandler::StreamHandler() = default;
StreamHandler::~StreamHandler() = default;

int StreamHandler::play(const eServiceReference &ref, int)
{
    stop(0);
    if (ref.type != eServiceReference::idStream) {
        eWarning("media: the stream handler cannot play references of type %d", ref.type);
        m_startFailed = true;
        return -1;
    }
    if (eApp == nullptr) {
        eWarning("media: no main loop to play %s on", ref.path.c_str());
        m_startFailed = true;
        return -1;
    }
    m_player = std::make_unique<StreamPlayer>(*eApp, streamAddress(ref.path));
    return m_player->phase() == StreamPlayer::Phase::failed ? -1 : 0;
}

int StreamHandler::getState()
{
    if (!m_player)
        return m_startFailed ? stateFailed : stateStopped;
    switch (m_player->phase()) {
    case StreamPlayer::Phase::connecting:
    case StreamPlayer::Phase::playing:
    case StreamPlayer::Phase::paused: return stateRunning;
    case StreamPlayer::Phase::ended: return stateEnded;
    case StreamPlayer::Phase::failed: return stateFailed;
    }
    return stateFailed;
}

eString StreamHandler::getInfo(int selector)
{
    switch (selector) {
    case infoStateText:
        return translated(m_player && m_player->phase() == StreamPlayer::Phase::playing ? "playing..." : "paused...");
    case infoTitle: return m_player ? eString(m_player->title()) : eString();
    default: return {};
    }
}

int StreamHandler::stop(int)
{
    if (m_player)
        eDebug("media: stopping %s", m_player->uri().c_str());
    m_player.reset();
    m_startFailed = false;
    return 0;
}

} // namespace boxmedia

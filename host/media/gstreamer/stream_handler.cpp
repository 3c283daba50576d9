#include "media/gstreamer/stream_handler.h"

#include "media/gstreamer/stream_address.h"
#include "media/gstreamer/stream_player.h"

#include "base/elog.h"
#include "base/messages.h"

namespace boxmedia {
namespace {

// What went wrong with an attempt that did not play on.
std::string outcomeOf(const StreamPlayer &player)
{
    if (player.phase() == StreamPlayer::Phase::ended)
        return "the stream ended";
    return player.failureReason();
}

} // namespace

StreamHandler::StreamHandler() = default;
StreamHandler::~StreamHandler() = default;

int StreamHandler::play(const eServiceReference &ref, int)
{
    stop(0);
    if (ref.type != eServiceReference::idStream)
        return refuse("the stream handler cannot play references of type " + std::to_string(ref.type));
    if (eApp == nullptr)
        return refuse("no main loop to play " + ref.path + " on");
    std::string address = streamAddress(ref.path);
    if (const auto reason = refusalReason(address))
        return refuse("not playing \"" + ref.path + "\": " + *reason);

    m_address = std::move(address);
    m_loop = eApp;
    m_reopenTimer = std::make_unique<eTimer>(m_loop);
    CONNECT(m_reopenTimer->timeout, StreamHandler::reopen);
    m_status = Status::running;
    startAttempt();
    return m_status == Status::failed ? -1 : 0;
}

int StreamHandler::getState()
{
    switch (m_status) {
    case Status::stopped: return stateStopped;
    case Status::running: return stateRunning;
    case Status::ended: return stateEnded;
    case Status::failed: return stateFailed;
    }
    return stateFailed;
}

eString StreamHandler::getInfo(int selector)
{
    switch (selector) {
    case infoStateText: {
        const char *text = stateText();
        return text != nullptr ? translated(text) : eString();
    }
    case infoTitle: return title();
    default: return {};
    }
}

int StreamHandler::stop(int)
{
    if (m_status != Status::stopped)
        eDebug("media: stopping %s", m_address.c_str());
    m_reopenTimer.reset();
    m_player.reset();
    m_reopening.reset();
    m_titleBeforeBreak.clear();
    m_address.clear();
    m_status = Status::stopped;
    return 0;
}

int StreamHandler::refuse(const std::string &reason)
{
    eWarning("media: %s", reason.c_str());
    m_status = Status::failed;
    return -1;
}

void StreamHandler::startAttempt()
{
    m_player = std::make_unique<StreamPlayer>(*m_loop, m_address);
    CONNECT(m_player->finished, StreamHandler::attemptFinished);
    m_player->start();
}

// Runs inside the player's own message handling: it may plan, never destroy the player.
void StreamHandler::attemptFinished()
{
    const StreamPlayer &player = *m_player;
    if (player.phase() == StreamPlayer::Phase::ended && player.hadKnownLength()) {
        eDebug("media: %s played to its end", m_address.c_str());
        m_status = Status::ended;
        m_reopening.reset();
    } else if (player.hasPlayed()) {
        eDebug("media: stream %s broke (%s); opening it again", m_address.c_str(), outcomeOf(player).c_str());
        m_reopening.emplace(configuredReconnectWindow());
        m_brokeAt = boxhost::monotonicNow();
        planNextAttempt();
    } else if (m_reopening) {
        eDebug("media: stream %s did not open again: %s", m_address.c_str(), outcomeOf(player).c_str());
        planNextAttempt();
    } else {
        eWarning("media: stream %s failed: %s", m_address.c_str(), outcomeOf(player).c_str());
        m_status = Status::failed;
    }
}

void StreamHandler::planNextAttempt()
{
    const auto sinceBreak = std::chrono::duration_cast<std::chrono::milliseconds>(boxhost::monotonicNow() - m_brokeAt);
    if (const auto delay = m_reopening->nextDelay(sinceBreak)) {
        eDebug("media: opening %s again in %lld ms", m_address.c_str(), static_cast<long long>(delay->count()));
        m_reopenTimer->start(static_cast<long>(delay->count()), true);
        return;
    }
    eWarning("media: giving up on stream %s: it did not play again within %lld s after it broke (%s)",
             m_address.c_str(), static_cast<long long>(m_reopening->window().count()), outcomeOf(*m_player).c_str());
    m_status = Status::failed;
    m_reopening.reset();
}

void StreamHandler::reopen()
{
    if (!m_player->title().empty())
        m_titleBeforeBreak = m_player->title();
    startAttempt();
}

const char *StreamHandler::stateText() const
{
    if (m_status != Status::running)
        return nullptr;
    if (m_reopenTimer->isActive())
        return "connecting...";
    switch (m_player->phase()) {
    case StreamPlayer::Phase::buffering: return "buffering...";
    case StreamPlayer::Phase::playing: return "playing...";
    case StreamPlayer::Phase::connecting:
    case StreamPlayer::Phase::ended:
    case StreamPlayer::Phase::failed: break;
    }
    return "connecting...";
}

std::string StreamHandler::title() const
{
    if (m_player && !m_player->title().empty())
        return m_player->title();
    return m_titleBeforeBreak;
}

} // namespace boxmedia

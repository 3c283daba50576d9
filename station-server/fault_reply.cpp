#include "fault_reply.h"

#include "playlist.h"

#include <algorithm>
#include <chrono>

namespace station {
namespace {

constexpr std::chrono::milliseconds trickleInterval(100);
constexpr std::chrono::milliseconds closeCheckInterval(100);
// How much of a live stream "truncated" lets through before closing.
constexpr std::size_t truncatedLiveBytes = 16 * 1024;

void sendStatusOnly(Connection &connection, int status)
{
    Reply reply;
    reply.status = status;
    reply.contentType = "text/plain; charset=utf-8";
    reply.body = std::to_string(status) + " " + std::string(reasonPhrase(status)) + "\n";
    connection.takeOver(status);
    connection.sendAll(replyHead(reply, reply.body.size()) + reply.body);
}

std::optional<std::size_t> statedLength(const Reply &real)
{
    if (real.live)
        return std::nullopt;
    return real.body.size();
}

// Waits until the client closes, the server stops or `limit` (if any) passes.
void waitForClientToLeave(Connection &connection, std::optional<std::chrono::milliseconds> limit = std::nullopt)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = limit ? Clock::now() + *limit : Clock::time_point::max();
    while (!connection.stopFlag().waitFor(closeCheckInterval)) {
        if (connection.clientHasClosed() || Clock::now() >= deadline)
            return;
    }
}

void sendTruncated(Connection &connection, const Reply &real)
{
    connection.takeOver(real.status);
    if (real.live) {
        connection.sendAll(replyHead(real, std::nullopt)
                           + real.body.substr(0, std::min(real.body.size(), truncatedLiveBytes)));
        return;
    }
    // At least one promised byte is missing, even from an empty body.
    const std::size_t promised = std::max<std::size_t>(real.body.size(), 1);
    connection.sendAll(replyHead(real, promised) + real.body.substr(0, real.body.size() / 2));
}

void sendTrickling(Connection &connection, const Reply &real)
{
    connection.takeOver(real.status);
    if (!connection.sendAll(replyHead(real, statedLength(real))))
        return;
    for (const char byte : real.body) {
        if (connection.stopFlag().waitFor(trickleInterval) || !connection.sendAll(std::string_view(&byte, 1)))
            return;
    }
}

void sendWhole(Connection &connection, const Reply &real, const std::string &head)
{
    connection.takeOver(real.status);
    connection.sendAll(head + real.body);
}

// The real headers and the first half of the body at once, as a transfer
// that breaks after `playFor`.
void sendThenDrop(Connection &connection, const Reply &real, std::chrono::milliseconds playFor)
{
    connection.takeOver(real.status);
    const std::size_t sent = real.live ? real.body.size() : real.body.size() / 2;
    if (connection.sendAll(replyHead(real, statedLength(real)) + real.body.substr(0, sent)))
        waitForClientToLeave(connection, playFor);
}

// The real reply with `query` added to the stream addresses of a playlist;
// any other reply as it is.
void sendWithAddressQuery(Connection &connection, const Reply &real, std::string_view query)
{
    Reply changed = real;
    if (!real.live && real.contentType.starts_with("audio/x-scpls"))
        changed.body = withAddressQuery(real.body, query);
    sendWhole(connection, changed, replyHead(changed, statedLength(changed)));
}

Reply redirectReply(std::string_view location)
{
    Reply reply;
    reply.status = 302;
    reply.contentType = "text/plain; charset=utf-8";
    reply.headers.emplace_back("Location", std::string(location));
    reply.body = "302 Found: " + std::string(location) + "\n";
    return reply;
}

} // namespace

std::string garbledXml(const Reply &real)
{
    const bool isXml = real.contentType.find("xml") != std::string::npos && !real.body.empty();
    std::string garbled = isXml ? real.body.substr(0, real.body.size() * 2 / 3)
                                : "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<stationlist>\n";
    garbled += "<station name=\"never finished & never closed\" <<\n";
    return garbled;
}

bool playsStream(FaultKind kind)
{
    return kind == FaultKind::drop || kind == FaultKind::icyStatus || kind == FaultKind::latin1Titles
           || kind == FaultKind::hostileAddress || kind == FaultKind::ampersandAddress;
}

void sendFaultyReply(Connection &connection, const Fault &fault, const Reply &real, std::string_view requestUrl)
{
    switch (fault.kind) {
    case FaultKind::status503: return sendStatusOnly(connection, 503);
    case FaultKind::status404: return sendStatusOnly(connection, 404);
    case FaultKind::close: connection.takeOver(0); return;
    case FaultKind::empty200: {
        Reply empty = real;
        empty.status = 200;
        empty.live = false;
        connection.takeOver(200);
        connection.sendAll(replyHead(empty, 0));
        return;
    }
    case FaultKind::malformedXml: {
        Reply broken;
        broken.contentType = "text/xml; charset=utf-8";
        broken.body = garbledXml(real);
        connection.takeOver(200);
        connection.sendAll(replyHead(broken, broken.body.size()) + broken.body);
        return;
    }
    case FaultKind::truncated: return sendTruncated(connection, real);
    case FaultKind::stall:
        connection.takeOver(real.status);
        if (connection.sendAll(replyHead(real, statedLength(real))))
            waitForClientToLeave(connection);
        return;
    case FaultKind::drop: return sendThenDrop(connection, real, fault.dropAfter);
    case FaultKind::icyStatus: return sendWhole(connection, real, icyReplyHead(real, statedLength(real)));
    case FaultKind::latin1Titles: return sendWhole(connection, real, replyHead(real, statedLength(real)));
    case FaultKind::redirect: {
        const Reply redirect = redirectReply(requestUrl);
        return sendWhole(connection, redirect, replyHead(redirect, redirect.body.size()));
    }
    case FaultKind::trickle: return sendTrickling(connection, real);
    case FaultKind::hostileAddress: return sendWithAddressQuery(connection, real, hostileAddressQuery);
    case FaultKind::ampersandAddress: return sendWithAddressQuery(connection, real, ampersandAddressQuery);
    }
}

} // namespace station

#include "fault_reply.h"

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

void waitForClientToLeave(Connection &connection)
{
    while (!connection.stopFlag().waitFor(closeCheckInterval)) {
        if (connection.clientHasClosed())
            return;
    }
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

void sendFaultyReply(Connection &connection, FaultKind kind, const Reply &real)
{
    switch (kind) {
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
    case FaultKind::truncated: {
        connection.takeOver(real.status);
        if (real.live) {
            connection.sendAll(replyHead(real, std::nullopt)
                               + real.body.substr(0, std::min(real.body.size(), truncatedLiveBytes)));
            return;
        }
        // At least one promised byte is missing, even from an empty body.
        const std::size_t promised = std::max<std::size_t>(real.body.size(), 1);
        connection.sendAll(replyHead(real, promised) + real.body.substr(0, real.body.size() / 2));
        return;
    }
    case FaultKind::stall:
        connection.takeOver(real.status);
        if (connection.sendAll(replyHead(real, statedLength(real))))
            waitForClientToLeave(connection);
        return;
    case FaultKind::trickle: {
        connection.takeOver(real.status);
        if (!connection.sendAll(replyHead(real, statedLength(real))))
            return;
        for (const char byte : real.body) {
            if (connection.stopFlag().waitFor(trickleInterval) || !connection.sendAll(std::string_view(&byte, 1)))
                return;
        }
        return;
    }
    }
}

} // namespace station

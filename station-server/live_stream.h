#ifndef TARNWAVE_STATION_SERVER_LIVE_STREAM_H
#define TARNWAVE_STATION_SERVER_LIVE_STREAM_H

#include "catalogue.h"
#include "connection.h"
#include "icy_metadata.h"
#include "mp3_loop.h"
#include "reply.h"
#include "title_schedule.h"

#include <chrono>
#include <cstddef>

namespace station {

struct LiveStreamSettings
{
    // Audio bytes between two metadata blocks ("icy-metaint").
    std::size_t metadataInterval = defaultMetadataInterval;
    // Audio sent at once on connecting, so that a player can start at once;
    // after it the stream keeps exactly to the station's bitrate.
    std::chrono::milliseconds burst{2000};
    // How often a stream wakes to send what has become due.
    std::chrono::milliseconds tick{50};
};

// The status and headers of a station's stream ("icy-name", "icy-genre",
// "icy-br", and "icy-metaint" when `withMetadata`), with the first 64 KB of
// audio as the body (what a fault may send of it).
Reply liveStreamReply(const Station &station, const Mp3Loop &loop, bool withMetadata,
                      const LiveStreamSettings &settings);

// Sends the station's endless stream on the connection, which it takes over:
// the loop over and over, paced in real time at its bitrate, with a metadata
// block every metadataInterval bytes when `withMetadata`, announcing the
// title the schedule gives. Returns when the client leaves or is too slow, or
// the server stops. `headOnly` sends the headers alone (a HEAD request).
void serveLiveStream(Connection &connection, const Station &station, const Mp3Loop &loop, const TitleSchedule &titles,
                     bool withMetadata, bool headOnly, const LiveStreamSettings &settings);

} // namespace station

#endif

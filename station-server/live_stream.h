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
#include <optional>

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

// How one stream is served: what the client asked for, and what a fault that
// still lets it play changes.
struct StreamManner
{
    bool withMetadata = false; // the client sent "Icy-MetaData: 1"
    bool headOnly = false; // a HEAD request: the headers alone
    bool icyStatusLine = false; // "ICY 200 OK" and the icy-* headers, as old servers answer
    bool latin1Titles = false; // StreamTitle in ISO-8859-1 instead of UTF-8
    // The station breaks: the connection closes this long after the headers.
    std::optional<std::chrono::milliseconds> closeAfter;
};

// The status and headers of a station's stream ("icy-name", "icy-genre",
// "icy-br", and "icy-metaint" when `withMetadata`), with the first 64 KB of
// audio as the body (what a fault may send of it).
Reply liveStreamReply(const Station &station, const Mp3Loop &loop, bool withMetadata,
                      const LiveStreamSettings &settings);

// Sends the station's endless stream on the connection, which it takes over:
// the loop over and over, paced in real time at its bitrate, with a metadata
// block every metadataInterval bytes when the client asked for them,
// announcing the title the schedule gives. Returns when the client leaves or
// is too slow, the server stops, or the manner's closeAfter has passed.
void serveLiveStream(Connection &connection, const Station &station, const Mp3Loop &loop, const TitleSchedule &titles,
                     const StreamManner &manner, const LiveStreamSettings &settings);

} // namespace station

#endif

#include "live_stream.h"

#include "text_encoding.h"

#include <algorithm>
#include <optional>
#include <string>

namespace station {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t faultBodyBytes = 64 * 1024;
// The most sent in one go, so that a stream that fell behind catches up in
// pieces rather than in one large buffer.
constexpr std::size_t largestChunk = 64 * 1024;

// Walks through the loop, inserting a metadata block every interval bytes.
class StreamCursor
{
public:
    StreamCursor(const Mp3Loop &loop, std::size_t metadataInterval)
        : loop_(loop), metadataInterval_(metadataInterval), untilMetadata_(metadataInterval)
    {
    }

    // Appends the next `audioBytes` bytes of audio (and the metadata blocks
    // falling among them, titled by `title()`).
    template <class TitleNow>
    void append(std::string &out, std::size_t audioBytes, TitleNow title)
    {
        while (audioBytes > 0) {
            std::size_t piece = std::min(audioBytes, loop_.bytes.size() - position_);
            if (metadataInterval_ > 0)
                piece = std::min(piece, untilMetadata_);
            out.append(reinterpret_cast<const char *>(loop_.bytes.data() + position_), piece);
            audioBytes -= piece;
            position_ = (position_ + piece) % loop_.bytes.size();
            if (metadataInterval_ == 0)
                continue;
            untilMetadata_ -= piece;
            if (untilMetadata_ == 0) {
                std::string current = title();
                out += current == lastTitle_ ? unchangedMetadataBlock() : icyMetadataBlock(current);
                lastTitle_ = std::move(current);
                untilMetadata_ = metadataInterval_;
            }
        }
    }

private:
    const Mp3Loop &loop_;
    std::size_t metadataInterval_;
    std::size_t untilMetadata_;
    std::size_t position_ = 0;
    std::optional<std::string> lastTitle_;
};

} // namespace

Reply liveStreamReply(const Station &station, const Mp3Loop &loop, bool withMetadata,
                      const LiveStreamSettings &settings)
{
    Reply reply;
    reply.live = true;
    reply.contentType = "audio/mpeg";
    reply.headers = {
        {"icy-name", station.name},
        {"icy-genre", station.genre},
        {"icy-br", std::to_string(loop.format.kilobitsPerSecond)},
        {"icy-pub", "1"},
        {"Cache-Control", "no-cache, no-store"},
    };
    if (withMetadata)
        reply.headers.emplace_back("icy-metaint", std::to_string(settings.metadataInterval));
    StreamCursor cursor(loop, 0);
    cursor.append(reply.body, faultBodyBytes, [] { return std::string(); });
    return reply;
}

void serveLiveStream(Connection &connection, const Station &station, const Mp3Loop &loop, const TitleSchedule &titles,
                     const StreamManner &manner, const LiveStreamSettings &settings)
{
    connection.takeOver(200);
    const Reply head = liveStreamReply(station, loop, manner.withMetadata, settings);
    const std::string headText =
        manner.icyStatusLine ? icyReplyHead(head, std::nullopt) : replyHead(head, std::nullopt);
    if (!connection.sendAll(headText) || manner.headOnly)
        return;

    const auto bytesPerSecond = static_cast<std::size_t>(loop.format.bytesPerSecond());
    const auto burstBytes = bytesPerSecond * static_cast<std::size_t>(settings.burst.count()) / 1000;
    StreamCursor cursor(loop, manner.withMetadata ? settings.metadataInterval : 0);
    const auto titleNow = [&] {
        std::string title = titles.titleAt(station, Clock::now());
        return manner.latin1Titles ? latin1FromUtf8(title) : title;
    };
    const Clock::time_point start = Clock::now();
    const Clock::time_point closeAt = manner.closeAfter ? start + *manner.closeAfter : Clock::time_point::max();
    std::size_t audioSent = 0;
    std::string chunk;
    for (;;) {
        const Clock::time_point now = Clock::now();
        if (now >= closeAt)
            return;
        const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(now - start);
        const std::size_t due = burstBytes + static_cast<std::size_t>(elapsed.count()) * bytesPerSecond / 1'000'000;
        if (due > audioSent) {
            const std::size_t audio = std::min(due - audioSent, largestChunk);
            chunk.clear();
            cursor.append(chunk, audio, titleNow);
            if (!connection.sendAll(chunk))
                return;
            audioSent += audio;
            if (due > audioSent)
                continue;
        }
        if (connection.stopFlag().waitFor(settings.tick))
            return;
    }
}

} // namespace station

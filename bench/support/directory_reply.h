#ifndef TARNWAVE_BENCH_SUPPORT_DIRECTORY_REPLY_H
#define TARNWAVE_BENCH_SUPPORT_DIRECTORY_REPLY_H

// The directory's largest kind of reply, generated (and a favourites file of
// the same kind of stations): a station list with a tune-in element and `stations` stations of every sort the directory
// sends (MP3 and AAC+, ordinary and odd bitrates, entities in genres), about 165 bytes a station; and expat alone on
// such bytes, the reference that parsing them any other way is measured against. Replies arrive in pieces, so both
// sides are fed `pieceSize` bytes at a time.

#include <benchmark/benchmark.h>
#include <expat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace bench {

inline constexpr std::size_t replyPieceSize = 2048;

inline std::string generatedStationReply(int stations)
{
    static const char *const genres[] = {"Rock", "Pop Dance", "Jazz &amp; Blues", "Classical", "Talk"};
    static const char *const types[] = {"audio/mpeg", "audio/mpeg", "audio/aacp"};
    static const char *const bitrates[] = {"128", "64", "192", "96", "320", "128k", ""};
    std::string reply = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<stationlist>\n"
                        "<tunein base=\"/sbin/tunein-station.pls\"/>\n";
    for (int i = 0; i < stations; ++i) {
        const std::string number = std::to_string(i);
        reply += "<station name=\"Radio Station " + number + " - the best hits of all time\" mt=\"" + types[i % 3]
                 + "\" id=\"" + std::to_string(1000000 + i) + "\" br=\"" + bitrates[i % 7] + "\" genre=\""
                 + genres[i % 5] + "\" ct=\"Some Artist " + number + " - A Song Title\" lc=\"" + std::to_string(i % 700)
                 + "\"/>\n";
    }
    reply += "</stationlist>\n";
    return reply;
}

// A favourites file of `stations` stations that carry their own address, as
// the plug-in writes it.
inline std::string favouritesFile(int stations)
{
    std::string file = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n<genrelist>\n";
    for (int i = 1; i <= stations; ++i)
        file += "\t<genre name=\"Favourite station " + std::to_string(i) + "\" url=\"http://radio" + std::to_string(i)
                + ".example.org:8000/live\" ></genre>\n";
    return file + "</genrelist>\n";
}

// The reference: expat on `bytes` in pieces, with no handlers at all.
inline void expatAloneInPieces(benchmark::State &state, const std::string &bytes)
{
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreate("UTF-8");
        for (std::size_t offset = 0; offset < bytes.size(); offset += replyPieceSize) {
            const std::size_t length = std::min(replyPieceSize, bytes.size() - offset);
            if (XML_Parse(parser, bytes.data() + offset, static_cast<int>(length), offset + length == bytes.size())
                == XML_STATUS_ERROR) {
                state.SkipWithError(XML_ErrorString(XML_GetErrorCode(parser)));
                XML_ParserFree(parser);
                return;
            }
        }
        XML_ParserFree(parser);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes.size()));
}

} // namespace bench

#endif

// The directory's largest reply, 10,000 stations (about 1.7 MB), parsed into
// the host's XML tree and walked as the plug-in walks it, beside expat alone
// on the same bytes; both are fed in 2048-byte pieces, as replies arrive.

#include "support/ratio_report.h"

#include "net/xmltree.h"

#include <expat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr int stationCount = 10000;
constexpr std::size_t pieceSize = 2048;

std::string stationReply()
{
    static const char *const genres[] = {"Rock", "Pop Dance", "Jazz &amp; Blues", "Classical", "Talk"};
    static const char *const types[] = {"audio/mpeg", "audio/mpeg", "audio/aacp"};
    static const char *const bitrates[] = {"128", "64", "192", "96", "320"};
    std::string reply = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<stationlist>\n"
                        "<tunein base=\"/sbin/tunein-station.pls\"/>\n";
    for (int i = 0; i < stationCount; ++i) {
        const std::string number = std::to_string(i);
        reply += "<station name=\"Radio Station " + number + " - the best hits of all time\" mt=\"" + types[i % 3]
                 + "\" id=\"" + std::to_string(1000000 + i) + "\" br=\"" + bitrates[i % 5] + "\" genre=\""
                 + genres[i % 5] + "\" ct=\"Some Artist " + number + " - A Song Title (Radio Edit)\" lc=\""
                 + std::to_string(i % 700) + "\"/>\n";
    }
    reply += "</stationlist>\n";
    return reply;
}

const std::string &reply()
{
    static const std::string bytes = stationReply();
    return bytes;
}

// What the plug-in does with the tree: for each station read the attributes
// that decide whether and how it is listed.
long walkStations(const XMLTreeNode *root)
{
    long listed = 0;
    for (const XMLTreeNode *node = root->GetChild(); node != nullptr; node = node->GetNext()) {
        if (std::strcmp(node->GetType(), "station") != 0)
            continue;
        const char *name = node->GetAttributeValue("name");
        const char *type = node->GetAttributeValue("mt");
        const char *bitrate = node->GetAttributeValue("br");
        if (name == nullptr || type == nullptr || std::strcmp(type, "audio/mpeg") != 0)
            continue;
        if (std::atoi(bitrate != nullptr ? bitrate : "") >= 128 && node->GetAttributeValue("id") != nullptr
            && node->GetAttributeValue("genre") != nullptr)
            ++listed;
    }
    return listed;
}

void treeParseAndWalk(benchmark::State &state)
{
    const std::string &bytes = reply();
    for (auto _ : state) {
        XMLTreeParser parser("UTF-8");
        for (std::size_t offset = 0; offset < bytes.size(); offset += pieceSize) {
            const std::size_t length = std::min(pieceSize, bytes.size() - offset);
            if (parser.Parse(bytes.data() + offset, static_cast<int>(length), offset + length == bytes.size()) == 0) {
                state.SkipWithError(parser.ErrorString());
                return;
            }
        }
        benchmark::DoNotOptimize(walkStations(parser.RootNode()));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes.size()));
}

void expatAlone(benchmark::State &state)
{
    const std::string &bytes = reply();
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreate("UTF-8");
        for (std::size_t offset = 0; offset < bytes.size(); offset += pieceSize) {
            const std::size_t length = std::min(pieceSize, bytes.size() - offset);
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

const bool registered = [] {
    benchmark::RegisterBenchmark("xml/stations_10000_tree", treeParseAndWalk)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("xml/stations_10000_tree/reference", expatAlone)->Unit(benchmark::kMillisecond);
    // The tree may cost little beyond expat's own work.
    bench::targetAtMost("xml/stations_10000_tree", 1.3);
    return true;
}();

} // namespace

TARNWAVE_BENCH_MAIN()

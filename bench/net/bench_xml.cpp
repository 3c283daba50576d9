// The directory's largest reply, 10,000 stations (about 1.65 MB), parsed into
// the host's XML tree and walked as the plug-in walks it, beside expat alone
// on the same bytes; both are fed in 2048-byte pieces, as replies arrive.

#include "support/directory_reply.h"
#include "support/ratio_report.h"

#include "net/xmltree.h"

#include <expat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr int stationCount = 10000;
constexpr std::size_t pieceSize = bench::replyPieceSize;

const std::string &reply()
{
    static const std::string bytes = bench::generatedStationReply(stationCount);
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
    bench::expatAloneInPieces(state, reply());
}

const bool registered = [] {
    bench::registerPair("xml/stations_10000_tree", treeParseAndWalk, expatAlone);
    // The tree may cost little beyond expat's own work.
    bench::targetAtMost("xml/stations_10000_tree", 1.10);
    return true;
}();

} // namespace

TARNWAVE_BENCH_MAIN()

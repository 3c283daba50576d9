// A directory reply turned into rows, as a list transfer does it: the body is
// fed to the XML parser in pieces through the HTTP body sink, and the tree
// becomes the rows of the genre list (1), the top list (2) and the search
// list (3), each in turn. Checked: the pieces give the same tree as the whole
// body; the rows are numbered 1..n without gaps, in the document's order,
// with exactly the elements the list's rules accept, at most 500 stations.

#include "fuzz_support.h"
#include "main_window_box.h"

#include "net/ehttpdownloadxml.h"
#include "net/xmltree.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int genreList = 1;
constexpr int topList = 2;
constexpr int searchList = 3;
constexpr std::size_t mostStations = 500;

// The tree in one string: names, attributes in order, and text.
void describe(const XMLTreeNode *node, std::string &out)
{
    for (; node != nullptr; node = node->GetNext()) {
        out += '<';
        out += node->GetType();
        for (int i = 0; i < node->GetAttributeCount(); ++i)
            out.append(" ").append(node->GetAttributeNameAt(i)).append("=\"").append(node->GetAttributeValueAt(i)) +=
                '"';
        out += '>';
        out.append(node->GetData(), node->GetDataSize());
        describe(node->GetChild(), out);
        out += "</>";
    }
}

std::string treeOf(const XMLTreeParser &parser)
{
    std::string out;
    describe(parser.RootNode(), out);
    return out;
}

// Feeds the body through the list transfer's sink in pieces of reproducible
// sizes from 1 byte to 16 KiB (what curl hands over at most), then the end.
bool parsedInPieces(std::string_view body, XMLTreeParser &parser)
{
    eHTTPDownloadXML sink(nullptr, parser);
    std::uint64_t random = fuzz::fingerprint(body);
    while (!body.empty() && sink.error == 0) {
        const std::uint64_t choice = fuzz::nextRandom(random);
        const std::size_t longest = (choice & 3) == 0 ? 16384 : (choice & 3) == 1 ? 2048 : 16;
        const std::size_t length = std::min<std::size_t>(body.size(), 1 + (choice >> 8) % longest);
        // A buffer of exactly the piece, as curl's, so that reading past it is caught.
        std::vector<char> piece(body.begin(), body.begin() + static_cast<long>(length));
        sink.haveData(piece.data(), static_cast<int>(length));
        body.remove_prefix(length);
    }
    sink.haveData(nullptr, 0);
    return sink.error == 0;
}

const char *attribute(const XMLTreeNode *node, const char *name)
{
    return node->GetAttributeValue(name);
}

bool isElement(const XMLTreeNode *node, const char *name)
{
    return std::strcmp(node->GetType(), name) == 0;
}

// The genre list: every <genre> with a name, a station when it has a url.
void checkGenres(Ctarnwave &window, const XMLTreeNode *root)
{
    const std::vector<const Listentry *> rows = fuzz::rowsOf(window, genreList);
    std::size_t row = 0;
    for (const XMLTreeNode *node = root->GetChild(); node != nullptr; node = node->GetNext()) {
        if (!isElement(node, "genre") || attribute(node, "name") == nullptr)
            continue;
        FUZZ_CHECK(row < rows.size(), "a genre is missing: " + fuzz::describeRows(window, genreList));
        const Listentry &entry = *rows[row++];
        FUZZ_CHECK(entry.index == static_cast<int>(row), fuzz::describeRows(window, genreList));
        FUZZ_CHECK(entry.name == attribute(node, "name"), fuzz::printable(entry.name));
        const char *url = attribute(node, "url");
        FUZZ_CHECK(entry.type == (url ? Listentry::ENTRY_STATION : Listentry::ENTRY_GENRE),
                   fuzz::printable(entry.name));
        FUZZ_CHECK(entry.url == (url ? url : ""), fuzz::printable(entry.url));
    }
    FUZZ_CHECK(row == rows.size(), "rows that are no genre: " + fuzz::describeRows(window, genreList));
}

bool isListedStation(const XMLTreeNode *node, int minimumBitrate)
{
    const char *mediaType = attribute(node, "mt");
    const char *bitrate = attribute(node, "br");
    return isElement(node, "station") && attribute(node, "name") != nullptr && mediaType != nullptr
           && std::strcmp(mediaType, "audio/mpeg") == 0 && std::atoi(bitrate ? bitrate : "") >= minimumBitrate;
}

// A station list: the first 500 MP3 stations at the minimum bitrate or above,
// each with the tune-in base given before it.
void checkStations(Ctarnwave &window, int list, const XMLTreeNode *root, int minimumBitrate)
{
    const std::vector<const Listentry *> rows = fuzz::rowsOf(window, list);
    FUZZ_CHECK(rows.size() <= mostStations, std::to_string(rows.size()) + " stations");
    std::size_t row = 0;
    std::string tuneinBase;
    for (const XMLTreeNode *node = root->GetChild(); node != nullptr; node = node->GetNext()) {
        if (isElement(node, "tunein"))
            tuneinBase = attribute(node, "base") ? attribute(node, "base") : "";
        if (!isListedStation(node, minimumBitrate) || row == mostStations)
            continue;
        FUZZ_CHECK(row < rows.size(), "a station is missing: " + fuzz::describeRows(window, list));
        const Listentry &entry = *rows[row++];
        FUZZ_CHECK(entry.index == static_cast<int>(row), fuzz::describeRows(window, list));
        FUZZ_CHECK(entry.type == Listentry::ENTRY_STATION, fuzz::printable(entry.name));
        FUZZ_CHECK(entry.name == attribute(node, "name"), fuzz::printable(entry.name));
        FUZZ_CHECK(entry.bitrate == (attribute(node, "br") ? attribute(node, "br") : ""),
                   fuzz::printable(entry.bitrate));
        FUZZ_CHECK(entry.tuneinBase == tuneinBase, fuzz::printable(entry.tuneinBase));
        FUZZ_CHECK(entry.url.empty(), fuzz::printable(entry.url));
    }
    FUZZ_CHECK(row == rows.size(), "rows that are no listed station: " + fuzz::describeRows(window, list));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::MainWindowBox::instance();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view body = fuzz::text(data, size);
    fuzz::MainWindowBox &box = fuzz::MainWindowBox::instance();
    Ctarnwave &window = box.window();

    XMLTreeParser whole("UTF-8");
    const bool wellFormed = whole.Parse(body.data(), static_cast<int>(body.size()), 1) != 0;
    auto parser = std::make_unique<XMLTreeParser>("UTF-8");
    FUZZ_CHECK(parsedInPieces(body, *parser) == wellFormed,
               std::string("the pieces parse differently from the whole body: whole \"") + whole.ErrorString()
                   + "\", pieces \"" + parser->ErrorString() + "\"");
    if (!wellFormed)
        return 0; // a reply that did not parse makes no rows
    FUZZ_CHECK(treeOf(*parser) == treeOf(whole), "the pieces give another tree than the whole body");

    static constexpr std::array<int, 4> minimumBitrates = {0, 64, 128, 448};
    const int minimumBitrate = minimumBitrates[fuzz::fingerprint(body) % minimumBitrates.size()];
    box.setMinimumBitrate(minimumBitrate);
    // The window keeps a parser of its own (that of the favourites it opened
    // on); it is put back afterwards.
    XMLTreeParser *const windowsParser = window.xmlParser;
    for (const int list : {genreList, topList, searchList}) {
        window.currentList = list;
        window.xmlParser = parser.get();
        window.parseXML();
        window.xmlParser = windowsParser;
        const XMLTreeNode *root = parser->RootNode();
        FUZZ_CHECK(root != nullptr, "a well-formed document without a root");
        if (list == genreList)
            checkGenres(window, root);
        else
            checkStations(window, list, root, minimumBitrate);
    }
    return 0;
}

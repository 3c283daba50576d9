// The directory's largest reply, 10,000 stations (about 1.65 MB), from bytes to
// rows as the plug-in takes it: fed in 2048-byte pieces through the XML sink
// of a transfer into the window's parser, then parseXML fills the top list of
// a real main window (its first 500 listed stations) and the parser goes.
// Beside it, interleaved in the same run:
//  - expat alone on the same bytes in the same pieces (the tree, the rules and
//    the rows may cost at most 1.15x that);
//  - the same rules written with Python's ElementTree (directory_rules.py, one
//    run of it a round on the same bytes, timed by the script itself; ours
//    must be at least 2x faster).
// And the heap, each measured three times:
//  - memory/four_full_lists: what four full lists add (3 x 500 stations, 300
//    genres), at most 1 MiB;
//  - memory/name_of_1_mb: what a station name of 1 MB costs while it is shown
//    in its row and on the status bar, at most 4 MiB (the name itself, the
//    record's copy and the label's, and only the text that can be seen laid
//    out).

#include "support/directory_reply.h"
#include "support/ratio_report.h"

#include "plugin/ctarnwave.h"

#include "base/boxpath.h"
#include "base/ebase.h"
#include "base/econfig.h"
#include "base/elog.h"
#include "gui/eskin.h"
#include "gui/widgets/escreen.h"
#include "net/ehttpdownloadxml.h"
#include "net/xml_arena.h"
#include "net/xmltree.h"

#include <expat.h>
#include <malloc.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int stationCount = 10000;
constexpr std::size_t pieceSize = bench::replyPieceSize;
constexpr int listedStations = 500;

const std::string &reply()
{
    static const std::string bytes = bench::generatedStationReply(stationCount);
    return bytes;
}

std::string genreDocument(int genres)
{
    std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<genrelist>\n";
    for (int i = 1; i <= genres; ++i)
        document += "<genre name=\"Genre number " + std::to_string(i) + "\"/>\n";
    return document + "</genrelist>\n";
}

// What the window needs around it: a box root of its own, the loop, and the
// built default skin when it can be found beside the program.
class BenchBox
{
public:
    BenchBox()
    {
        boxlog::setStderrLevel(boxlog::Level::error);
        char pattern[] = "/tmp/tarnwave-bench-XXXXXX";
        if (mkdtemp(pattern) != nullptr)
            m_root = pattern;
        setBoxRoot(m_root);
        std::filesystem::create_directories(boxPath("/var/tuxbox/config"));
        eConfig::reload();
        m_app = std::make_unique<eApplication>();
        std::error_code ignored;
        const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
        const std::string skin = (program.parent_path().parent_path() / "data/skin/default.xml").string();
        if (m_skin.load(skin.c_str()) == 0)
            m_skin.setActive();
    }
    ~BenchBox()
    {
        m_app.reset();
        std::error_code ignored;
        if (!m_root.empty())
            std::filesystem::remove_all(m_root, ignored);
    }
    BenchBox(const BenchBox &) = delete;
    BenchBox &operator=(const BenchBox &) = delete;

    const std::string &root() const { return m_root; }

private:
    std::string m_root;
    std::unique_ptr<eApplication> m_app;
    eSkin m_skin;
};

// A finished list transfer of `bytes` for list `list`: a fresh parser, the
// body through the transfer's XML sink in pieces, parseXML, the parser gone.
void loadList(Ctarnwave &window, int list, const std::string &bytes)
{
    window.currentList = list;
    delete window.xmlParser;
    window.xmlParser = new XMLTreeParser("UTF-8");
    {
        eHTTPDownloadXML sink(nullptr, *window.xmlParser);
        for (std::size_t offset = 0; offset < bytes.size(); offset += pieceSize) {
            const std::size_t length = std::min(pieceSize, bytes.size() - offset);
            sink.haveData(const_cast<char *>(bytes.data() + offset), static_cast<int>(length));
        }
        sink.haveData(nullptr, 0);
        if (sink.error == 0)
            window.parseXML();
    }
    delete window.xmlParser;
    window.xmlParser = nullptr;
}

Ctarnwave *benchWindow = nullptr;
std::string pythonFile; // the reply, written for the Python run

void replyToRows(benchmark::State &state)
{
    const std::string &bytes = reply();
    for (auto _ : state) {
        loadList(*benchWindow, 2, bytes);
        if (benchWindow->lists[2]->getCount() != listedStations) {
            state.SkipWithError("the top list does not hold 500 rows");
            return;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes.size()));
}

void expatAlone(benchmark::State &state)
{
    bench::expatAloneInPieces(state, reply());
}

// Runs directory_rules.py once on the reply; the microseconds its one
// parse took, as the script measured it (starting Python is not counted).
double pythonMicroseconds()
{
    const std::filesystem::path script = std::filesystem::path(__FILE__).parent_path() / "directory_rules.py";
    if (!std::filesystem::exists(script))
        throw std::runtime_error("directory_rules.py not found at " + script.string());
    const std::string command = "python3 '" + script.string() + "' '" + pythonFile + "' 1 128";
    std::FILE *output = popen(command.c_str(), "r");
    if (output == nullptr)
        throw std::runtime_error("python3 could not be started");
    char line[256] = {};
    const bool read = std::fgets(line, sizeof line, output) != nullptr;
    const int status = pclose(output);
    int rows = 0;
    double microseconds = -1;
    if (!read || status != 0 || std::sscanf(line, "rows=%d best_us=%lf", &rows, &microseconds) != 2)
        throw std::runtime_error("directory_rules.py failed");
    if (rows != listedStations)
        throw std::runtime_error("directory_rules.py made " + std::to_string(rows) + " rows, not 500");
    return microseconds;
}

const bool registered = [] {
    bench::registerPair("directory/rows_10000", replyToRows, expatAlone);
    // The tree, the rules and the rows may cost little beyond expat's own work.
    bench::targetAtMost("directory/rows_10000", 1.15);
    bench::registerInterleaved(
        "directory/rows_10000_against_python", 10, [] { return bench::timeRegistered("directory/rows_10000"); },
        pythonMicroseconds);
    bench::targetFasterThanReference("directory/rows_10000_against_python", 2.0);
    return true;
}();

// Bytes handed out by malloc and not yet freed, mmapped blocks included.
std::size_t heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Kibibytes from one heap figure to another.
double kibibytesBetween(std::size_t before, std::size_t after)
{
    return static_cast<double>(after) / 1024.0 - static_cast<double>(before) / 1024.0;
}

// The heap that a window's four lists add when full: the favourites file with
// 500 stations, 300 genres, and 500 stations in each of the top list and the
// search list, each loaded the way the plug-in loads it; the parser gone and
// the XML arena's spare blocks released.
double fullListsKibibytes()
{
    const std::string genres = genreDocument(300);
    Ctarnwave window;
    window.lists[0]->clearList();
    boxhost::xml::Arena::releaseSpareBlocks();
    const std::size_t before = heapInUse();
    if (before == 0)
        throw std::runtime_error("malloc gives no figures here");

    window.currentList = 0;
    window.start_download("", false);
    loadList(window, 1, genres);
    loadList(window, 2, reply());
    loadList(window, 3, reply());
    boxhost::xml::Arena::releaseSpareBlocks();
    const std::size_t after = heapInUse();
    if (window.lists[0]->getCount() != 500 || window.lists[1]->getCount() != 300 || window.lists[2]->getCount() != 500
        || window.lists[3]->getCount() != 500)
        throw std::runtime_error("the lists are not full");
    return kibibytesBetween(before, after);
}

// The heap that a station name of 1 MB costs while shown: listed in its row
// and on the status bar's station line, as if it played, and drawn.
double longNameKibibytes()
{
    std::string longName;
    while (longName.size() < 1'000'000)
        longName += "Radio K\xc3\xb6ln Stra\xc3\x9f"
                    "e ";
    const std::string document = "<stationlist><tunein base=\"/sbin/tunein-station.pls\"/><station name=\"" + longName
                                 + "\" mt=\"audio/mpeg\" id=\"1\" br=\"128\" genre=\"Rock\"/></stationlist>";
    Ctarnwave window;
    window.show();
    eScreen::osd().invalidateAll();
    eScreen::osd().compose();
    boxhost::xml::Arena::releaseSpareBlocks();
    const std::size_t before = heapInUse();
    if (before == 0)
        throw std::runtime_error("malloc gives no figures here");

    loadList(window, 3, document);
    window.lb_station->setText(longName);
    eScreen::osd().invalidateAll();
    eScreen::osd().compose();
    boxhost::xml::Arena::releaseSpareBlocks();
    const std::size_t after = heapInUse();
    if (window.lists[3]->getCount() != 1)
        throw std::runtime_error("the station is not listed");
    window.hide();
    return kibibytesBetween(before, after);
}

// Reports the median of three measurements against `limit` KiB.
void reportHeap(const std::string &caseName, double (*measure)(), double limit, const std::string &note)
{
    // A sanitizer's allocator reports no figures: a smoke run there only says so.
    if (heapInUse() == 0 && !bench::judging()) {
        std::printf("%s: not measured (this allocator reports no heap figures)\n", caseName.c_str());
        return;
    }
    std::vector<double> kibibytes;
    for (int i = 0; i < 3; ++i)
        kibibytes.push_back(measure());
    std::sort(kibibytes.begin(), kibibytes.end());
    bench::reportFigure(bench::Figure{caseName, kibibytes[1], kibibytes.front(), kibibytes.back(), "KiB", limit, false,
                                      note + "; median of three"});
}

const bool measured = [] {
    bench::registerMeasurement("memory/four_full_lists", [] {
        reportHeap("memory/four_full_lists", fullListsKibibytes, 1024.0,
                   "heap added by 3 x 500 stations and 300 genres");
    });
    bench::registerMeasurement("memory/name_of_1_mb", [] {
        reportHeap("memory/name_of_1_mb", longNameKibibytes, 4096.0, "heap while a 1 MB name is listed and shown");
    });
    return true;
}();

} // namespace

int main(int argc, char **argv)
{
    BenchBox box;
    pythonFile = box.root() + "/reply.xml";
    {
        std::ofstream file(pythonFile, std::ios::binary);
        file << reply();
    }
    {
        std::ofstream favourites(boxPath("/var/tuxbox/config/genrelist.xml"), std::ios::binary);
        favourites << bench::favouritesFile(500);
    }
    std::printf("reply: %d stations, %zu bytes\n", stationCount, reply().size());

    Ctarnwave window;
    benchWindow = &window;
    const int status = bench::runAndReport(argc, argv);
    benchWindow = nullptr;
    return status;
}

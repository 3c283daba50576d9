// Tarnwave in the emulator against a station server that goes wrong on
// purpose: each way a directory reply or a playlist can fail shows its status
// line (or, where the plug-in stays silent, nothing), the server killed in the
// middle of a list or a playlist, and a favourites directory that cannot be
// written to, read-only or full. Through all of it the window keeps answering
// keys, and the old favourites file stays as it was.

#include "emulator_process.h"
#include "tarnwave_screen.h"

#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>
#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/mount.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace std::chrono_literals;
using tarnwave_e2e::mainList;
using tarnwave_e2e::Screen;
using tarnwave_e2e::showsImage;

namespace {

const std::string directoryPath = "/sbin/newxml.phtml";
const std::string playlistPath = "/sbin/tunein-station.pls";
const std::string downloadNotice = "Download...  One moment please...";

// Whether the fault once set for `path` has met its request (the server
// lists the faults still in force, one line each).
bool faultTaken(const StationServerProcess &server, const std::string &path)
{
    httplib::Client client(server.host(), server.port());
    const auto reply = client.Get("/control/faults");
    return reply && reply->status == 200 && reply->body.find(path + "=") == std::string::npos;
}

bool showsText(const std::string &widgets, const std::string &text)
{
    return widgets.find("\"text\":\"" + text + "\"") != std::string::npos;
}

// After a fault the window still answers: green brings the top list (once
// the server answers again, which it does after the fault's requests).
void expectTheWindowAnswers(const Screen &screen)
{
    screen.key("green");
    EXPECT_TRUE(screen.waitFor(
        [](const std::string &widgets) {
            const std::string title = tarnwave_e2e::titleOf(widgets);
            return title.starts_with("Tarnwave / Top List") && title.find("(0 entries)") == std::string::npos;
        },
        20s))
        << screen.widgets();
}

// A box on the favourites, against a station server of its own.
class FaultyServer : public ::testing::Test
{
protected:
    // The genre list asked for with its first request spoilt by `kind`.
    void askForGenresWith(const std::string &kind)
    {
        ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites")) << screen.widgets();
        server.addFault(directoryPath, kind, 1);
        screen.key("yellow");
    }

    int requestsFor(const std::string &path) const { return tarnwave_e2e::requestsFor(server, "GET " + path); }

    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    Screen screen{emulator};
};

struct ListFault
{
    std::string kind;
    std::string statusLine; // what the status line says once the list transfer has ended
};

void PrintTo(const ListFault &fault, std::ostream *out)
{
    *out << fault.kind;
}

class ListFaults : public FaultyServer, public ::testing::WithParamInterface<ListFault>
{
};

using ListFaultsSilent = FaultyServer;

// The genre list asked for once and spoilt by the fault.
TEST_P(ListFaults, TheGenreListShowsTheStatusLineAndTheWindowGoesOn)
{
    askForGenresWith(GetParam().kind);
    // A stalled reply is given up after 30 s without a byte.
    EXPECT_TRUE(
        screen.waitFor([&](const std::string &widgets) { return showsText(widgets, GetParam().statusLine); }, 45s))
        << screen.widgets();
    EXPECT_TRUE(tarnwave_e2e::rowsOf(screen.widgets()).empty()) << "no genre came of it";
    expectTheWindowAnswers(screen);
}

INSTANTIATE_TEST_SUITE_P(EveryFaultOfAList, ListFaults,
                         ::testing::Values(ListFault{"status404", "error: server replied 404 Not Found"},
                                           ListFault{"status503", "error: server replied 503 Service Unavailable"},
                                           ListFault{"malformed-xml", "XML parse error"},
                                           ListFault{"truncated", "unknown error -4"},
                                           ListFault{"close", "unknown error -4"},
                                           ListFault{"stall", "unknown error -4"}),
                         [](const auto &parameter) {
                             std::string name = parameter.param.kind;
                             std::erase(name, '-');
                             return name;
                         });

// An empty reply says nothing: the download notice stays, and no list is shown.
TEST_F(ListFaultsSilent, AnEmptyReplyLeavesTheNoticeAndNoRows)
{
    askForGenresWith("empty200");
    ASSERT_TRUE(within(10s, [&] { return requestsFor(directoryPath + " ") == 1; })) << server.log();
    screen.settle();
    EXPECT_TRUE(showsText(screen.widgets(), downloadNotice)) << screen.widgets();
    EXPECT_TRUE(tarnwave_e2e::rowsOf(screen.widgets()).empty()) << screen.widgets();
    expectTheWindowAnswers(screen);
}

// A redirect to the same address is followed, and the list comes.
TEST_F(ListFaultsSilent, ARedirectIsFollowed)
{
    askForGenresWith("redirect");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Genre List")) << screen.widgets();
    EXPECT_FALSE(tarnwave_e2e::rowsOf(screen.widgets()).empty());
    EXPECT_EQ(requestsFor(directoryPath + " "), 2) << server.log();
}

// The playlist of the first station of the first genre, spoilt by a fault;
// the station's row is chosen with OK.
class PlaylistFaults : public FaultyServer
{
protected:
    std::string chooseFirstStation(const std::string &kind)
    {
        EXPECT_TRUE(screen.waitForTitle("Tarnwave / Favourites")) << screen.widgets();
        server.addFault(playlistPath, kind, 1);
        return screen.playFirstStationOfFirstGenre();
    }

    bool plays() const
    {
        return screen.waitFor([](const std::string &widgets) { return showsImage(widgets, "extra.play"); }, 20s);
    }
};

TEST_F(PlaylistFaults, ANotFoundPlaylistShowsItsStatusLineAndPlaysNothing)
{
    chooseFirstStation("status404");
    EXPECT_TRUE(screen.waitFor([](const std::string &widgets) {
        return showsText(widgets, "error: server replied 404 Not Found");
    })) << screen.widgets();
    EXPECT_FALSE(showsImage(screen.widgets(), "extra.play"));
    expectTheWindowAnswers(screen);
}

TEST_F(PlaylistFaults, APlaylistCutOffShowsTheBrokenTransferAndPlaysNothing)
{
    chooseFirstStation("close");
    EXPECT_TRUE(screen.waitFor([](const std::string &widgets) { return showsText(widgets, "unknown error -4"); }))
        << screen.widgets();
    EXPECT_FALSE(showsImage(screen.widgets(), "extra.play"));
}

TEST_F(PlaylistFaults, AnEmptyPlaylistPlaysNothingAndSaysNothing)
{
    chooseFirstStation("empty200");
    ASSERT_TRUE(within(10s, [&] { return requestsFor(playlistPath + "?") == 1; })) << server.log();
    screen.settle();
    EXPECT_TRUE(showsText(screen.widgets(), downloadNotice)) << screen.widgets();
    EXPECT_FALSE(showsImage(screen.widgets(), "extra.play"));
}

TEST_F(PlaylistFaults, ATricklingPlaylistPlaysOnceWhole)
{
    const std::string station = chooseFirstStation("trickle");
    EXPECT_TRUE(plays()) << screen.widgets();
    EXPECT_TRUE(showsText(screen.widgets(), station)) << screen.widgets();
}

TEST_F(PlaylistFaults, ARedirectedPlaylistOfAnOldIcyServerPlays)
{
    server.addFault("/stream/*", "icy-status", 1);
    chooseFirstStation("redirect");
    EXPECT_TRUE(plays()) << screen.widgets();
}

// Titles sent in ISO-8859-1, as many stations do, are shown as they read.
TEST(StreamFaults, Latin1TitlesAreShownAsTheyRead)
{
    const std::string title = "Zo\u00eb Caf\u00e9 - Stra\u00dfe";
    StationServerProcess server{{"--title", title, "--title-interval", "4"}};
    server.addFault("/stream/*", "latin1-titles");
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    Screen screen{emulator};
    screen.playFirstStationOfFirstGenre();
    EXPECT_TRUE(screen.waitFor(
        [&](const std::string &widgets) {
            return tarnwave_e2e::textStartingWith(widgets, "title: ") == "title: " + title;
        },
        20s))
        << screen.widgets();
}

// The server killed while a reply is on its way: the transfer breaks off,
// its status line shows, and nothing else changes.
using ServerKilled = FaultyServer;

TEST_F(ServerKilled, DuringAListTransfer)
{
    askForGenresWith("stall");
    ASSERT_TRUE(within(10s, [&] { return faultTaken(server, directoryPath); })) << "the request has come";
    server.stop();
    EXPECT_TRUE(screen.waitFor([](const std::string &widgets) { return showsText(widgets, "unknown error -4"); }))
        << screen.widgets();
    EXPECT_TRUE(tarnwave_e2e::rowsOf(screen.widgets()).empty());
    screen.key("green");
    EXPECT_TRUE(screen.waitFor([](const std::string &widgets) {
        return showsText(widgets, "Can't connect! (check network settings)");
    })) << screen.widgets();
}

TEST_F(ServerKilled, DuringAPlaylistTransfer)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites")) << screen.widgets();
    server.addFault(playlistPath, "stall", 1);
    screen.playFirstStationOfFirstGenre();
    ASSERT_TRUE(within(10s, [&] { return faultTaken(server, playlistPath); })) << "the request has come";
    server.stop();
    EXPECT_TRUE(screen.waitFor([](const std::string &widgets) { return showsText(widgets, "unknown error -4"); }))
        << screen.widgets();
    EXPECT_FALSE(showsImage(screen.widgets(), "extra.play"));
    screen.key("yellow");
    EXPECT_TRUE(screen.waitForTitle("Tarnwave / Genre List")) << "the list loaded before is still there";
}

// The box's configuration directory covered, while the plug-in runs, by a
// small file system that holds the same files and cannot take more: mounted
// read-only, or filled to the last byte. Mounting needs root; without it a
// read-only directory is made by its permissions, and a full one cannot be.
class CoveredConfigDirectory
{
public:
    enum class Kind { readOnly, full };

    CoveredConfigDirectory(const std::filesystem::path &directory, Kind kind) : m_directory(directory)
    {
        for (const auto &entry : std::filesystem::directory_iterator(directory))
            if (entry.is_regular_file())
                m_files.emplace_back(entry.path().filename().string(), readFile(entry.path()));
        if (::mount("tmpfs", directory.c_str(), "tmpfs", 0, "size=64k,mode=0755") != 0) {
            if (kind == Kind::readOnly && ::geteuid() != 0) {
                std::filesystem::permissions(directory, std::filesystem::perms::owner_write,
                                             std::filesystem::perm_options::remove);
                m_ready = true;
            }
            return;
        }
        m_mounted = true;
        for (const auto &[name, bytes] : m_files)
            writeFile(directory / name, bytes);
        if (kind == Kind::full)
            fill(directory / "filler");
        else
            ::mount(nullptr, directory.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr);
        m_ready = true;
    }

    ~CoveredConfigDirectory()
    {
        if (m_mounted)
            ::umount2(m_directory.c_str(), MNT_DETACH);
        else
            std::filesystem::permissions(m_directory, std::filesystem::perms::owner_write,
                                         std::filesystem::perm_options::add);
    }

    CoveredConfigDirectory(const CoveredConfigDirectory &) = delete;
    CoveredConfigDirectory &operator=(const CoveredConfigDirectory &) = delete;

    bool ready() const { return m_ready; }

    // The names and bytes of the files in the directory now, apart from the filler.
    std::vector<std::pair<std::string, std::string>> files() const
    {
        std::vector<std::pair<std::string, std::string>> now;
        for (const auto &entry : std::filesystem::directory_iterator(m_directory))
            if (entry.path().filename() != "filler")
                now.emplace_back(entry.path().filename().string(), readFile(entry.path()));
        std::sort(now.begin(), now.end());
        return now;
    }

    std::vector<std::pair<std::string, std::string>> filesBefore() const
    {
        auto before = m_files;
        std::sort(before.begin(), before.end());
        return before;
    }

private:
    static void fill(const std::filesystem::path &filler)
    {
        std::FILE *file = std::fopen(filler.c_str(), "w");
        ASSERT_NE(file, nullptr);
        const std::string block(4096, 'x');
        while (std::fwrite(block.data(), 1, block.size(), file) == block.size() && std::fflush(file) == 0) { }
        std::fclose(file);
        // The last page may still take a few bytes: use them up too.
        file = std::fopen(filler.c_str(), "a");
        while (file && std::fputc('x', file) != EOF && std::fflush(file) == 0) { }
        if (file)
            std::fclose(file);
    }

    std::filesystem::path m_directory;
    std::vector<std::pair<std::string, std::string>> m_files;
    bool m_mounted = false;
    bool m_ready = false;
};

const std::string favouritesFile =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n<genrelist>\n"
    "\t<genre name=\"Celtic Lounge Kiel\" url=\"http://127.0.0.1:9/stream/51795\" ></genre>\n"
    "</genrelist>\n";

class UnwritableFavourites : public ::testing::TestWithParam<CoveredConfigDirectory::Kind>
{
protected:
    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()},
                             BoxContents{{}, favouritesFile}};
    Screen screen{emulator};
};

// A favourite added where it cannot be written: the list in front has it,
// nothing is said, nothing is left behind, and the old file stays whole.
TEST_P(UnwritableFavourites, AnAddedFavouriteStaysInTheListAndTheOldFileIsIntact)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites   (1 entries)")) << screen.widgets();
    const std::filesystem::path directory =
        std::filesystem::path(emulator.boxFile("/var/tuxbox/config/genrelist.xml")).parent_path();
    CoveredConfigDirectory covered(directory, GetParam());
    if (!covered.ready())
        GTEST_SKIP() << "a full directory needs a small file system, which only root may mount";

    ASSERT_TRUE(screen.search("Jazz Lounge")) << screen.widgets();
    ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
        return mainList(shown).indexOf("The \"Real\" Jazz Lounge") >= 0;
    })) << screen.widgets();
    ASSERT_TRUE(screen.playStation("The \"Real\" Jazz Lounge")) << screen.widgets();
    ASSERT_TRUE(screen.chooseFromMenu("Add to favourites")) << screen.widgets();
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
    screen.key("blue");
    EXPECT_TRUE(screen.waitForTitle("Tarnwave / Favourites   (2 entries)")) << screen.widgets();
    screen.settle();
    EXPECT_EQ(screen.widgets().find("error"), std::string::npos) << "failing to write is not reported";
    EXPECT_EQ(covered.files(), covered.filesBefore()) << "the old file whole, and no other left behind";
    expectTheWindowAnswers(screen);
}

INSTANTIATE_TEST_SUITE_P(ReadOnlyOrFull, UnwritableFavourites,
                         ::testing::Values(CoveredConfigDirectory::Kind::readOnly, CoveredConfigDirectory::Kind::full),
                         [](const auto &parameter) {
                             return parameter.param == CoveredConfigDirectory::Kind::readOnly ? "ReadOnly" : "Full";
                         });

} // namespace

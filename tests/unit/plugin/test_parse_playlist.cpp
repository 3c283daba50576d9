// A station's playlist: the first line that mentions "File" gives the stream
// address, which is stored in the station's record and played through the
// host's player of URL streams; the two information lines follow.

#include "directory_test_support.h"
#include "plugin_test_support.h"

#include "net/ehttpconnection.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using directorytest::addRow;
using directorytest::StreamPlayerDouble;

namespace {

class ParsePlaylist : public ::testing::Test
{
protected:
    // The end of a playlist transfer whose reply had `code` and `body`, as the
    // host reports it. The connection is never started: nothing goes out.
    void finishTransfer(const std::string &body, int code = 200, const char *reason = "OK")
    {
        int error = 0;
        reply.reset(eHTTPConnection::doRequest("http://127.0.0.1:9/sbin/tunein-station.pls?id=1", eApp, &error));
        ASSERT_NE(reply, nullptr);
        reply->code = code;
        reply->code_descr = reason;
        window.connection = reply.get();
        window.playlistText = body;
        window.str_TransferDone(0);
    }

    // A station row of the top list, chosen with OK.
    std::shared_ptr<Listentry> chooseStation(const char *bitrate = "128", const char *genre = "Jazz")
    {
        auto entry = addRow(window, 2, 1, "Smooth Radio");
        entry->type = Listentry::ENTRY_STATION;
        entry->bitrate = bitrate;
        entry->genre = genre;
        window.selectedEntry = window.lists[2]->getEntry(0);
        return entry;
    }

    plugintest::Box box;
    StreamPlayerDouble player;
    Ctarnwave window;
    std::unique_ptr<eHTTPConnection> reply;
};

TEST_F(ParsePlaylist, FirstFileLineAfterHeaderAndCountIsPlayed)
{
    auto entry = chooseStation();
    const std::uint64_t before = boxlog::lastSequence();
    finishTransfer("[playlist]\nNumberOfEntries=2\nFile1=http://first.example:8000/a\nTitle1=First\n"
                   "File2=http://second.example:8000/b\nTitle2=Second\n");

    EXPECT_EQ(entry->url, "http://first.example:8000/a");
    EXPECT_EQ(player.calls,
              (std::vector<std::string>{"addRef http://first.example:8000/a", "play http://first.example:8000/a 0",
                                        "removeRef http://first.example:8000/a"}));
    EXPECT_EQ(window.stream, &player);
    EXPECT_TRUE(directorytest::logHas(before, "[TWV] play=http://first.example:8000/a"));
    // Everything of the transfer is back to idle.
    EXPECT_EQ(window.connection, nullptr);
    EXPECT_EQ(window.playlistText, "");
}

TEST_F(ParsePlaylist, ReferenceIsAStreamOfType4096WithTheAddressAsPath)
{
    chooseStation();
    finishTransfer("File1=http://s/x\n");
    ASSERT_FALSE(player.references.empty());
    for (const eServiceReference &reference : player.references) {
        EXPECT_EQ(reference.type, 4096);
        EXPECT_EQ(reference.flags, 0);
        EXPECT_EQ(reference.path, "http://s/x");
        for (int word : reference.data)
            EXPECT_EQ(word, 0);
    }
}

TEST_F(ParsePlaylist, CarriageReturnOfCrLfLineEndsStaysInTheAddress)
{
    auto entry = chooseStation();
    finishTransfer("[playlist]\r\nNumberOfEntries=1\r\nFile1=http://crlf.example/stream\r\nTitle1=T\r\n");
    EXPECT_EQ(entry->url, "http://crlf.example/stream\r");
    EXPECT_EQ(player.playing, "http://crlf.example/stream\r");
}

TEST_F(ParsePlaylist, TitleLineMentioningFileBeforeFile1IsTaken)
{
    auto entry = chooseStation();
    finishTransfer("[playlist]\nTitle1=File of the week\nFile1=http://real.example/stream\n");
    EXPECT_EQ(entry->url, "File of the week");
    EXPECT_EQ(player.playing, "File of the week");
}

TEST_F(ParsePlaylist, AddressIsEverythingAfterTheFirstEqualsSignVerbatim)
{
    auto entry = chooseStation();
    finishTransfer("File1= http://x/?a=b&c=d  ");
    EXPECT_EQ(entry->url, " http://x/?a=b&c=d  ");
}

TEST_F(ParsePlaylist, FileLineWithoutEqualsSignGivesTheWholeLine)
{
    auto entry = chooseStation();
    finishTransfer("NumberOfEntries=1\nFile http://no-equals.example/\nFile2=http://second/\n");
    EXPECT_EQ(entry->url, "File http://no-equals.example/");
}

TEST_F(ParsePlaylist, FileIsMatchedWithItsLetterCase)
{
    auto entry = chooseStation();
    finishTransfer("file1=http://small/\nFILE1=http://capital/\n");
    EXPECT_EQ(entry->url, "");
    EXPECT_TRUE(player.calls.empty());
}

TEST_F(ParsePlaylist, PlaylistWithoutFileLinePlaysNothingAndSaysNothing)
{
    chooseStation();
    window.lb_status->setText("Download...  One moment please...");
    window.lb_station->setText("Before");
    finishTransfer("[playlist]\nNumberOfEntries=0\nVersion=2\n");
    EXPECT_TRUE(player.calls.empty());
    EXPECT_EQ(window.lb_station->getText(), "Before");
    EXPECT_EQ(window.lb_status->getText(), "Download...  One moment please...");
    EXPECT_EQ(window.playlistText, "");
}

TEST_F(ParsePlaylist, EmptyPlaylistPlaysNothingAndSaysNothing)
{
    chooseStation();
    window.lb_status->setText("unchanged");
    finishTransfer("");
    EXPECT_TRUE(player.calls.empty());
    EXPECT_EQ(window.lb_status->getText(), "unchanged");
    EXPECT_EQ(window.connection, nullptr);
}

TEST_F(ParsePlaylist, NotFoundReplyShowsTheServersWordsAndKeepsThePreviousStreamPlaying)
{
    auto entry = chooseStation();
    finishTransfer("File1=http://old.example/stream\n");
    ASSERT_EQ(player.playing, "http://old.example/stream");
    player.calls.clear();

    finishTransfer("<html>not here</html>", 404, "Not Found");
    EXPECT_EQ(window.lb_status->getText(), "error: server replied 404 Not Found");
    EXPECT_EQ(player.playing, "http://old.example/stream");
    EXPECT_TRUE(player.calls.empty());
    EXPECT_EQ(entry->url, "http://old.example/stream");
    EXPECT_EQ(window.playlistText, "");
    EXPECT_EQ(window.connection, nullptr);
}

TEST_F(ParsePlaylist, TransferErrorIsShownAndStopsNothing)
{
    chooseStation();
    finishTransfer("File1=http://old.example/stream\n");
    player.calls.clear();
    window.playlistText = "File1=http://left-over/\n";
    window.str_TransferDone(-3);
    EXPECT_EQ(window.lb_status->getText(), "Can't connect! (check network settings)");
    EXPECT_TRUE(player.calls.empty());
    EXPECT_EQ(window.playlistText, "");
}

TEST_F(ParsePlaylist, InformationLinesNameTheStationItsBitrateAndGenre)
{
    chooseStation("128", "Jazz");
    finishTransfer("File1=http://s/\n");
    EXPECT_EQ(window.lb_station->getText(), "Smooth Radio");
    EXPECT_EQ(window.lb_title->getText(), "bitrate: 128\tgenre: Jazz");
}

TEST_F(ParsePlaylist, TabAfterTheBitrateStaysWithoutGenre)
{
    chooseStation("192", "");
    finishTransfer("File1=http://s/\n");
    EXPECT_EQ(window.lb_title->getText(), "bitrate: 192\t");
}

TEST_F(ParsePlaylist, GenreAloneHasNoLeadingTab)
{
    chooseStation("", "Jazz");
    finishTransfer("File1=http://s/\n");
    EXPECT_EQ(window.lb_title->getText(), "genre: Jazz");
}

TEST_F(ParsePlaylist, StationWithoutBitrateAndGenreShowsItsAddress)
{
    chooseStation("", "");
    finishTransfer("File1=http://bare.example:8000/\n");
    EXPECT_EQ(window.lb_title->getText(), "URL: http://bare.example:8000/");
}

TEST_F(ParsePlaylist, FavouriteWithAddressIsPlayedDirectly)
{
    addRow(window, 0, 1, "My Radio", "http://mine.example/live");
    window.play(window.lists[0]->getEntry(0));
    EXPECT_EQ(player.playing, "http://mine.example/live");
    EXPECT_EQ(window.lb_station->getText(), "My Radio");
    EXPECT_EQ(window.lb_title->getText(), "URL: http://mine.example/live");
}

TEST_F(ParsePlaylist, PlayStopsWhatPlayedBeforeStartingTheNext)
{
    addRow(window, 0, 1, "One", "http://one/");
    addRow(window, 0, 2, "Two", "http://two/");
    window.play(window.lists[0]->getEntry(0));
    player.calls.clear();
    window.play(window.lists[0]->getEntry(1));
    EXPECT_EQ(player.calls,
              (std::vector<std::string>{"stop", "addRef http://two/", "play http://two/ 0", "removeRef http://two/"}));
}

TEST_F(ParsePlaylist, WithoutAPlayerTheOldStreamIsStoppedAndNothingIsSaid)
{
    addRow(window, 0, 1, "One", "http://one/");
    addRow(window, 0, 2, "Two", "http://two/");
    window.play(window.lists[0]->getEntry(0));
    window.lb_station->setText("One");
    window.lb_title->setText("URL: http://one/");
    // The host has no player for streams any more.
    eServiceInterface::getInstance()->unregisterHandler(eServiceReference::idStream, &player);
    ASSERT_EQ(eServiceInterface::getInstance()->getServiceHandler(4096), nullptr);

    window.play(window.lists[0]->getEntry(1));
    EXPECT_EQ(player.calls.back(), "stop");
    EXPECT_EQ(window.stream, nullptr);
    EXPECT_EQ(window.lb_station->getText(), "One");
    EXPECT_EQ(window.lb_title->getText(), "URL: http://one/");
}

TEST_F(ParsePlaylist, RowOfAListLoadedAgainMeanwhileIsForgottenAndNothingPlays)
{
    chooseStation();
    // The top list is loaded again while the playlist is on its way.
    directorytest::parseInto(window, 2,
                             "<stationlist><station name=\"Other\" mt=\"audio/mpeg\" br=\"128\"/></stationlist>");
    EXPECT_EQ(window.selectedEntry, nullptr);
    finishTransfer("File1=http://late/\n");
    EXPECT_TRUE(player.calls.empty());
    EXPECT_EQ(window.playlistText, "");
    EXPECT_EQ(directorytest::entryOf(window, 2, 0).url, "") << "the new row of the same place is not given the address";
}

TEST_F(ParsePlaylist, ReloadingAnotherListKeepsTheChosenStation)
{
    auto entry = chooseStation();
    directorytest::parseInto(window, 1, "<genrelist><genre name=\"Jazz\"/></genrelist>");
    EXPECT_EQ(window.selectedEntry, window.lists[2]->getEntry(0));
    finishTransfer("File1=http://still/\n");
    EXPECT_EQ(entry->url, "http://still/");
    EXPECT_EQ(player.playing, "http://still/");
}

} // namespace

// The favourites through the settings menu, in the emulator against the
// station server: a station added is there after the plug-in was left and
// started again, and the file holds exactly the lines the box writes; a
// favourite deleted with yes leaves list and file empty, with no both stay;
// and a favourite whose address holds "&" is written as it is, so the file
// does not parse the next time, and is put aside, byte for byte, before the
// list is written over it.

#include "emulator_process.h"
#include "tarnwave_screen.h"

#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using tarnwave_e2e::mainList;
using tarnwave_e2e::Screen;
using tarnwave_e2e::ShownMessage;

namespace {

const std::string favouritesPath = "/var/tuxbox/config/genrelist.xml";

// The favourites file with `lines` between its first and last lines.
std::string favouritesFile(const std::string &lines)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n<genrelist>\n" + lines + "</genrelist>\n";
}

std::string stationLine(const std::string &escapedName, const std::string &url)
{
    return "\t<genre name=\"" + escapedName + "\" url=\"" + url + "\" ></genre>\n";
}

class FavouritesTest : public ::testing::Test
{
protected:
    // The server starts first; the box holds one favourite of it, as the box
    // wrote it, when `withOneFavourite`.
    explicit FavouritesTest(bool withOneFavourite = false)
        : emulator({"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()},
                   withOneFavourite ? BoxContents{{}, oneFavourite()} : BoxContents{})
    {
    }

    std::string oneFavourite() const { return favouritesFile(stationLine("Celtic Lounge Kiel", streamUrl("51795"))); }

    std::string file(const std::string &suffix = "") const { return emulator.boxFile(favouritesPath + suffix); }

    bool fileHolds(const std::string &bytes, const std::string &suffix = "") const
    {
        return within(5s, [&] { return std::filesystem::exists(file(suffix)) && readFile(file(suffix)) == bytes; });
    }

    std::string streamUrl(const std::string &id) const { return server.baseUrl() + "/stream/" + id; }

    // Searches for `text` and plays the station `name` it finds; the id of
    // the station tuned in.
    std::string searchAndPlay(const std::string &text, const std::string &name) const
    {
        EXPECT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
        EXPECT_TRUE(screen.search(text)) << screen.widgets();
        EXPECT_TRUE(screen.waitFor([&](const std::string &shown) { return mainList(shown).indexOf(name) >= 0; }))
            << screen.widgets();
        EXPECT_TRUE(screen.playStation(name)) << screen.widgets();
        const auto ids = tarnwave_e2e::tunedInIds(server);
        return ids.empty() ? std::string() : ids.back();
    }

    void addToFavourites() const
    {
        ASSERT_TRUE(screen.chooseFromMenu("Add to favourites")) << screen.widgets();
        ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
    }

    StationServerProcess server;
    EmulatorProcess emulator;
    Screen screen{emulator};
};

class Favourites : public FavouritesTest
{
};

TEST_F(Favourites, AnAddedStationIsThereWhenStartedAgainAndTheFileHasExactlyItsLine)
{
    const std::string id = searchAndPlay("Jazz Lounge", "The \"Real\" Jazz Lounge");
    ASSERT_FALSE(id.empty());
    addToFavourites();
    const std::string written = favouritesFile(stationLine("The &quot;Real&quot; Jazz Lounge", streamUrl(id)));
    EXPECT_TRUE(fileHolds(written)) << readFile(file());

    ASSERT_TRUE(screen.leaveAndStartAgain()) << screen.widgets();
    ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
        return mainList(shown).rows == std::vector<std::string>{"The \"Real\" Jazz Lounge"};
    })) << screen.widgets();
    EXPECT_EQ(screen.title(), "Tarnwave / Favourites   (1 entries)");
    EXPECT_EQ(readFile(file()), written) << "reading leaves the file as it is";
}

TEST_F(Favourites, AnAddressWithAnAmpersandBreaksTheFileWhichIsPutAsideWhenTheListIsWrittenAgain)
{
    server.addFault("/sbin/tunein-station.pls", "ampersand-address");
    const std::string id = searchAndPlay("Jazz Lounge", "The \"Real\" Jazz Lounge");
    ASSERT_FALSE(id.empty());
    addToFavourites();
    // The address is written as it is, "&" and all.
    const std::string broken =
        favouritesFile(stationLine("The &quot;Real&quot; Jazz Lounge", streamUrl(id) + "?a=1&b=2"));
    ASSERT_TRUE(fileHolds(broken)) << readFile(file());
    server.clearFaults();

    // The plug-in opens on the empty favourites (its title clears the status
    // line the first reading set); blue reads the file again and says why.
    ASSERT_TRUE(screen.leaveAndStartAgain()) << screen.widgets();
    EXPECT_EQ(screen.title(), "Tarnwave / Favourites   (0 entries)");
    screen.key("blue");
    ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
        return shown.find("\"text\":\"XML parse error.\"") != std::string::npos;
    })) << screen.widgets();
    EXPECT_TRUE(mainList(screen.widgets()).rows.empty()) << screen.widgets();
    EXPECT_EQ(readFile(file()), broken) << "reading leaves the broken file as it is";

    const std::string firstId = searchAndPlay("Celtic Lounge", "Celtic Lounge Kiel");
    addToFavourites();
    EXPECT_TRUE(fileHolds(broken, ".broken")) << "put aside as it was";
    EXPECT_TRUE(fileHolds(favouritesFile(stationLine("Celtic Lounge Kiel", streamUrl(firstId))))) << readFile(file());

    const std::string secondId = searchAndPlay("Country Lounge", "Country Lounge Porto");
    addToFavourites();
    EXPECT_TRUE(fileHolds(favouritesFile(stationLine("Celtic Lounge Kiel", streamUrl(firstId))
                                         + stationLine("Country Lounge Porto", streamUrl(secondId)))))
        << readFile(file());
    EXPECT_EQ(readFile(file(".broken")), broken) << "the copy aside stays as it was";
    EXPECT_FALSE(std::filesystem::exists(file(".broken.1"))) << "and is not put aside again";
}

class OneFavourite : public FavouritesTest
{
protected:
    OneFavourite() : FavouritesTest(true) { }

    // Blue list, menu, the delete row: the question it asks.
    ShownMessage askToDelete() const
    {
        EXPECT_TRUE(screen.waitFor([](const std::string &shown) {
            return mainList(shown).rows == std::vector<std::string>{"Celtic Lounge Kiel"};
        })) << screen.widgets();
        EXPECT_TRUE(screen.chooseFromMenu("Favourites entry delete")) << screen.widgets();
        return screen.waitForMessage();
    }

    void expectTheQuestion(const ShownMessage &question) const
    {
        ASSERT_TRUE(question.shown) << screen.widgets();
        EXPECT_EQ(question.caption, "Message");
        EXPECT_EQ(question.text, "Favourites entry delete\n\nCeltic Lounge Kiel\n\n" + streamUrl("51795"));
        EXPECT_EQ(question.icon, "messagebox.question");
        EXPECT_EQ(question.focusedButton, "yes") << "yes is the default";
    }
};

TEST_F(OneFavourite, DeletedWithYesTheListAndTheFileAreEmpty)
{
    const ShownMessage question = askToDelete();
    expectTheQuestion(question);
    ASSERT_TRUE(screen.answer("yes")) << screen.widgets();
    EXPECT_TRUE(screen.waitFor([](const std::string &shown) {
        return tarnwave_e2e::windowAt(shown, tarnwave_e2e::mainWindow) != std::string::npos
               && mainList(shown).rows.empty();
    })) << screen.widgets();
    EXPECT_TRUE(fileHolds(favouritesFile(""))) << readFile(file());
}

TEST_F(OneFavourite, AnsweredNoTheListAndTheFileStayAsTheyWere)
{
    const ino_t before = inodeOf(file());
    const ShownMessage question = askToDelete();
    expectTheQuestion(question);
    ASSERT_TRUE(screen.answer("no")) << screen.widgets();
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites")) << screen.widgets();
    screen.settle();
    EXPECT_EQ(mainList(screen.widgets()).rows, std::vector<std::string>{"Celtic Lounge Kiel"});
    EXPECT_EQ(readFile(file()), oneFavourite());
    EXPECT_EQ(inodeOf(file()), before) << "not written again";
}

} // namespace

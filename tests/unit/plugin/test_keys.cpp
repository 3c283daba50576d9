// The main window's keys: the colour keys with their sort reset and the rule
// that a loaded list is not fetched again, red, exit, the compact bar that any
// key brings back, and OK on a genre or station row.

#include "modal_script.h"
#include "plugin_test_support.h"
#include "shell_test_doubles.h"

#include "plugin/ctarnwave.h"

#include "base/messages.h"
#include "net/ehttpconnection.h"
#include "system/decoder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

std::shared_ptr<Listentry> genre(int index, const char *name)
{
    return std::make_shared<Listentry>(index, name);
}

std::shared_ptr<Listentry> station(int index, const char *name, const char *id, const char *url = "")
{
    auto record = std::make_shared<Listentry>(index, name);
    record->type = Listentry::ENTRY_STATION;
    record->tuneinBase = "/sbin/tunein-station.pls";
    record->id = id;
    record->url = url;
    return record;
}

std::vector<std::string> namesOf(eListBox<my_ListBox> *list)
{
    std::vector<std::string> names;
    list->forEachEntry([&](my_ListBox &row) {
        names.push_back(row.entry->name);
        return false;
    });
    return names;
}

// A shown main window whose directory takes requests and never answers, so a
// transfer that a key starts stays visible; in English, on a fresh decoder.
class Keys : public plugintest::ShownMainWindow
{
protected:
    Keys() { box.directoryUrl(directory.baseUrl()); }

    static bool press(const char *key) { return eScreen::osd().handleKey(key); }

    SilentDirectory directory;
};

TEST_F(Keys, InTheCompactViewRedOnlyRestoresTheFullView)
{
    new my_ListBox(window->lists[0], genre(2, "B"), false);
    new my_ListBox(window->lists[0], genre(1, "A"), false);
    window->switch_window(false);
    ASSERT_FALSE(window->fullView);

    EXPECT_TRUE(press("red"));

    EXPECT_TRUE(window->fullView);
    EXPECT_TRUE(window->lists[0]->isVisible());
    EXPECT_EQ(window->bt_red->getText(), "index");
    EXPECT_EQ(Listentry::setSort, Listentry::SORT_INDEX);
    EXPECT_EQ(namesOf(window->lists[0]), (std::vector<std::string>{"B", "A"}));
}

TEST_F(Keys, InTheCompactViewAnyKeyOnlyRestoresTheFullView)
{
    new my_ListBox(window->lists[0], genre(1, "Jazz"), false);
    window->showCurrList();
    for (const char *key : {"yellow", "green", "blue", "ok", "up", "down", "menu", "5"}) {
        SCOPED_TRACE(key);
        window->switch_window(false);
        window->idleTicks = 7;
        EXPECT_TRUE(press(key));
        EXPECT_TRUE(window->fullView);
        EXPECT_EQ(window->idleTicks, 0);
        EXPECT_EQ(window->currentList, 0);
        EXPECT_EQ(window->connection, nullptr);
    }
}

TEST_F(Keys, ExitInTheCompactViewRestoresTheFullViewAndASecondPressLeaves)
{
    window->switch_window(false);
    bool secondTickRan = false;
    bool fullAfterFirstExit = false;
    bool runningAfterFirstExit = false;
    eTimer firstExit(eApp);
    eTimer secondExit(eApp);
    eTimer safety(eApp);
    firstExit.timeout.connect([&] { press("exit"); });
    secondExit.timeout.connect([&] {
        secondTickRan = true;
        fullAfterFirstExit = window->fullView;
        runningAfterFirstExit = window->isInExec();
        press("exit");
    });
    safety.timeout.connect([&] { window->close(99); });
    firstExit.start(20, true);
    secondExit.start(120, true);
    safety.start(3000, true);

    const int result = window->exec();

    EXPECT_TRUE(secondTickRan);
    EXPECT_TRUE(fullAfterFirstExit);
    EXPECT_TRUE(runningAfterFirstExit);
    EXPECT_NE(result, 99);
    // close(0), and then the window's own exit handling, which the event still reaches.
    EXPECT_EQ(result, -1);
}

TEST_F(Keys, ExitInTheFullViewLeaves)
{
    eTimer exitKey(eApp);
    eTimer safety(eApp);
    exitKey.timeout.connect([&] { press("exit"); });
    safety.timeout.connect([&] { window->close(99); });
    exitKey.start(20, true);
    safety.start(3000, true);

    EXPECT_EQ(window->exec(), -1);
    EXPECT_TRUE(window->fullView);
}

TEST_F(Keys, YellowBackToALoadedGenreListShowsItWithoutANewRequestAndInIndexOrder)
{
    // The genre list as a first yellow press left it.
    new my_ListBox(window->lists[1], genre(1, "Rock"), false);
    new my_ListBox(window->lists[1], genre(2, "Jazz"), false);
    new my_ListBox(window->lists[1], genre(3, "Blues"), false);
    window->currentList = 1;
    window->showCurrList();
    press("red");
    press("red");
    ASSERT_EQ(namesOf(window->lists[1]), (std::vector<std::string>{"Blues", "Jazz", "Rock"}));
    window->currentList = 0;
    window->showCurrList();
    const int transfers = eHTTPConnection::activeTransfers();

    EXPECT_TRUE(press("yellow"));

    EXPECT_EQ(window->currentList, 1);
    EXPECT_EQ(window->connection, nullptr);
    EXPECT_EQ(eHTTPConnection::activeTransfers(), transfers);
    EXPECT_EQ(Listentry::setSort, Listentry::SORT_INDEX);
    EXPECT_EQ(window->bt_red->getText(), "index");
    EXPECT_EQ(namesOf(window->lists[1]), (std::vector<std::string>{"Rock", "Jazz", "Blues"}));
    EXPECT_TRUE(window->lists[1]->isVisible());
    EXPECT_FALSE(window->lists[0]->isShown());
    EXPECT_TRUE(window->lists[1]->hasFocus());
    EXPECT_EQ(window->getText(), "Tarnwave / Genre List   (3 entries)");

    // The top list, never loaded, is asked for.
    EXPECT_TRUE(press("green"));
    EXPECT_NE(window->connection, nullptr);
    EXPECT_EQ(eHTTPConnection::activeTransfers(), transfers + 1);
}

TEST_F(Keys, AColourKeyOnAnEmptyListAsksTheDirectoryForIt)
{
    window->SortSet(false);

    EXPECT_TRUE(press("green"));

    EXPECT_EQ(window->currentList, 2);
    EXPECT_EQ(Listentry::setSort, Listentry::SORT_INDEX);
    EXPECT_EQ(window->bt_red->getText(), "index");
    ASSERT_NE(window->connection, nullptr);
    EXPECT_EQ(window->connection->url(), directory.baseUrl() + "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg");
    EXPECT_EQ(window->lb_status->getText(), "Download...  One moment please...");
}

TEST_F(Keys, BlueOnAnEmptyFavouritesListReadsTheFavouritesFile)
{
    writeFile(box.root.file("var/tuxbox/config/genrelist.xml"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n<genrelist>\n"
              "\t<genre name=\"Jazz\" ></genre>\n\t<genre name=\"Radio X\" url=\"http://radio.example/x\" ></genre>\n"
              "</genrelist>\n");
    new my_ListBox(window->lists[1], genre(1, "Rock"), false);
    press("yellow");
    ASSERT_EQ(window->currentList, 1);

    EXPECT_TRUE(press("blue"));

    EXPECT_EQ(window->currentList, 0);
    EXPECT_EQ(window->connection, nullptr);
    EXPECT_EQ(namesOf(window->lists[0]), (std::vector<std::string>{"Jazz", "Radio X"}));
    EXPECT_EQ(window->getText(), "Tarnwave / Favourites   (2 entries)");
}

TEST_F(Keys, OkOnAGenreRowAsksForItsStationsForList3)
{
    new my_ListBox(window->lists[1], genre(1, "Rock"), false);
    new my_ListBox(window->lists[1], genre(2, "Acid Jazz"), false);
    window->currentList = 1;
    window->showCurrList();
    press("down");

    EXPECT_TRUE(press("ok"));

    EXPECT_EQ(window->currentList, 3);
    EXPECT_EQ(window->lastRequest, "Acid Jazz");
    ASSERT_NE(window->connection, nullptr);
    // The name goes into the query as it is; the host's client encodes the blank for the wire.
    EXPECT_EQ(window->connection->url(), directory.baseUrl() + "/sbin/newxml.phtml?search=Acid%20Jazz");
    EXPECT_EQ(window->selectedEntry, nullptr);
}

TEST_F(Keys, OkOnAStationRowFetchesItsPlaylistFromTheTuneInAddress)
{
    new my_ListBox(window->lists[2], station(1, "Jazz FM", "4711"), false);
    window->currentList = 2;
    window->showCurrList();
    my_ListBox *row = window->lists[2]->getEntry(0);

    EXPECT_TRUE(press("ok"));

    EXPECT_EQ(window->selectedEntry, row);
    EXPECT_EQ(window->currentList, 2);
    ASSERT_NE(window->connection, nullptr);
    EXPECT_EQ(window->connection->url(), directory.baseUrl() + "/sbin/tunein-station.pls?id=4711");
    EXPECT_EQ(window->lb_status->getText(), "Download...  One moment please...");
}

TEST_F(Keys, OkOnAStationWhileItsPlaylistIsStillLoadingDoesNothing)
{
    new my_ListBox(window->lists[2], station(1, "Jazz FM", "4711"), false);
    new my_ListBox(window->lists[2], station(2, "Rock FM", "4712"), false);
    new my_ListBox(window->lists[2], genre(3, "Blues"), false);
    window->currentList = 2;
    window->showCurrList();
    my_ListBox *first = window->lists[2]->getEntry(0);
    press("ok");
    eHTTPConnection *loading = window->connection;
    ASSERT_NE(loading, nullptr);

    press("down");
    press("ok");
    press("down");
    press("ok");

    EXPECT_EQ(window->selectedEntry, first);
    EXPECT_EQ(window->connection, loading);
    EXPECT_EQ(window->currentList, 2);
    EXPECT_EQ(window->connection->url(), directory.baseUrl() + "/sbin/tunein-station.pls?id=4711");
}

TEST_F(Keys, OkOnAFavouriteWithAnAddressPlaysItAtOnce)
{
    NotingServiceHandler handler;
    eServiceInterface::getInstance()->registerHandler(eServiceReference::idStream, &handler);
    new my_ListBox(window->lists[0], station(1, "Radio X", "", "http://radio.example/x"), false);
    window->showCurrList();
    my_ListBox *row = window->lists[0]->getEntry(0);

    press("ok");

    EXPECT_EQ(window->selectedEntry, row);
    EXPECT_EQ(window->connection, nullptr);
    EXPECT_EQ(handler.played, std::vector<std::string>{"http://radio.example/x"});
    EXPECT_EQ(window->stream, &handler);
    window.reset();
    eServiceInterface::getInstance()->unregisterHandler(eServiceReference::idStream, &handler);
}

TEST_F(Keys, OkWithoutARowDoesNothing)
{
    window->showCurrList();
    ASSERT_EQ(window->lists[0]->getCount(), 0);

    press("ok");
    window->listeselected(nullptr);

    EXPECT_EQ(window->currentList, 0);
    EXPECT_EQ(window->connection, nullptr);
    EXPECT_EQ(window->selectedEntry, nullptr);
}

TEST_F(Keys, AnyKeyStartsTheIdleCountAgain)
{
    // Keys that reach the window; an empty list lets up and down pass, and
    // the digit opens nothing. The menu is left at once.
    plugintest::ModalScript script(box.app);
    script.expect("setup_menu", [](eWidget &) { press("exit"); });
    for (const char *key : {"up", "down", "red", "blue", "menu", "5"}) {
        window->idleTicks = 12;
        press(key);
        EXPECT_EQ(window->idleTicks, 0) << key;
    }
    EXPECT_TRUE(script.finished()) << script.problems();
}

} // namespace

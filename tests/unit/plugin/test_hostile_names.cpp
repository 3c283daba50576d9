// Station names and addresses from the internet can be anything: very long,
// not UTF-8, full of markup or control characters. They are listed, drawn,
// titled and saved without harm.

#include "directory_test_support.h"
#include "plugin_test_support.h"
#include "support/pixel_probes.h"

#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <cstddef>
#include <string>

namespace {

class HostileNames : public ::testing::Test
{
protected:
    HostileNames()
    {
        eConfig::getInstance()->setKey("/tarnwave/minbitrate", 0);
        window.show();
    }

    static std::string station(const std::string &name, const std::string &genre = "Rock")
    {
        return "<station name=\"" + name + "\" mt=\"audio/mpeg\" id=\"1\" br=\"128\" genre=\"" + genre + "\"/>";
    }

    static std::string stationList(const std::string &stations)
    {
        return "<stationlist><tunein base=\"/sbin/tunein-station.pls\"/>" + stations + "</stationlist>";
    }

    // Draws the list in front and gives the screen back for probing.
    void draw()
    {
        eScreen::osd().invalidateAll();
        eScreen::osd().compose();
    }

    plugintest::Box box;
    Ctarnwave window;
};

TEST_F(HostileNames, AVeryLongNameIsListedAndDrawnInsideItsRow)
{
    const std::string longName(10000, 'W');
    // The long name in the second row, drawn in the list's text colour.
    directorytest::parseInto(window, 2, stationList(station("First") + station(longName)));
    ASSERT_EQ(window.lists[2]->getCount(), 2);
    EXPECT_EQ(directorytest::entryOf(window, 2, 1).name, longName);
    draw();
    const eRect list = window.lists[2]->getAbsoluteRect();
    const int rowTop = list.top() + my_ListBox::EntryHeight;
    const eRect row = eRect::fromEdges(list.left(), rowTop, list.right(), rowTop + my_ListBox::EntryHeight / 2);
    const gRGB text = box.skin->queryColor("eListBox.foreground");
    EXPECT_GT(countPixels(row, text), 100) << "the name is drawn";
    // and nothing of it right of the list.
    EXPECT_EQ(countPixels(eRect::fromEdges(list.right(), row.top(), 720, row.bottom()), text), 0);
}

// Bytes handed out by malloc and not yet freed, mmapped blocks included; 0
// under an allocator that does not report them (a sanitizer's).
std::size_t heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

TEST_F(HostileNames, ANameOfOneMegabyteCostsAtMostFourMegabytesWhileShown)
{
    std::string longName;
    while (longName.size() < 1'000'000)
        longName += "Radio K\xc3\xb6ln Stra\xc3\x9f"
                    "e ";
    const std::string reply = stationList(station(longName));
    draw();
    const std::size_t before = heapInUse();
    if (before == 0)
        GTEST_SKIP() << "this allocator reports no heap figures";

    // In its row, and on the status bar's station line as if it played.
    directorytest::parseInto(window, 3, reply);
    window.lb_station->setText(longName);
    draw();

    const std::size_t growth = heapInUse() - before;
    EXPECT_LE(growth, std::size_t{4} << 20) << growth / 1024 << " KiB";
    EXPECT_EQ(directorytest::entryOf(window, 3, 0).name, longName);
}

TEST_F(HostileNames, LatinOneNamesBecomeUtf8Letters)
{
    // ISO-8859-1 declared, so expat turns the bytes into UTF-8 letters.
    const std::string latin1 =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + stationList(station("Caf\xe9 \xff Radio"));
    directorytest::parseInto(window, 2, latin1);
    ASSERT_EQ(window.lists[2]->getCount(), 1);
    EXPECT_EQ(directorytest::entryOf(window, 2, 0).name, "Caf\xc3\xa9 \xc3\xbf Radio");
    draw();
}

TEST_F(HostileNames, MarkupAndControlCharactersInNamesAreJustText)
{
    directorytest::parseInto(window, 3,
                             stationList(station("&lt;b&gt;Bold&lt;/b&gt; &amp; &quot;quoted&quot; &#9;tab")
                                         + station("%s %n %d", "&#10;newline")));
    ASSERT_EQ(window.lists[3]->getCount(), 2);
    EXPECT_EQ(directorytest::entryOf(window, 3, 0).name, "<b>Bold</b> & \"quoted\" \ttab");
    EXPECT_EQ(directorytest::entryOf(window, 3, 1).name, "%s %n %d");
    EXPECT_EQ(directorytest::entryOf(window, 3, 1).genre, "\nnewline");
    draw();
    // The widget description of the screen stays valid text.
    const std::string json = eScreen::osd().describe();
    EXPECT_NE(json.find("\\\"quoted\\\" \\ttab"), std::string::npos) << json;
}

TEST_F(HostileNames, ASearchTextFullOfFormatCharactersTitlesTheList)
{
    window.lastRequest = "%s%s%s%n";
    window.currentList = 3;
    window.set_Window_Title();
    EXPECT_NE(window.getText().find("%s%s%s%n"), std::string::npos) << window.getText();
}

TEST_F(HostileNames, AFavouriteWithAHostileAddressIsSavedAndDrawn)
{
    directorytest::addRow(window, 0, 1, "Station", "http://evil.example/\"><genre name=\"x\"/>?a=1&b=2");
    window.currentList = 0;
    window.showCurrList();
    window.write_genrelist();
    draw();
    EXPECT_EQ(window.lists[0]->getCount(), 1);
}

} // namespace

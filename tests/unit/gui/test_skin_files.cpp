// Skin files that are missing, broken or incomplete, the test skin with its
// deliberate gaps, and the built-in empty skin: each gives clear log lines and
// fallbacks, never a crash.

#include "gui/elabel.h"
#include "gui/emessagebox.h"
#include "gui/eskin.h"
#include "gui/ewidget.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"
#include "gui/widgets/json_writer.h"
#include "support/log_lines.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

const std::string testSkinFile = std::string(TARNWAVE_BINARY_DIR) + "/data/skin-test/skin.xml";
const std::string defaultSkinFile = std::string(TARNWAVE_BINARY_DIR) + "/data/skin/default.xml";

// The lines (warning or worse) since `sequence` that mention every one of `texts`.
long linesMentioning(std::uint64_t sequence, const std::vector<std::string> &texts)
{
    const std::vector<std::string> lines = warningsSince(sequence);
    return std::count_if(lines.begin(), lines.end(), [&](const std::string &line) {
        return std::all_of(texts.begin(), texts.end(),
                           [&](const std::string &text) { return line.find(text) != std::string::npos; });
    });
}

// Whether a log line at error level since `sequence` mentions `text`.
bool errorMentions(std::uint64_t sequence, const std::string &text)
{
    for (const boxlog::Line &line : boxlog::linesSince(sequence))
        if (line.level == boxlog::Level::error && line.text.find(text) != std::string::npos)
            return true;
    return false;
}

TEST(SkinFiles, BeforeAnySkinIsSetTheActiveSkinIsAUsableEmptyOne)
{
    eSkin *empty = eSkin::getActive();
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(eSkin::getActive(), empty) << "always the same built-in skin";
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(empty->queryColor("std_dred", gColor(1, 2, 3)), gColor(1, 2, 3));
    EXPECT_EQ(empty->queryFont("epg.title"), gFont("Regular", 20));
    EXPECT_EQ(empty->queryValue("fontsize", 20), 20);
    EXPECT_EQ(empty->queryImage("key.32"), nullptr);
    EXPECT_FALSE(empty->queryDeco("eButton").valid);
    eWidget window;
    EXPECT_EQ(empty->build(&window, "rss.weather"), -1);
    EXPECT_TRUE(window.getChildren().empty());
    EXPECT_TRUE(warningsSince(before).empty()) << "with no skin loaded, every miss is expected: debug lines only";
}

TEST(SkinFiles, AMissingFileIsAnErrorNamingItAndAddsNothing)
{
    TempDir dir;
    const std::string missing = (dir.path() / "nowhere.xml").string();
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.load(missing.c_str()), -1);
    EXPECT_TRUE(errorMentions(before, missing));
    EXPECT_EQ(linesMentioning(before, {missing, "No such file"}), 1);
    EXPECT_EQ(skin.queryValue("fontsize", 20), 20);
    EXPECT_EQ(skin.load(nullptr), -1);
    EXPECT_EQ(skin.load(dir.str().c_str()), -1) << "a directory is no skin file";
}

TEST(SkinFiles, AFileThatIsNotXmlIsAnErrorWithItsLineAndAddsNothing)
{
    TempDir dir;
    const std::string file = dir.file("broken.xml").string();
    writeFile(file, "<skin>\n  <colors>\n    <color name=\"std_dred\" value=\"#ff0000\"/>\n  </colors>\n  <<oops\n");
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.load(file.c_str()), -1);
    EXPECT_TRUE(errorMentions(before, file));
    EXPECT_EQ(linesMentioning(before, {file, "not XML", "line 5"}), 1);
    EXPECT_FALSE(skin.hasColor("std_dred")) << "what came before the damage is not taken either";

    const std::string empty = dir.file("empty.xml").string();
    writeFile(empty, "");
    EXPECT_EQ(skin.load(empty.c_str()), -1);
    EXPECT_EQ(linesMentioning(before, {empty, "not XML"}), 1);

    const std::string binary = dir.file("binary.xml").string();
    writeFile(binary, std::string("\x89PNG\r\n\x1a\n\0\0\0", 11));
    EXPECT_EQ(skin.load(binary.c_str()), -1);
    EXPECT_EQ(linesMentioning(before, {binary, "not XML"}), 1);
}

TEST(SkinFiles, WellFormedXmlWithAnotherRootIsNotASkin)
{
    TempDir dir;
    const std::string file = dir.file("page.xml").string();
    writeFile(file, "<html><colors><color name=\"std_dred\" value=\"#ff0000\"/></colors></html>");
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.load(file.c_str()), -1);
    EXPECT_EQ(linesMentioning(before, {file, "not a skin", "<html>"}), 1);
    EXPECT_FALSE(skin.hasColor("std_dred"));
}

TEST(SkinFiles, AnImageWhosePngIsMissingOrDamagedIsLeftOutWithAWarning)
{
    TempDir dir;
    writeFile(dir.file("images/damaged.png"), "not a png at all");
    const std::string file = dir.file("skin.xml").string();
    writeFile(file, "<skin>\n"
                    "  <colors><color name=\"std_dred\" value=\"#ffc62828\"/></colors>\n"
                    "  <images>\n"
                    "    <image name=\"key.32\" file=\"images/missing.png\"/>\n"
                    "    <image name=\"key.12\" file=\"images/damaged.png\"/>\n"
                    "  </images>\n"
                    "</skin>\n");
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.load(file.c_str()), 0) << "the rest of the skin is usable";
    const std::string missingPath = (dir.path() / "images/missing.png").string();
    const std::string damagedPath = (dir.path() / "images/damaged.png").string();
    EXPECT_EQ(linesMentioning(before, {file, "line 4", "key.32", missingPath}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 5", "key.12", damagedPath}), 1);
    EXPECT_EQ(skin.queryImage("key.32"), nullptr);
    EXPECT_EQ(skin.queryImage("key.12"), nullptr);
    EXPECT_TRUE(skin.hasColor("std_dred"));
}

TEST(SkinFiles, BadColoursNumbersAndElementsAreWarnedAboutAndLeftOut)
{
    TempDir dir;
    const std::string file = dir.file("skin.xml").string();
    writeFile(file, "<skin>\n"
                    "  <colors>\n"
                    "    <color name=\"good\" value=\"#10203040\"/>\n"
                    "    <color name=\"bad\" value=\"#zz0000\"/>\n"
                    "    <color name=\"unknownName\" value=\"defined.nowhere\"/>\n"
                    "  </colors>\n"
                    "  <values><value name=\"fontsize\" value=\"twenty\"/></values>\n"
                    "  <fonts><font name=\"tiny\" face=\"Regular\" size=\"-3\"/></fonts>\n"
                    "  <gadgets/>\n"
                    "  <decorations><deco name=\"eButton\" border=\"wide\" background=\"good\"/></decorations>\n"
                    "</skin>\n");
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.load(file.c_str()), 0);
    EXPECT_EQ(linesMentioning(before, {file, "line 4", "bad", "#zz0000"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 5", "unknownName"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 7", "fontsize", "twenty"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 8", "tiny", "-3"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 9", "gadgets"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 10", "eButton", "wide"}), 1);

    EXPECT_EQ(skin.queryColor("good"), gColor(0x20, 0x30, 0x40, 0x10));
    EXPECT_EQ(skin.queryColor("bad", gColor(7, 7, 7)), gColor(7, 7, 7));
    EXPECT_FALSE(skin.hasValue("fontsize"));
    EXPECT_FALSE(skin.hasFont("tiny"));
    const eDecoration &button = skin.queryDeco("eButton");
    EXPECT_TRUE(button.valid) << "the decoration stays, with what could be read";
    EXPECT_EQ(button.borderWidth, 0);
    EXPECT_EQ(button.background, gColor(0x20, 0x30, 0x40, 0x10));
}

TEST(SkinFiles, FontSizesAboveTheLargestAreWarnedAboutAndLeftOut)
{
    ASSERT_EQ(largestFontSize, 1024);
    TempDir dir;
    const std::string file = dir.file("skin.xml").string();
    writeFile(file, "<skin>\n"
                    "  <fonts><font name=\"largest\" face=\"Regular\" size=\"1024\"/></fonts>\n"
                    "  <fonts><font name=\"huge\" face=\"Regular\" size=\"2147483647\"/></fonts>\n"
                    "  <values><value name=\"fontsize\" value=\"1025\"/></values>\n"
                    "</skin>\n");
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.load(file.c_str()), 0);
    EXPECT_EQ(linesMentioning(before, {file, "line 3", "huge", "2147483647"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 4", "fontsize", "1025"}), 1);
    EXPECT_EQ(skin.queryFont("largest"), gFont("Regular", 1024));
    EXPECT_FALSE(skin.hasFont("huge"));
    EXPECT_FALSE(skin.hasValue("fontsize"));
    EXPECT_EQ(skin.queryFont("huge"), gFont("Regular", 20)) << "the default font";
}

TEST(SkinFiles, NumbersBeyondTenThousandEitherWayAreWarnedAboutAndLeftOut)
{
    TempDir dir;
    const std::string file = dir.file("skin.xml").string();
    writeFile(file, "<skin>\n"
                    "  <values><value name=\"eWindow.border\" value=\"10000\"/>\n"
                    "          <value name=\"eWindow.titleHeight\" value=\"10001\"/>\n"
                    "          <value name=\"lcd.titleSize\" value=\"-10001\"/></values>\n"
                    "  <decorations><deco name=\"eButton\" border=\"2147483647\" radius=\"10000\"/></decorations>\n"
                    "  <windows><window name=\"w\">\n"
                    "    <widget name=\"big\" position=\"-10000,10000\" size=\"10001,5\"/>\n"
                    "  </window></windows>\n"
                    "</skin>\n");
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.load(file.c_str()), 0);
    EXPECT_EQ(linesMentioning(before, {file, "line 3", "eWindow.titleHeight", "10001"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 4", "lcd.titleSize", "-10001"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 5", "eButton", "2147483647"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 7", "size", "10001,5"}), 1);
    EXPECT_EQ(skin.queryValue("eWindow.border", 2), 10000);
    EXPECT_FALSE(skin.hasValue("eWindow.titleHeight"));
    EXPECT_FALSE(skin.hasValue("lcd.titleSize"));
    EXPECT_EQ(skin.queryDeco("eButton").borderWidth, 0);
    EXPECT_EQ(skin.queryDeco("eButton").radius, 10000);
    eWidget window;
    ASSERT_EQ(skin.build(&window, "w"), 0);
    ASSERT_EQ(window.getChildren().size(), 1u);
    EXPECT_EQ(window.getChildren().front()->getPosition(), ePoint(-10000, 10000));
}

// Whatever the skin's numbers, the toolkit's windows lay themselves out and
// draw without overflowing (which the sanitizer build would report).
TEST(SkinFiles, TheLargestNumbersASkinHoldsDrawWindowsAndMessageBoxes)
{
    TempDir dir;
    const std::string file = dir.file("skin.xml").string();
    writeFile(file, "<skin>\n"
                    "  <values><value name=\"eWindow.border\" value=\"10000\"/>\n"
                    "          <value name=\"eWindow.titleHeight\" value=\"10000\"/>\n"
                    "          <value name=\"fontsize\" value=\"1024\"/></values>\n"
                    "  <decorations><deco name=\"eButton\" border=\"10000\" radius=\"10000\"/>\n"
                    "               <deco name=\"eLabel\" border=\"10000\" radius=\"10000\"/></decorations>\n"
                    "</skin>\n");
    eSkin skin;
    ASSERT_EQ(skin.load(file.c_str()), 0);
    skin.setActive();
    {
        eMessageBox box("Delete the favourite?", "Favourites", eMessageBox::btYes | eMessageBox::btNo);
        box.show();
        eScreen::osd().compose();
        box.hide();
        EXPECT_GE(box.getSize().width(), 0);
    }
    eScreen::osd().compose();
}

TEST(SkinFiles, TheTestSkinLacksTheColourKeysAndFontsize)
{
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    ASSERT_EQ(skin.load(testSkinFile.c_str()), 0) << testSkinFile;
    EXPECT_TRUE(warningsSince(before).empty()) << "the test skin itself loads cleanly";
    skin.setActive();

    eWidget window;
    EXPECT_TRUE(skin.hasBuild("rss.weather"));
    EXPECT_EQ(skin.build(&window, "rss.weather"), 0);
    for (const char *key : {"key_red", "key_green", "key_yellow", "key_blue"})
        EXPECT_EQ(window.search(key), nullptr) << key;

    EXPECT_FALSE(skin.hasValue("fontsize"));
    const std::uint64_t asked = boxlog::lastSequence();
    EXPECT_EQ(skin.queryValue("fontsize", 20), 20);
    EXPECT_EQ(linesMentioning(asked, {"fontsize"}), 1);
    EXPECT_EQ(skin.queryFont("no.such.font").pointSize, 20) << "the default font is 20 pixels without fontsize";
}

TEST(SkinFiles, TheTestSkinIsOtherwiseUsableAndLooksDifferent)
{
    eSkin skin;
    ASSERT_EQ(skin.load(testSkinFile.c_str()), 0);
    for (const char *colour :
         {"std_dred", "std_dgreen", "std_dyellow", "std_dblue", "blue_nontrans", "eListBox.selected.background"})
        EXPECT_TRUE(skin.hasColor(colour)) << colour;
    for (const char *font : {"epg.title", "eStatusBar", "eListBox.EntryText.normal"})
        EXPECT_TRUE(skin.hasFont(font)) << font;
    for (const char *image :
         {"key.32", "key.12", "extra.play", "extra.pause", "shortcut.red", "extension.music", "listbox.separator"})
        EXPECT_NE(skin.queryImage(image), nullptr) << image;
    for (const char *deco : {"eButton", "eListBox", "eNumber", "eStatusBar", "eLabel"})
        EXPECT_TRUE(skin.queryDeco(deco).valid) << deco;

    eSkin standard;
    ASSERT_EQ(standard.load(defaultSkinFile.c_str()), 0);
    EXPECT_NE(skin.queryColor("std_dred"), standard.queryColor("std_dred"));
    EXPECT_NE(skin.queryValue("eWindow.titleHeight", 0), standard.queryValue("eWindow.titleHeight", 0));
}

TEST(SkinFiles, AWidgetsDescriptionNamesTheSkinImageItShows)
{
    eSkin skin;
    ASSERT_EQ(skin.load(defaultSkinFile.c_str()), 0);
    EXPECT_EQ(skin.imageName(skin.queryImage("extra.play")), "extra.play");
    EXPECT_EQ(skin.imageName(nullptr), "");

    skin.setActive();
    eWidget window;
    eLabel play(&window);
    play.setPixmap(skin.queryImage("extra.play"));
    gPixmap madeInCode(eSize(4, 4));
    eLabel drawn(&window);
    drawn.setPixmap(&madeInCode);
    eLabel text(&window);
    text.setText("words");
    window.show();
    JsonWriter json;
    window.describe(json);
    const std::string description = json.str();
    EXPECT_NE(description.find("\"image\":\"extra.play\""), std::string::npos) << description;
    EXPECT_NE(description.find("\"image\":\"\""), std::string::npos) << "a pixmap made in code" << description;
    const auto textObject = description.find("\"text\":\"words\"");
    EXPECT_EQ(description.find("\"image\"", textObject), std::string::npos) << "a label without pixmap has no image";
    window.hide();
}

TEST(SkinFiles, ALaterFileAddsToTheSkinAndOverridesWhatItNamesAgain)
{
    TempDir dir;
    const std::string extra = dir.file("extra.xml").string();
    writeFile(extra, "<skin><colors><color name=\"std_dred\" value=\"#ff112233\"/>"
                     "<color name=\"accent\" value=\"std_dblue\"/></colors></skin>");
    eSkin skin;
    ASSERT_EQ(skin.load(defaultSkinFile.c_str()), 0);
    ASSERT_EQ(skin.load(extra.c_str()), 0);
    EXPECT_EQ(skin.queryColor("std_dred"), gColor(0x11, 0x22, 0x33));
    EXPECT_EQ(skin.queryColor("accent"), skin.queryColor("std_dblue")) << "names from earlier files resolve";
    EXPECT_EQ(skin.queryValue("fontsize", 0), 20) << "the first file's names stay";
    EXPECT_TRUE(skin.hasBuild("rss.weather"));
}

TEST(SkinFiles, BuildTakesTypesGeometryAndPropertiesFromItsWidgets)
{
    TempDir dir;
    const std::string file = dir.file("skin.xml").string();
    writeFile(file, "<skin>\n"
                    "  <colors><color name=\"panel\" value=\"#ff336699\"/></colors>\n"
                    "  <windows><window name=\"demo\">\n"
                    "    <widget name=\"ok\" type=\"eButton\" position=\"5,6\" size=\"70,30\" text=\"OK\"/>\n"
                    "    <widget name=\"area\" type=\"eWidget\" position=\"0,40\" size=\"100,20\""
                    " backgroundColor=\"panel\"/>\n"
                    "    <widget name=\"note\" position=\"1 ,2\" size=\"x,3\" align=\"right\""
                    " foregroundColor=\"#ff010203\"/>\n"
                    "    <widget name=\"odd\" type=\"eSlider\"/>\n"
                    "  </window></windows>\n"
                    "</skin>\n");
    eSkin skin;
    const std::uint64_t before = boxlog::lastSequence();
    ASSERT_EQ(skin.load(file.c_str()), 0);
    EXPECT_EQ(linesMentioning(before, {file, "line 6", "x,3"}), 1);
    EXPECT_EQ(linesMentioning(before, {file, "line 7", "eSlider"}), 1);
    skin.setActive();

    eWidget window;
    ASSERT_EQ(skin.build(&window, "demo"), 0);
    ASSERT_EQ(window.getChildren().size(), 4u);
    eWidget *ok = window.search("ok");
    ASSERT_NE(ok, nullptr);
    EXPECT_STREQ(ok->typeName(), "eButton");
    EXPECT_EQ(ok->getPosition(), ePoint(5, 6));
    EXPECT_EQ(ok->getSize(), eSize(70, 30));
    EXPECT_EQ(ok->getText(), "OK");

    eWidget *area = window.search("area");
    ASSERT_NE(area, nullptr);
    EXPECT_STREQ(area->typeName(), "eWidget");
    EXPECT_EQ(area->getBackgroundColor(), gColor(0x33, 0x66, 0x99));

    auto *note = dynamic_cast<eLabel *>(window.search("note"));
    ASSERT_NE(note, nullptr) << "a widget without a type is an eLabel";
    EXPECT_EQ(note->getPosition(), ePoint(1, 2));
    EXPECT_EQ(note->getSize(), eSize(0, 0)) << "the bad size was left out";
    EXPECT_EQ(note->getAlign(), eTextPara::dirRight);
    EXPECT_EQ(note->getForegroundColor(), gColor(1, 2, 3));

    EXPECT_STREQ(window.search("odd")->typeName(), "eLabel") << "an unknown type is made an eLabel";
}

TEST(SkinFiles, BuildResolvesPropertiesThroughTheBuildingSkinEvenWhenAnotherIsActive)
{
    eSkin standard;
    ASSERT_EQ(standard.load(defaultSkinFile.c_str()), 0);
    eSkin other;
    ASSERT_EQ(other.load(testSkinFile.c_str()), 0);
    other.setActive();

    eWidget window;
    ASSERT_EQ(standard.build(&window, "rss.weather"), 0);
    EXPECT_EQ(window.search("key_red")->getBackgroundColor(), standard.queryColor("std_dred"));
    EXPECT_EQ(window.search("key_red")->getFont(), standard.queryFont("epg.title"));
    EXPECT_EQ(eSkin::getActive(), &other) << "the active skin is left as it was";
}

} // namespace

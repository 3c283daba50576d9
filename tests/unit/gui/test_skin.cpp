// The default skin as built: it loads cleanly, its lookups hit and miss as
// documented, its images have their sizes and are really drawn, and the
// window build "rss.weather" makes the four colour-key captions.

#include "gui/elabel.h"
#include "gui/eskin.h"
#include "gui/etextpara.h"
#include "gui/ewidget.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"
#include "support/log_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

const std::string defaultSkinFile = std::string(TARNWAVE_BINARY_DIR) + "/data/skin/default.xml";

// How many of `lines` mention `text`.
long mentioning(const std::vector<std::string> &lines, const std::string &text)
{
    return std::count_if(lines.begin(), lines.end(),
                         [&](const std::string &line) { return line.find(text) != std::string::npos; });
}

class DefaultSkin : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const std::uint64_t before = boxlog::lastSequence();
        ASSERT_EQ(skin.load(defaultSkinFile.c_str()), 0) << defaultSkinFile;
        loadWarnings = warningsSince(before);
        skin.setActive();
    }

    eSkin skin;
    std::vector<std::string> loadWarnings;
};

TEST_F(DefaultSkin, LoadsWithoutAWarningAndHasEveryNameThePlugInAndToolkitAskFor)
{
    EXPECT_TRUE(loadWarnings.empty()) << loadWarnings.front();
    EXPECT_EQ(eSkin::getActive(), &skin);
    for (const char *colour :
         {"std_dred", "std_dgreen", "std_dyellow", "std_dblue", "blue_nontrans", "eWindow.background",
          "eWindow.titleBar", "eWindow.titleText", "eWindow.border", "eListBox.background", "eListBox.foreground",
          "eListBox.selected.background", "eListBox.selected.foreground"})
        EXPECT_TRUE(skin.hasColor(colour)) << colour;
    for (const char *font : {"epg.title", "eStatusBar", "eListBox.EntryText.normal", "eWindow.title", "eLabel",
                             "eNumber", "eTextInputField"})
        EXPECT_TRUE(skin.hasFont(font)) << font;
    for (const char *value : {"fontsize", "eWindow.titleHeight", "eWindow.border"})
        EXPECT_TRUE(skin.hasValue(value)) << value;
    for (const char *deco : {"eButton", "eListBox", "eNumber", "eStatusBar", "eLabel"})
        EXPECT_TRUE(skin.queryDeco(deco).valid) << deco;
    EXPECT_TRUE(skin.hasBuild("rss.weather"));
}

TEST_F(DefaultSkin, ColourHitsGiveTheSkinsValueAndAMissGivesTheFallbackWithOneWarning)
{
    EXPECT_EQ(skin.queryColor("std_dred"), gColor::fromArgb(0xffc62828));
    EXPECT_EQ(skin.queryColor("eWindow.background"), gColor::fromArgb(0xe00c1424)) << "#AARRGGBB keeps its alpha";
    EXPECT_EQ(skin.queryColor("eWindow.titleText"), gColor(255, 255, 255)) << "a colour may name another";
    EXPECT_EQ(skin.queryColor("blue_nontrans").a, 255) << "the status bar colour is opaque";

    const std::uint64_t before = boxlog::lastSequence();
    const gColor fallback(1, 2, 3, 4);
    EXPECT_EQ(skin.queryColor("no.such.colour", fallback), fallback);
    EXPECT_EQ(skin.queryColor("no.such.colour", fallback), fallback);
    EXPECT_EQ(skin.queryColor("no.such.colour"), gColor(255, 255, 255)) << "the default fallback is white";
    const std::vector<std::string> warnings = warningsSince(before);
    EXPECT_EQ(warnings.size(), 1u);
    EXPECT_EQ(mentioning(warnings, "no.such.colour"), 1);
}

TEST_F(DefaultSkin, WrittenOutColoursAreParsedAndABadOneFallsBackWithAWarning)
{
    EXPECT_EQ(skin.queryColor("#80102030"), gColor(0x10, 0x20, 0x30, 0x80));
    EXPECT_EQ(skin.queryColor("#A0b0C0"), gColor(0xa0, 0xb0, 0xc0, 255)) << "#RRGGBB is opaque";

    const std::uint64_t before = boxlog::lastSequence();
    const gColor fallback(9, 9, 9);
    EXPECT_EQ(skin.queryColor("#12345", fallback), fallback);
    EXPECT_EQ(skin.queryColor("#gg112233", fallback), fallback);
    const std::vector<std::string> warnings = warningsSince(before);
    EXPECT_EQ(warnings.size(), 2u);
    EXPECT_EQ(mentioning(warnings, "#12345"), 1);
    EXPECT_EQ(mentioning(warnings, "#gg112233"), 1);
}

TEST_F(DefaultSkin, FontHitsGiveFaceAndSizeAndAMissGivesTheDefaultFontWithOneWarning)
{
    EXPECT_EQ(skin.queryFont("epg.title"), gFont("Bold", 20));
    EXPECT_EQ(skin.queryFont("eStatusBar"), gFont("Regular", 18));
    EXPECT_EQ(skin.queryFont("eNumber"), gFont("Mono", 20));

    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.queryFont("no.such.font"), gFont("Regular", 20));
    EXPECT_EQ(skin.queryFont("no.such.font"), gFont("Regular", 20));
    const std::vector<std::string> warnings = warningsSince(before);
    EXPECT_EQ(warnings.size(), 1u);
    EXPECT_EQ(mentioning(warnings, "no.such.font"), 1);
}

TEST_F(DefaultSkin, ValueHitsGiveTheSkinsNumberAndAMissGivesTheDefaultWithOneWarning)
{
    EXPECT_EQ(skin.queryValue("fontsize", 7), 20);
    EXPECT_EQ(skin.queryValue("eWindow.titleHeight", 0), 36);

    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.queryValue("no.such.value", 33), 33);
    EXPECT_EQ(skin.queryValue("no.such.value", -4), -4);
    const std::vector<std::string> warnings = warningsSince(before);
    EXPECT_EQ(warnings.size(), 1u);
    EXPECT_EQ(mentioning(warnings, "no.such.value"), 1);
}

TEST_F(DefaultSkin, ImageHitsGiveAPixmapAndAMissGivesNullWithOneWarning)
{
    gPixmap *key = skin.queryImage("key.32");
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(skin.queryImage("key.32"), key) << "the skin keeps one pixmap per image";

    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.queryImage("no.such.image"), nullptr);
    EXPECT_EQ(skin.queryImage("no.such.image"), nullptr);
    const std::vector<std::string> warnings = warningsSince(before);
    EXPECT_EQ(warnings.size(), 1u);
    EXPECT_EQ(mentioning(warnings, "no.such.image"), 1);
}

TEST_F(DefaultSkin, DecorationsCarryTheirBordersAndAMissingOneDrawsNothing)
{
    const eDecoration &button = skin.queryDeco("eButton");
    EXPECT_TRUE(button.valid);
    EXPECT_EQ(button.borderWidth, 2);
    EXPECT_EQ(button.radius, 6);
    EXPECT_EQ(button.focusBorderColor, skin.queryColor("eListBox.selected.background")) << "named colours resolve";

    const eDecoration &statusBar = skin.queryDeco("eStatusBar");
    EXPECT_EQ(statusBar.background, skin.queryColor("blue_nontrans"));

    const eDecoration &label = skin.queryDeco("eLabel");
    EXPECT_TRUE(label.valid);
    EXPECT_EQ(label.borderWidth, 0) << "plain labels are plain";
    EXPECT_EQ(label.background.a, 0);

    const std::uint64_t before = boxlog::lastSequence();
    const eDecoration &missing = skin.queryDeco("no.such.deco");
    EXPECT_FALSE(missing.valid);
    EXPECT_EQ(missing.borderWidth, 0);
    EXPECT_EQ(mentioning(warningsSince(before), "no.such.deco"), 1);
}

TEST_F(DefaultSkin, ImagesHaveTheirDocumentedSizes)
{
    const std::vector<std::pair<const char *, eSize>> expected = {
        {"key.32", eSize(45, 22)},
        {"key.12", eSize(45, 22)},
        {"extra.play", eSize(16, 16)},
        {"extra.pause", eSize(16, 16)},
        {"shortcut.red", eSize(16, 16)},
        {"extension.music", eSize(20, 20)},
        {"listbox.separator", eSize(400, 4)},
        {"messagebox.info", eSize(32, 32)},
        {"messagebox.question", eSize(32, 32)},
        {"messagebox.warning", eSize(32, 32)},
        {"messagebox.error", eSize(32, 32)},
    };
    for (const auto &[name, size] : expected) {
        const gPixmap *image = skin.queryImage(name);
        ASSERT_NE(image, nullptr) << name;
        EXPECT_EQ(image->size(), size) << name;
    }
}

// The share of the image's pixels that are at least half opaque.
double inkedShare(const gPixmap &image)
{
    int inked = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            inked += image.colorAt(x, y).a >= 128 ? 1 : 0;
    return static_cast<double>(inked) / (image.width() * image.height());
}

TEST_F(DefaultSkin, ImagesAreDrawnShapesOnATransparentGround)
{
    const gPixmap &record = *skin.queryImage("shortcut.red");
    const gRGB centre = record.colorAt(8, 8);
    EXPECT_EQ(centre.a, 255);
    EXPECT_GT(centre.r, 180);
    EXPECT_LT(centre.g, 90) << "the recording mark is red";
    EXPECT_EQ(record.colorAt(0, 0).a, 0) << "round: its corners are clear";

    const gPixmap &play = *skin.queryImage("extra.play");
    EXPECT_EQ(play.colorAt(7, 8).a, 255) << "inside the triangle";
    EXPECT_EQ(play.colorAt(14, 2).a, 0) << "beside its tip";

    const gPixmap &pause = *skin.queryImage("extra.pause");
    EXPECT_EQ(pause.colorAt(4, 8).a, 255) << "the left bar";
    EXPECT_EQ(pause.colorAt(8, 8).a, 0) << "the gap between the bars";
    EXPECT_EQ(pause.colorAt(11, 8).a, 255) << "the right bar";

    const gPixmap &recordKey = *skin.queryImage("key.12");
    const gRGB dot = recordKey.colorAt(10, 9);
    EXPECT_GT(dot.r, 150);
    EXPECT_LT(dot.g, 80) << "the REC key carries a red dot";

    // The key caps carry dark lettering on their light face.
    const gPixmap &menuKey = *skin.queryImage("key.32");
    int darkLetterPixels = 0;
    for (int y = 4; y < 16; ++y)
        for (int x = 6; x < 39; ++x)
            darkLetterPixels += menuKey.colorAt(x, y).g < 120 ? 1 : 0;
    EXPECT_GT(darkLetterPixels, 20) << "MENU is written on the key";

    for (const char *icon : {"messagebox.info", "messagebox.question", "messagebox.warning", "messagebox.error"}) {
        const gPixmap &image = *skin.queryImage(icon);
        EXPECT_EQ(image.colorAt(0, 0).a, 0) << icon << " is round";
        EXPECT_NEAR(inkedShare(image), 3.14159 * 15 * 15 / (32 * 32), 0.06) << icon << " is a disc of radius 15";
    }

    const gPixmap &note = *skin.queryImage("extension.music");
    EXPECT_GT(inkedShare(note), 0.08);
    EXPECT_LT(inkedShare(note), 0.5);

    const gPixmap &separator = *skin.queryImage("listbox.separator");
    EXPECT_EQ(separator.colorAt(200, 1).a, 255) << "the line is solid in the middle";
    EXPECT_LT(separator.colorAt(0, 1).a, 20) << "and fades out at its ends";
    EXPECT_EQ(separator.colorAt(200, 0).a, 0);
}

TEST_F(DefaultSkin, BuildCreatesTheFourNamedColourKeyCaptions)
{
    eWidget window;
    ASSERT_EQ(skin.build(&window, "rss.weather"), 0);
    ASSERT_EQ(window.getChildren().size(), 4u);

    struct Expected
    {
        const char *name;
        int x;
        const char *colour;
    };
    for (const Expected &key : {Expected{"key_red", 0, "std_dred"}, Expected{"key_green", 140, "std_dgreen"},
                                Expected{"key_yellow", 280, "std_dyellow"}, Expected{"key_blue", 420, "std_dblue"}}) {
        eWidget *found = window.search(key.name);
        ASSERT_NE(found, nullptr) << key.name;
        EXPECT_EQ(found->getName(), key.name);
        EXPECT_STREQ(found->typeName(), "eLabel") << key.name;
        EXPECT_EQ(found->getPosition(), ePoint(key.x, 0)) << key.name;
        EXPECT_EQ(found->getSize(), eSize(140, 40)) << key.name;
        EXPECT_EQ(found->getBackgroundColor(), skin.queryColor(key.colour)) << key.name;
        EXPECT_EQ(found->getFont(), gFont("Bold", 20)) << key.name;
        auto *label = dynamic_cast<eLabel *>(found);
        ASSERT_NE(label, nullptr);
        EXPECT_EQ(label->getAlign(), eTextPara::dirCenter) << key.name;
        EXPECT_TRUE(label->getFlags() & eLabel::flagVCenter) << key.name;
        EXPECT_EQ(label->getDeco(), "eButton") << key.name;
        EXPECT_TRUE(label->decoration().valid) << key.name << ": the decoration was loaded";
        EXPECT_EQ(label->decoration().borderWidth, 2) << key.name;
    }
    EXPECT_EQ(window.search("key_yellow")->getForegroundColor(), gColor::fromArgb(0xff101820))
        << "dark text on the yellow key";
    EXPECT_EQ(window.search("key_red")->getForegroundColor(), gColor(255, 255, 255));
}

TEST_F(DefaultSkin, BuiltCaptionsShowTheirKeyColoursOnTheScreen)
{
    eWidget window;
    window.move(ePoint(80, 90));
    window.resize(eSize(560, 100));
    ASSERT_EQ(skin.build(&window, "rss.weather"), 0);
    window.search("key_green")->setText("Top List");
    window.show();
    eScreen::osd().compose();
    const gPixmap &screen = eScreen::osd().pixmap();
    // Inside each caption, off its border and its centred text.
    EXPECT_EQ(screen.colorAt(80 + 10, 90 + 20), skin.queryColor("std_dred"));
    EXPECT_EQ(screen.colorAt(80 + 140 + 10, 90 + 20), skin.queryColor("std_dgreen"));
    EXPECT_EQ(screen.colorAt(80 + 280 + 10, 90 + 20), skin.queryColor("std_dyellow"));
    EXPECT_EQ(screen.colorAt(80 + 420 + 10, 90 + 20), skin.queryColor("std_dblue"));
    // The caption's text is white ink in the middle of the green key.
    int whiteInk = 0;
    for (int y = 90 + 5; y < 90 + 35; ++y)
        for (int x = 80 + 150; x < 80 + 270; ++x) {
            const gRGB pixel = screen.colorAt(x, y);
            whiteInk += pixel.r > 200 && pixel.g > 200 && pixel.b > 200 ? 1 : 0;
        }
    EXPECT_GT(whiteInk, 30);
    window.hide();
    eScreen::osd().compose();
}

TEST_F(DefaultSkin, BuildOfAnUnknownWindowCreatesNothingAndSaysSo)
{
    eWidget window;
    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_EQ(skin.build(&window, "no.such.window"), -1);
    EXPECT_TRUE(window.getChildren().empty());
    EXPECT_EQ(mentioning(warningsSince(before), "no.such.window"), 1);
    EXPECT_EQ(skin.build(nullptr, "rss.weather"), -1) << "no widget: nothing to build into";
}

TEST_F(DefaultSkin, DeletingTheActiveSkinLeavesTheBuiltInEmptySkinActive)
{
    {
        eSkin temporary;
        temporary.setActive();
        EXPECT_EQ(eSkin::getActive(), &temporary);
    }
    eSkin *active = eSkin::getActive();
    ASSERT_NE(active, nullptr);
    EXPECT_NE(active, &skin);
    EXPECT_FALSE(active->hasColor("std_dred"));
    EXPECT_EQ(active->queryValue("fontsize", 20), 20);
}

} // namespace

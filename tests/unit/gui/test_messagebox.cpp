// Message boxes: every button and the exit key end the modal run with their
// value, the timeout presses the default button, the box is laid out around
// its text and centred, and it runs inside another window's modal run.

#include "base/ebase.h"
#include "base/messages.h"
#include "gui/drawing/png_io.h"
#include "gui/ebutton.h"
#include "gui/elabel.h"
#include "gui/emessagebox.h"
#include "gui/eskin.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <string>

namespace {

// Presses `keys` one after the other once the modal run has started.
void pressLater(eApplication &app, std::initializer_list<const char *> keys)
{
    std::vector<std::string> names(keys.begin(), keys.end());
    app.post([names] {
        for (const std::string &key : names)
            eScreen::osd().handleKey(key);
    });
}

int runBox(eApplication &app, eMessageBox &box, std::initializer_list<const char *> keys)
{
    box.show();
    pressLater(app, keys);
    const int result = box.exec();
    box.hide();
    return result;
}

constexpr int question = eMessageBox::btYes | eMessageBox::btNo | eMessageBox::iconQuestion; // 76
constexpr int information = eMessageBox::btOK | eMessageBox::iconInfo; // 17

TEST(MessageBox, OkButtonReturnsOne)
{
    eApplication app;
    eMessageBox box("minimum 3 characters", "Info", information, eMessageBox::btOK);
    EXPECT_EQ(runBox(app, box, {"ok"}), eMessageBox::btOK);
}

TEST(MessageBox, YesIsTheDefaultOfAQuestion)
{
    eApplication app;
    eMessageBox box("Delete the entry?", "Message", question, eMessageBox::btYes);
    EXPECT_EQ(box.defaultButton(), eMessageBox::btYes);
    EXPECT_EQ(runBox(app, box, {"ok"}), eMessageBox::btYes);
}

TEST(MessageBox, RightMovesToNo)
{
    eApplication app;
    eMessageBox box("Delete the entry?", "Message", question, eMessageBox::btYes);
    EXPECT_EQ(runBox(app, box, {"right", "ok"}), eMessageBox::btNo);
}

TEST(MessageBox, NoAsDefaultAndLeftBackToYes)
{
    eApplication app;
    eMessageBox box("Delete the entry?", "Message", question, eMessageBox::btNo);
    eMessageBox again("Delete the entry?", "Message", question, eMessageBox::btNo);
    EXPECT_EQ(runBox(app, box, {"ok"}), eMessageBox::btNo);
    EXPECT_EQ(runBox(app, again, {"left", "ok"}), eMessageBox::btYes);
}

TEST(MessageBox, CancelButtonReturnsTwo)
{
    eApplication app;
    eMessageBox box("Go on?", "Question", eMessageBox::btOK | eMessageBox::btCancel, eMessageBox::btOK);
    EXPECT_EQ(runBox(app, box, {"right", "ok"}), eMessageBox::btCancel);
}

TEST(MessageBox, ExitKeyReturnsMinusOne)
{
    eApplication app;
    eMessageBox box("Delete the entry?", "Message", question, eMessageBox::btYes);
    EXPECT_EQ(runBox(app, box, {"exit"}), -1);
}

TEST(MessageBox, ButtonsAreInTheOrderYesNoOkCancel)
{
    eMessageBox box("text", "caption", eMessageBox::btMax, eMessageBox::btOK);
    const std::vector<int> expected = {eMessageBox::btYes, eMessageBox::btNo, eMessageBox::btOK, eMessageBox::btCancel};
    EXPECT_EQ(box.buttons(), expected);
    int previousRight = -1;
    for (const char *name : {"yes", "no", "ok", "cancel"}) {
        eWidget *button = box.search(name);
        ASSERT_NE(button, nullptr) << name;
        EXPECT_GT(button->getPosition().x(), previousRight) << name;
        previousRight = button->getPosition().x() + button->getSize().width() - 1;
    }
}

TEST(MessageBox, DefaultThatIsNoButtonFallsBackToTheFirst)
{
    // The recorder's notice: a Yes button, the info icon and default 1.
    eApplication app;
    eMessageBox box("streamripper: no such directory", "Streamripper", 20, 1);
    EXPECT_EQ(box.buttons(), std::vector<int>{eMessageBox::btYes});
    EXPECT_EQ(box.defaultButton(), eMessageBox::btYes);
    EXPECT_EQ(runBox(app, box, {"ok"}), eMessageBox::btYes);
}

TEST(MessageBox, NoButtonFlagsGiveAnOkButton)
{
    eMessageBox box("text", "caption", eMessageBox::iconInfo, 0);
    EXPECT_EQ(box.buttons(), std::vector<int>{eMessageBox::btOK});
}

TEST(MessageBox, TimeoutPressesTheDefaultButton)
{
    eApplication app;
    eMessageBox box("Delete the entry?", "Message", question, eMessageBox::btNo, 1);
    EXPECT_EQ(box.timeoutSeconds(), 1);
    box.show();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(box.exec(), eMessageBox::btNo);
    const auto waited = std::chrono::steady_clock::now() - start;
    // The timeout is the behaviour: not before its second, and not long after.
    EXPECT_GE(waited, std::chrono::milliseconds(950));
    EXPECT_LT(waited, std::chrono::seconds(5));
}

TEST(MessageBox, KeyBeforeTheTimeoutWins)
{
    eApplication app;
    // A timeout far off: the box must end on the keys, long before it.
    constexpr int timeoutSeconds = 20;
    eMessageBox box("Delete the entry?", "Message", question, eMessageBox::btNo, timeoutSeconds);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(runBox(app, box, {"left", "ok"}), eMessageBox::btYes);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(timeoutSeconds / 2));
}

TEST(MessageBox, ExecShowsAHiddenBoxAndHidesItAfterwards)
{
    eApplication app;
    eMessageBox box("text", "caption", information, eMessageBox::btOK);
    bool visibleInside = false;
    app.post([&] {
        visibleInside = box.isVisible() && eScreen::osd().activeWindow() == &box;
        eScreen::osd().handleKey("ok");
    });
    EXPECT_EQ(box.exec(), eMessageBox::btOK);
    EXPECT_TRUE(visibleInside);
    EXPECT_FALSE(box.isVisible());
}

TEST(MessageBox, CaptionInTheTitleAndTextInTheLabel)
{
    eMessageBox box("minimum 3 characters", "Info", information, eMessageBox::btOK);
    EXPECT_EQ(box.getText(), "Info");
    eWidget *text = box.search("text");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->getText(), "minimum 3 characters");
}

TEST(MessageBox, ShortTextGivesANarrowBoxCentredOnTheScreen)
{
    eMessageBox box("OK?", "Info", information, eMessageBox::btOK);
    const eRect rect = box.getAbsoluteRect();
    EXPECT_LT(rect.width(), 400);
    EXPECT_NEAR(rect.left() + rect.width() / 2, 360, 1);
    EXPECT_NEAR(rect.top() + rect.height() / 2, 288, 1);
}

TEST(MessageBox, LongTextIsWrappedAtTheMaximumWidth)
{
    eString longText;
    for (int i = 0; i < 40; ++i)
        longText += "station ";
    eMessageBox box(longText, "Info", information, eMessageBox::btOK);
    auto *text = dynamic_cast<eLabel *>(box.search("text"));
    ASSERT_NE(text, nullptr);
    EXPECT_LE(text->getSize().width(), 561);
    EXPECT_GT(text->getSize().width(), 400);
    ASSERT_NE(text->textPara(), nullptr);
    EXPECT_GE(text->textPara()->lineCount(), 3);
    EXPECT_GE(text->getSize().height(), 3 * text->textPara()->lineHeight());
    // Everything fits on the screen, and the buttons lie under the text.
    const eRect rect = box.getAbsoluteRect();
    EXPECT_GE(rect.left(), 0);
    EXPECT_LE(rect.right(), 720);
    eWidget *ok = box.search("ok");
    ASSERT_NE(ok, nullptr);
    EXPECT_GE(ok->getPosition().y(), text->getPosition().y() + text->getSize().height());
    EXPECT_TRUE(box.getClientRect().contains(eRect(ok->getPosition() + box.getClientRect().topLeft(), ok->getSize())));
}

TEST(MessageBox, TenThousandCharactersStayOnTheScreen)
{
    eString huge;
    while (huge.size() < 10000)
        huge += "Wörter ohne Ende, ";
    eMessageBox box(huge, "Streamripper", eMessageBox::btYes | eMessageBox::iconInfo, eMessageBox::btOK);
    const eRect screen(ePoint(0, 0), eSize(720, 576));
    EXPECT_TRUE(screen.contains(box.getAbsoluteRect()));
    eWidget *yes = box.search("yes");
    ASSERT_NE(yes, nullptr);
    EXPECT_TRUE(screen.contains(yes->getAbsoluteRect())) << "the button can still be seen and pressed";
}

TEST(MessageBox, LineBreaksInTheTextAreKept)
{
    eMessageBox box("Favourites entry delete\n\nRadio One\n\nhttp://example.invalid/stream", "Message", question,
                    eMessageBox::btYes);
    auto *text = dynamic_cast<eLabel *>(box.search("text"));
    ASSERT_NE(text, nullptr);
    ASSERT_NE(text->textPara(), nullptr);
    EXPECT_EQ(text->textPara()->lineCount(), 5);
}

TEST(MessageBox, TheDefaultButtonHasTheFocus)
{
    eMessageBox box("Delete the entry?", "Message", question, eMessageBox::btNo);
    box.show();
    EXPECT_EQ(box.getFocus(), box.search("no"));
    box.hide();
}

TEST(MessageBox, ButtonTextsAreTranslated)
{
    eApplication app; // sets up the message catalogue
    setMessageLanguage("de");
    eMessageBox box("Eintrag löschen?", "Nachricht", eMessageBox::btMax, eMessageBox::btYes);
    setMessageLanguage("");
    EXPECT_EQ(box.search("yes")->getText(), "Ja");
    EXPECT_EQ(box.search("no")->getText(), "Nein");
    EXPECT_EQ(box.search("ok")->getText(), "OK");
    EXPECT_EQ(box.search("cancel")->getText(), "Abbrechen");
    eMessageBox english("Delete?", "Message", eMessageBox::btYes | eMessageBox::btCancel, eMessageBox::btYes);
    EXPECT_EQ(english.search("yes")->getText(), "Yes");
    EXPECT_EQ(english.search("cancel")->getText(), "Cancel");
}

TEST(MessageBox, IconComesFromTheSkinAndIsLeftOfTheText)
{
    {
        // The built-in skin has no images.
        eMessageBox plain("Delete the entry?", "Message", question, eMessageBox::btYes);
        EXPECT_EQ(plain.icon(), nullptr);
        EXPECT_EQ(plain.search("icon"), nullptr);
    }

    TempDir dir;
    gPixmap image(eSize(32, 40));
    image.fillAll(0xff20a020);
    ASSERT_TRUE(savePNG(image, dir.file("question.png").string()));
    writeFile(dir.file("skin.xml"), "<skin><images>"
                                    "<image name=\"messagebox.question\" file=\"question.png\"/>"
                                    "</images></skin>");
    eSkin skin;
    ASSERT_EQ(skin.load(dir.file("skin.xml").c_str()), 0);
    skin.setActive();
    {
        eMessageBox withIcon("Delete the entry?", "Message", question, eMessageBox::btYes);
        ASSERT_NE(withIcon.icon(), nullptr);
        EXPECT_EQ(withIcon.icon()->size(), eSize(32, 40));
        eWidget *icon = withIcon.search("icon");
        eWidget *text = withIcon.search("text");
        ASSERT_NE(icon, nullptr);
        EXPECT_LE(icon->getPosition().x() + icon->getSize().width(), text->getPosition().x());

        // The icon's pixels reach the screen.
        withIcon.show();
        eScreen::osd().compose();
        const eRect iconRect = icon->getAbsoluteRect();
        const gRGB middle = eScreen::osd().pixmap().colorAt(iconRect.left() + iconRect.width() / 2,
                                                            iconRect.top() + iconRect.height() / 2);
        EXPECT_EQ(middle, gRGB(0x20, 0xa0, 0x20));
        withIcon.hide();

        // Only the question icon is in this skin.
        eMessageBox info("Done", "Info", information, eMessageBox::btOK);
        EXPECT_EQ(info.icon(), nullptr);
    }
}

TEST(MessageBox, TheDefaultSkinHasAnIconForEachKind)
{
    eSkin skin;
    ASSERT_EQ(skin.load(TARNWAVE_BINARY_DIR "/data/skin/default.xml"), 0);
    skin.setActive();
    for (int icon :
         {eMessageBox::iconInfo, eMessageBox::iconQuestion, eMessageBox::iconWarning, eMessageBox::iconError}) {
        eMessageBox box("text", "caption", eMessageBox::btOK | icon, eMessageBox::btOK);
        EXPECT_NE(box.icon(), nullptr) << icon;
    }
    // The gravest of several icons wins.
    eMessageBox both("text", "caption", eMessageBox::iconInfo | eMessageBox::iconError, eMessageBox::btOK);
    EXPECT_EQ(both.icon(), skin.queryImage("messagebox.error"));
}

TEST(MessageBox, OpenedFromATimerInsideAnotherWindowsModalRun)
{
    eApplication app;
    eWindow outer;
    outer.setText("outer");
    outer.show();

    int ticks = 0;
    eTimer ticker(&app);
    ticker.timeout.connect([&ticks] { ++ticks; });
    ticker.start(5, false);

    int boxResult = 0;
    int ticksInsideBox = 0;
    eTimer openBox(&app);
    openBox.timeout.connect([&] {
        eMessageBox box("Delete the entry?", "Message", question, eMessageBox::btYes);
        box.show();
        eTimer press(&app);
        press.timeout.connect([&] {
            ticksInsideBox = ticks;
            eScreen::osd().handleKey("right");
            eScreen::osd().handleKey("ok");
        });
        press.start(60, true);
        boxResult = box.exec();
        box.hide();
        // Back in the outer run: its keys reach it again.
        app.post([] { eScreen::osd().handleKey("exit"); });
    });
    openBox.start(10, true);

    EXPECT_EQ(outer.exec(), -1);
    EXPECT_EQ(boxResult, eMessageBox::btNo);
    EXPECT_GE(ticksInsideBox, 3) << "the timer kept firing inside the box's run";
    EXPECT_EQ(app.loopLevel(), 0);
}

} // namespace

// The menu's favourites actions: deleting the current favourite after its
// question (yes, no, exit), adding the chosen station (the favourites cursor
// moves down first, and the record is shared), and a favourites file that did
// not parse, which is put aside before the list is written over it.

#include "directory_test_support.h"
#include "modal_script.h"
#include "plugin_test_support.h"

#include "favourites/favourites_file.h"
#include "plugin/ctarnwave.h"

#include "base/boxpath.h"
#include "gui/emessagebox.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using directorytest::addRow;
using directorytest::namesOf;

namespace {

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n";

bool press(const char *key)
{
    return eScreen::osd().handleKey(key);
}

std::filesystem::path favouritesPath()
{
    return boxPath("/var/tuxbox/config/genrelist.xml");
}

std::string favouritesFileWith(const std::string &lines)
{
    return declaration + "<genrelist>\n" + lines + "</genrelist>\n";
}

class FavouriteActions : public plugintest::ShownMainWindow
{
protected:
    FavouriteActions() { std::filesystem::create_directories(favouritesPath().parent_path()); }

    std::string currentFavourite() const
    {
        const my_ListBox *row = window->lists[0]->getCurrent();
        return row ? row->entry->name : "(none)";
    }

    // The delete row is the menu's first on the favourites list.
    void deleteAnswering(std::vector<std::string> answerKeys)
    {
        script.expect("setup_menu", [](eWidget &) { press("ok"); });
        script.expect("eMessageBox", [this, answerKeys](eWidget &shown) {
            auto &question = dynamic_cast<eMessageBox &>(shown);
            caption = question.getText();
            const eWidget *text = question.search("text");
            message = text ? text->getText() : "";
            buttons = question.buttons();
            defaultButton = question.defaultButton();
            for (const std::string &key : answerKeys)
                press(key.c_str());
        });
        press("menu");
    }

    plugintest::ModalScript script{box.app};
    std::string caption, message;
    std::vector<int> buttons;
    int defaultButton = 0;
};

TEST_F(FavouriteActions, DeletingAsksWithTheNameAndAddressAndYesRemovesTheRow)
{
    addRow(*window, 0, 1, "Jazz");
    addRow(*window, 0, 2, "Radio One", "http://one.example/stream");
    addRow(*window, 0, 3, "Blues");
    window->lists[0]->goNext();
    ASSERT_EQ(currentFavourite(), "Radio One");

    deleteAnswering({"ok"});
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(caption, "Message");
    EXPECT_EQ(message, "Favourites entry delete\n\nRadio One\n\nhttp://one.example/stream");
    EXPECT_EQ(buttons, (std::vector<int>{eMessageBox::btYes, eMessageBox::btNo}));
    EXPECT_EQ(defaultButton, eMessageBox::btYes);
    EXPECT_EQ(namesOf(*window, 0), (std::vector<std::string>{"Jazz", "Blues"}));
    EXPECT_EQ(currentFavourite(), "Blues") << "the cursor moved on before the row went";
    EXPECT_EQ(readFile(favouritesPath()),
              favouritesFileWith("\t<genre name=\"Jazz\" ></genre>\n\t<genre name=\"Blues\" ></genre>\n"));
}

TEST_F(FavouriteActions, AnsweringNoLeavesTheListAndTheFileAsTheyWere)
{
    const std::string file = favouritesFileWith("\t<genre name=\"Jazz\" ></genre>\n");
    writeFile(favouritesPath(), file);
    addRow(*window, 0, 1, "Jazz");
    deleteAnswering({"right", "ok"});
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(namesOf(*window, 0), (std::vector<std::string>{"Jazz"}));
    EXPECT_EQ(readFile(favouritesPath()), file);
}

TEST_F(FavouriteActions, LeavingTheQuestionWithExitDeletesNothing)
{
    addRow(*window, 0, 1, "Jazz");
    deleteAnswering({"exit"});
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(namesOf(*window, 0), (std::vector<std::string>{"Jazz"}));
    EXPECT_FALSE(std::filesystem::exists(favouritesPath()));
}

TEST_F(FavouriteActions, DeletingTheChosenStationForgetsIt)
{
    addRow(*window, 0, 1, "Radio One", "http://one.example/stream");
    window->selectedEntry = window->lists[0]->getCurrent();
    deleteAnswering({"ok"});
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(window->lists[0]->getCount(), 0);
    EXPECT_EQ(window->selectedEntry, nullptr);
}

TEST_F(FavouriteActions, AddingAppendsTheChosenStationSharingItsRecord)
{
    addRow(*window, 0, 1, "Jazz");
    addRow(*window, 0, 2, "Blues");
    auto record = addRow(*window, 2, 14, "Radio & Co", "http://co.example/live");
    record->type = Listentry::ENTRY_STATION;
    window->selectedEntry = window->lists[2]->getCurrent();
    ASSERT_EQ(currentFavourite(), "Jazz");

    // On the favourites list the add row is the second.
    script.expect("setup_menu", [](eWidget &) {
        press("down");
        press("ok");
    });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(namesOf(*window, 0), (std::vector<std::string>{"Jazz", "Blues", "Radio &amp; Co"}));
    EXPECT_EQ(window->lists[0]->entryAt(2) ? static_cast<my_ListBox *>(window->lists[0]->entryAt(2))->entry : nullptr,
              record)
        << "the same record, not a copy";
    EXPECT_EQ(currentFavourite(), "Blues") << "the favourites cursor moved one row down first";
    EXPECT_EQ(readFile(favouritesPath()),
              favouritesFileWith("\t<genre name=\"Jazz\" ></genre>\n\t<genre name=\"Blues\" ></genre>\n"
                                 "\t<genre name=\"Radio &amp; Co\" url=\"http://co.example/live\" ></genre>\n"));
}

TEST_F(FavouriteActions, WithoutAChosenStationTheMenuOffersNoAdd)
{
    bool offered = true;
    script.expect("setup_menu", [&](eWidget &menu) {
        offered = false;
        dynamic_cast<setup_menu &>(menu).list.forEachEntry([&](eListBoxEntryMenu &row) {
            offered = offered || row.getKey() == 2;
            return false;
        });
        press("exit");
    });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_FALSE(offered);
}

// A favourites file that did not parse when the window read it.
class BrokenFavouritesFile : public plugintest::ShownMainWindow
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(favouritesPath().parent_path());
        writeFile(favouritesPath(), broken);
        ShownMainWindow::SetUp();
    }

    std::filesystem::path asidePath(const std::string &suffix = "") const
    {
        return favouritesPath().string() + ".broken" + suffix;
    }

    const std::string broken = favouritesFileWith("\t<genre name=\"A&B\" url=\"http://x/?a=1&b=2\" ></genre>\n");
};

TEST_F(BrokenFavouritesFile, TheListStaysEmptyAndTheFileAsItIs)
{
    // (The title set at the end of the window's construction clears the
    // status line that said "XML parse error.".)
    EXPECT_EQ(window->lists[0]->getCount(), 0);
    EXPECT_TRUE(window->favouritesUnparsed);
    EXPECT_EQ(readFile(favouritesPath()), broken);
    EXPECT_FALSE(std::filesystem::exists(asidePath()));
}

TEST_F(BrokenFavouritesFile, TheFirstWritePutsItAsideAndTheNextLeavesThatCopy)
{
    addRow(*window, 0, 1, "New", "http://new.example/");
    window->write_genrelist();
    EXPECT_EQ(readFile(asidePath()), broken);
    EXPECT_EQ(readFile(favouritesPath()),
              favouritesFileWith("\t<genre name=\"New\" url=\"http://new.example/\" ></genre>\n"));
    EXPECT_FALSE(window->favouritesUnparsed);

    addRow(*window, 0, 2, "Newer");
    window->write_genrelist();
    EXPECT_EQ(readFile(asidePath()), broken) << "the copy stays as it was";
    EXPECT_FALSE(std::filesystem::exists(asidePath(".1")));
    EXPECT_EQ(readFile(favouritesPath()), favouritesFileWith("\t<genre name=\"New\" url=\"http://new.example/\" "
                                                             "></genre>\n\t<genre name=\"Newer\" ></genre>\n"));
}

TEST_F(BrokenFavouritesFile, AnEarlierCopyIsNotWrittenOver)
{
    writeFile(asidePath(), "an earlier broken file");
    writeFile(asidePath(".1"), "and another");
    window->write_genrelist();
    EXPECT_EQ(readFile(asidePath()), "an earlier broken file");
    EXPECT_EQ(readFile(asidePath(".1")), "and another");
    EXPECT_EQ(readFile(asidePath(".2")), broken);
    EXPECT_EQ(readFile(favouritesPath()), favouritesFileWith(""));
}

TEST_F(BrokenFavouritesFile, AFileThatReadsWellAgainIsWrittenOverWithoutACopy)
{
    writeFile(favouritesPath(), favouritesFileWith("\t<genre name=\"Jazz\" ></genre>\n"));
    press("blue"); // the favourites are empty: they are read again
    ASSERT_EQ(namesOf(*window, 0), (std::vector<std::string>{"Jazz"}));
    EXPECT_FALSE(window->favouritesUnparsed);
    window->write_genrelist();
    EXPECT_FALSE(std::filesystem::exists(asidePath()));
}

} // namespace

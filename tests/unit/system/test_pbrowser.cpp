// The directory browser: lists the directories of a box path, opens one with
// OK, goes up with "..", chooses with green and cancels with exit.

#include "base/ebase.h"
#include "gui/widgets/escreen.h"
#include "support/temp_dir.h"
#include "system/pbrowser.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

std::vector<std::string> rowsOf(const pBrowser &browser)
{
    std::vector<std::string> rows;
    const std::string json = eScreen::osd().describe();
    (void)browser;
    const auto start = json.find("\"rows\":[");
    if (start == std::string::npos)
        return rows;
    const auto end = json.find(']', start);
    std::string inside = json.substr(start + 8, end - start - 8);
    std::string current;
    bool quoted = false;
    for (char c : inside) {
        if (c == '"') {
            if (quoted)
                rows.push_back(current);
            current.clear();
            quoted = !quoted;
        } else if (quoted) {
            current += c;
        }
    }
    return rows;
}

class BrowserTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(root.path() / "media/hdd/movies");
        std::filesystem::create_directories(root.path() / "media/hdd/radio");
        writeFile(root.path() / "media/hdd/readme.txt", "not a directory");
    }
    TempBoxRoot root;
    eApplication app;
};

TEST_F(BrowserTest, ListsOnlyDirectoriesWithAWayUp)
{
    pBrowser browser("/media/hdd", pBrowser::modeDirectories, "");
    browser.show();
    EXPECT_EQ(rowsOf(browser), (std::vector<std::string>{"..", "movies/", "radio/"}));
    EXPECT_EQ(browser.getPath(), "/media/hdd/");
    EXPECT_FALSE(browser.getText().empty()) << "an empty title gets the default one";
}

TEST_F(BrowserTest, OkOpensADirectoryAndGreenChoosesIt)
{
    pBrowser browser("/media/hdd/", 1, "Recordings");
    browser.show();
    app.post([] {
        eScreen::osd().handleKey("down"); // movies/
        eScreen::osd().handleKey("down"); // radio/
        eScreen::osd().handleKey("ok");
        eScreen::osd().handleKey("green");
    });
    EXPECT_GT(browser.exec(), 0);
    EXPECT_EQ(browser.getPath(), "/media/hdd/radio/");
    EXPECT_EQ(browser.getText(), "Recordings");
}

TEST_F(BrowserTest, DotDotGoesUp)
{
    pBrowser browser("/media/hdd/movies", 1, "");
    browser.show();
    app.post([] {
        eScreen::osd().handleKey("ok"); // ".." is the first row
        eScreen::osd().handleKey("green");
    });
    EXPECT_GT(browser.exec(), 0);
    EXPECT_EQ(browser.getPath(), "/media/hdd/");
}

TEST_F(BrowserTest, ExitCancels)
{
    pBrowser browser("/media/hdd", 1, "");
    browser.show();
    app.post([] { eScreen::osd().handleKey("exit"); });
    EXPECT_EQ(browser.exec(), -1);
}

TEST_F(BrowserTest, MissingStartPathOpensItsNearestParent)
{
    pBrowser browser("/media/hdd/gone/deeper", 1, "");
    EXPECT_EQ(browser.getPath(), "/media/hdd/");
}

TEST_F(BrowserTest, FilesAreListedInFileMode)
{
    pBrowser browser("/media/hdd", pBrowser::modeFiles, "");
    browser.show();
    EXPECT_EQ(rowsOf(browser), (std::vector<std::string>{"..", "movies/", "radio/", "readme.txt"}));
}

} // namespace

// The favourites file: its exact bytes when written, the escaping of names at
// every save, reading it back in 2048-byte pieces, and its failures.

#include "directory_test_support.h"
#include "plugin_test_support.h"

#include "favourites/favourites_file.h"

#include "base/boxpath.h"
#include "support/log_lines.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

using directorytest::addRow;
using directorytest::entryOf;
using directorytest::logHas;
using directorytest::namesOf;

namespace {

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n";

class FavouritesFile : public ::testing::Test
{
protected:
    FavouritesFile() { std::filesystem::create_directories(configDirectory()); }

    static std::filesystem::path configDirectory() { return boxPath("/var/tuxbox/config"); }
    static std::filesystem::path favouritesPath() { return boxPath("/var/tuxbox/config/genrelist.xml"); }

    // Reads the file into list 0 as showing the favourites does.
    void readBack()
    {
        window.lists[0]->clearList();
        window.currentList = 0;
        window.start_download("", false);
    }

    plugintest::Box box;
    Ctarnwave window;
};

TEST_F(FavouritesFile, EmptyListWritesOnlyTheDeclarationAndAnEmptyGenrelist)
{
    window.write_genrelist();
    EXPECT_EQ(readFile(favouritesPath()), declaration + "<genrelist>\n</genrelist>\n");
}

TEST_F(FavouritesFile, GenreNameIsEscapedAndStationLineHoldsNameThenUrl)
{
    addRow(window, 0, 1, "Jazz & Blues");
    addRow(window, 0, 2, "Radio \"Eins\" <live>", "http://radio.example:8000/stream?a=1&b=2");
    addRow(window, 0, 3, "It's Radio");
    window.write_genrelist();
    EXPECT_EQ(readFile(favouritesPath()), declaration
                                              + "<genrelist>\n"
                                                "\t<genre name=\"Jazz &amp; Blues\" ></genre>\n"
                                                "\t<genre name=\"Radio &quot;Eins&quot; &lt;live&gt;\" "
                                                "url=\"http://radio.example:8000/stream?a=1&b=2\" ></genre>\n"
                                                "\t<genre name=\"It's Radio\" ></genre>\n"
                                                "</genrelist>\n");
}

TEST_F(FavouritesFile, EntryWithEmptyNameIsNotWritten)
{
    addRow(window, 0, 1, "", "http://nameless.example/");
    addRow(window, 0, 2, "Named");
    window.write_genrelist();
    EXPECT_EQ(readFile(favouritesPath()),
              declaration + "<genrelist>\n\t<genre name=\"Named\" ></genre>\n</genrelist>\n");
}

TEST_F(FavouritesFile, UnresolvedDirectoryStationIsWrittenAndReadBackAsGenre)
{
    auto station = addRow(window, 0, 7, "Smooth Radio");
    station->type = Listentry::ENTRY_STATION;
    station->tuneinBase = "/sbin/tunein-station.pls";
    station->bitrate = "128";
    station->genre = "Jazz";
    station->id = "4711";
    window.write_genrelist();
    EXPECT_EQ(readFile(favouritesPath()),
              declaration + "<genrelist>\n\t<genre name=\"Smooth Radio\" ></genre>\n</genrelist>\n");

    readBack();
    ASSERT_EQ(window.lists[0]->getCount(), 1);
    const Listentry &read = entryOf(window, 0, 0);
    EXPECT_EQ(read.name, "Smooth Radio");
    EXPECT_EQ(read.type, Listentry::ENTRY_GENRE);
    EXPECT_EQ(read.url, "");
    EXPECT_EQ(read.index, 1);
    EXPECT_EQ(read.bitrate, "");
    EXPECT_EQ(read.id, "");
}

TEST_F(FavouritesFile, StationWithAddressIsReadBackAsStation)
{
    addRow(window, 0, 1, "Jazz");
    addRow(window, 0, 2, "Radio Eins", "http://radio.example/eins");
    window.write_genrelist();
    readBack();
    ASSERT_EQ(window.lists[0]->getCount(), 2);
    EXPECT_EQ(entryOf(window, 0, 1).name, "Radio Eins");
    EXPECT_EQ(entryOf(window, 0, 1).url, "http://radio.example/eins");
    EXPECT_EQ(entryOf(window, 0, 1).type, Listentry::ENTRY_STATION);
    EXPECT_EQ(window.getText(), "Tarnwave / Favourites   (2 entries)");
}

TEST_F(FavouritesFile, ByteFFBecomesItsUtf8FormAndByteE9StaysAsItIs)
{
    addRow(window, 0, 1, "Caf\xe9 \xff");
    window.write_genrelist();
    EXPECT_EQ(readFile(favouritesPath()),
              declaration + "<genrelist>\n\t<genre name=\"Caf\xe9 \xc3\xbf\" ></genre>\n</genrelist>\n");
}

TEST_F(FavouritesFile, NamesInMemoryAreEscapedAgainAtEverySave)
{
    auto entry = addRow(window, 0, 1, "Rock & Roll");
    window.write_genrelist();
    EXPECT_EQ(entry->name, "Rock &amp; Roll");
    window.write_genrelist();
    EXPECT_EQ(entry->name, "Rock &amp;amp; Roll");
    EXPECT_EQ(readFile(favouritesPath()),
              declaration + "<genrelist>\n\t<genre name=\"Rock &amp;amp; Roll\" ></genre>\n</genrelist>\n");

    readBack();
    EXPECT_EQ(namesOf(window, 0), std::vector<std::string>{"Rock &amp; Roll"});
}

TEST_F(FavouritesFile, RecordSharedWithADirectoryRowIsEscapedThereToo)
{
    auto entry = addRow(window, 1, 4, "Drum & Bass");
    new my_ListBox(window.lists[0], entry, false);
    window.write_genrelist();
    EXPECT_EQ(entryOf(window, 1, 0).name, "Drum &amp; Bass");
}

TEST_F(FavouritesFile, FileOf4096BytesIsParsedInThreeCalls)
{
    // A genre list padded with blanks to exactly 4096 bytes.
    std::string contents = declaration + "<genrelist>\n\t<genre name=\"Jazz\" ></genre>\n</genrelist>";
    contents += std::string(4096 - contents.size() - 1, ' ') + "\n";
    ASSERT_EQ(contents.size(), 4096u);
    writeFile(favouritesPath(), contents);

    std::vector<std::pair<int, int>> calls;
    const auto countingParse = [&calls](XMLTreeParser &parser, const char *piece, int length, int isFinal) {
        calls.emplace_back(length, isFinal);
        return parser.Parse(piece, length, isFinal);
    };
    window.lists[0]->clearList();
    window.currentList = 0;
    delete window.xmlParser; // whatever parser was left behind
    window.xmlParser = new XMLTreeParser("UTF-8");
    read_genrelist(window, countingParse);

    EXPECT_EQ(calls, (std::vector<std::pair<int, int>>{{2048, 0}, {2048, 0}, {0, 1}}));
    EXPECT_EQ(namesOf(window, 0), std::vector<std::string>{"Jazz"});
    EXPECT_EQ(window.xmlParser, nullptr);
}

TEST_F(FavouritesFile, FileShorterThanAPieceIsParsedInOneFinalCall)
{
    const std::string contents = declaration + "<genrelist>\n\t<genre name=\"Pop\" ></genre>\n</genrelist>\n";
    writeFile(favouritesPath(), contents);
    std::vector<std::pair<int, int>> calls;
    delete window.xmlParser; // whatever parser was left behind
    window.xmlParser = new XMLTreeParser("UTF-8");
    read_genrelist(window, [&calls](XMLTreeParser &parser, const char *piece, int length, int isFinal) {
        calls.emplace_back(length, isFinal);
        return parser.Parse(piece, length, isFinal);
    });
    EXPECT_EQ(calls, (std::vector<std::pair<int, int>>{{static_cast<int>(contents.size()), 1}}));
}

TEST_F(FavouritesFile, LongFileIsParsedInWholePiecesAndAShortLastOne)
{
    std::string contents = declaration + "<genrelist>\n";
    for (int i = 1; contents.size() < 5000; ++i)
        contents += "\t<genre name=\"Genre " + std::to_string(i) + "\" ></genre>\n";
    contents += "</genrelist>\n";
    writeFile(favouritesPath(), contents);
    std::vector<std::pair<int, int>> calls;
    window.lists[0]->clearList();
    window.currentList = 0;
    delete window.xmlParser; // whatever parser was left behind
    window.xmlParser = new XMLTreeParser("UTF-8");
    read_genrelist(window, [&calls](XMLTreeParser &parser, const char *piece, int length, int isFinal) {
        calls.emplace_back(length, isFinal);
        return parser.Parse(piece, length, isFinal);
    });
    const int last = static_cast<int>(contents.size()) - 2 * 2048;
    EXPECT_EQ(calls, (std::vector<std::pair<int, int>>{{2048, 0}, {2048, 0}, {last, 1}}));
    EXPECT_GT(window.lists[0]->getCount(), 100);
}

TEST_F(FavouritesFile, MissingFileLeavesTheListEmptyWithoutAnyMessage)
{
    ASSERT_FALSE(std::filesystem::exists(favouritesPath()));
    window.lb_status->setText("before");
    const std::uint64_t before = boxlog::lastSequence();
    readBack();
    EXPECT_EQ(window.lists[0]->getCount(), 0);
    EXPECT_EQ(window.lb_status->getText(), "before");
    EXPECT_TRUE(warningsSince(before).empty());
    EXPECT_TRUE(logHas(before, "[TWV] <read> " + favouritesPath().string()));
    // The fresh parser waits for the next list request.
    EXPECT_NE(window.xmlParser, nullptr);
}

// Runs `read` in a child process that the alarm ends after `seconds`; true
// when it came back by itself with the exit status 0 that `read` asks for.
bool readsWithoutWaiting(const std::function<bool()> &read, unsigned seconds = 10)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(seconds);
        _exit(read() ? 0 : 1);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// A FIFO in the file's place would wait for a writer for ever, and a device
// would be read without end: both count as no file.
TEST_F(FavouritesFile, FifoOrDeviceInThePlaceOfTheFileCountsAsNoFileWithoutWaiting)
{
    window.lb_status->setText("before");
    const auto readsAsNoFile = [this] {
        readBack();
        return window.lists[0]->getCount() == 0 && window.lb_status->getText() == "before";
    };
    ASSERT_EQ(mkfifo(favouritesPath().c_str(), 0600), 0);
    EXPECT_TRUE(readsWithoutWaiting(readsAsNoFile)) << "a FIFO";
    std::filesystem::remove(favouritesPath());
    std::filesystem::create_symlink("/dev/zero", favouritesPath());
    EXPECT_TRUE(readsWithoutWaiting(readsAsNoFile)) << "a device";
}

TEST_F(FavouritesFile, PluginOpensOnTheFavouritesOfTheFile)
{
    writeFile(favouritesPath(), declaration
                                    + "<genrelist>\n\t<genre name=\"Jazz\" ></genre>\n"
                                      "\t<genre name=\"Radio\" url=\"http://r/\" ></genre>\n</genrelist>\n");
    Ctarnwave opened;
    EXPECT_EQ(namesOf(opened, 0), (std::vector<std::string>{"Jazz", "Radio"}));
    EXPECT_EQ(opened.getText(), "Tarnwave / Favourites   (2 entries)");
    EXPECT_EQ(opened.xmlParser, nullptr);
}

TEST_F(FavouritesFile, FileThatIsNotWellFormedSaysXmlParseErrorWithFullStopAndKeepsTheRows)
{
    addRow(window, 0, 1, "Kept");
    writeFile(favouritesPath(), declaration + "<genrelist>\n\t<genre name=\"Broken\" >\n</genrelist>\n");
    window.currentList = 0;
    window.start_download("", false);
    EXPECT_EQ(window.lb_status->getText(), "XML parse error.");
    EXPECT_EQ(namesOf(window, 0), std::vector<std::string>{"Kept"});
    EXPECT_EQ(window.xmlParser, nullptr);
}

TEST_F(FavouritesFile, UrlWithAmpersandIsWrittenAsItIsAndSpoilsTheNextRead)
{
    addRow(window, 0, 1, "Radio", "http://r.example/?a=1&b=2");
    window.write_genrelist();
    readBack();
    EXPECT_EQ(window.lb_status->getText(), "XML parse error.");
    EXPECT_EQ(window.lists[0]->getCount(), 0);
}

TEST_F(FavouritesFile, SaveReplacesTheFileWholeKeepsItsPermissionsAndLogsIt)
{
    writeFile(favouritesPath(), "old contents");
    std::filesystem::permissions(favouritesPath(), std::filesystem::perms(0640));
    const ino_t oldInode = inodeOf(favouritesPath());
    addRow(window, 0, 1, "Jazz");
    const std::uint64_t before = boxlog::lastSequence();

    window.write_genrelist();

    EXPECT_EQ(readFile(favouritesPath()),
              declaration + "<genrelist>\n\t<genre name=\"Jazz\" ></genre>\n</genrelist>\n");
    EXPECT_NE(inodeOf(favouritesPath()), oldInode);
    EXPECT_EQ(permissionsOf(favouritesPath()), 0640u);
    EXPECT_TRUE(logHas(before, "[TWV] save " + favouritesPath().string()));
    // Nothing else is left in the directory.
    std::vector<std::string> names;
    for (const auto &file : std::filesystem::directory_iterator(configDirectory()))
        names.push_back(file.path().filename().string());
    std::erase(names, "boxhost.conf");
    EXPECT_EQ(names, std::vector<std::string>{"genrelist.xml"});
}

TEST_F(FavouritesFile, FailureToWriteIsSilentAndKeepsTheListInMemory)
{
    std::filesystem::remove_all(configDirectory());
    // A file where the directory should be: nothing can be created in it.
    writeFile(configDirectory(), "not a directory");
    addRow(window, 0, 1, "Jazz");
    window.lb_status->setText("");
    const std::uint64_t before = boxlog::lastSequence();

    window.write_genrelist();

    EXPECT_EQ(readFile(configDirectory()), "not a directory");
    EXPECT_EQ(window.lb_status->getText(), "");
    EXPECT_TRUE(directorytest::logSince(before).empty());
    EXPECT_EQ(window.lists[0]->getCount(), 1);
}

TEST_F(FavouritesFile, FailureToReplaceLeavesTheOldFileAndNoTemporaryOne)
{
    // A directory in the file's place cannot be replaced by a file.
    std::filesystem::create_directories(favouritesPath());
    addRow(window, 0, 1, "Jazz");
    const std::uint64_t before = boxlog::lastSequence();

    window.write_genrelist();

    EXPECT_TRUE(std::filesystem::is_directory(favouritesPath()));
    EXPECT_TRUE(directorytest::logSince(before).empty());
    for (const auto &file : std::filesystem::directory_iterator(configDirectory()))
        EXPECT_TRUE(file.path().filename() == "genrelist.xml" || file.path().filename() == "boxhost.conf")
            << file.path();
}

TEST(ReplaceAll, ReplacesEveryOccurrenceAndGoesOnAfterTheReplacement)
{
    eString text = "&&a&";
    replaceAll(text, "&", "&amp;");
    EXPECT_EQ(text, "&amp;&amp;a&amp;");
    eString nothing = "abc";
    replaceAll(nothing, "x", "y");
    EXPECT_EQ(nothing, "abc");
    eString shrink = "aaaa";
    replaceAll(shrink, "aa", "a");
    EXPECT_EQ(shrink, "aa");
    eString unchanged = "abc";
    replaceAll(unchanged, "", "x");
    EXPECT_EQ(unchanged, "abc");
}

} // namespace

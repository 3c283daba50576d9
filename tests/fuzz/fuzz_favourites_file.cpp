// The favourites file read into the favourites list, as the plug-in reads it
// when it opens and on the blue key: from the box's file, in 2048-byte
// pieces. Checked: a file that parses replaces the list with its named
// <genre> elements, numbered 1..n; one that does not leaves the list as it
// was, says so, and is marked to be put aside before it is written over.

#include "fuzz_support.h"
#include "main_window_box.h"

#include "favourites/favourites_file.h"

#include "base/boxpath.h"
#include "gui/elabel.h"
#include "net/xmltree.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int favouritesList = 0;

void writeFavouritesFile(std::string_view contents)
{
    const std::filesystem::path path = boxPath(genrelistPath);
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
}

// The names and addresses the list should show, read from the whole file
// with a parser of its own; false when the file is not well-formed.
bool expectedFavourites(std::string_view contents, std::vector<std::pair<std::string, const char *>> &favourites,
                        XMLTreeParser &parser)
{
    if (parser.Parse(contents.data(), static_cast<int>(contents.size()), 1) == 0)
        return false;
    for (const XMLTreeNode *node = parser.RootNode()->GetChild(); node != nullptr; node = node->GetNext()) {
        const char *name = node->GetAttributeValue("name");
        if (std::strcmp(node->GetType(), "genre") == 0 && name != nullptr)
            favourites.emplace_back(name, node->GetAttributeValue("url"));
    }
    return true;
}

void checkList(Ctarnwave &window, const std::vector<std::pair<std::string, const char *>> &favourites)
{
    const std::vector<const Listentry *> rows = fuzz::rowsOf(window, favouritesList);
    FUZZ_CHECK(rows.size() == favourites.size(),
               std::to_string(favourites.size()) + " favourites, " + fuzz::describeRows(window, favouritesList));
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const Listentry &entry = *rows[row];
        const auto &[name, url] = favourites[row];
        FUZZ_CHECK(entry.index == static_cast<int>(row) + 1, fuzz::describeRows(window, favouritesList));
        FUZZ_CHECK(entry.name == name, fuzz::printable(entry.name) + " for " + fuzz::printable(name));
        FUZZ_CHECK(entry.url == (url ? url : ""), fuzz::printable(entry.url));
        FUZZ_CHECK(entry.type == (url ? Listentry::ENTRY_STATION : Listentry::ENTRY_GENRE), fuzz::printable(name));
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::MainWindowBox::instance();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view contents = fuzz::text(data, size);
    Ctarnwave &window = fuzz::MainWindowBox::instance().window();
    writeFavouritesFile(contents);

    XMLTreeParser reference("UTF-8");
    std::vector<std::pair<std::string, const char *>> favourites;
    const bool wellFormed = expectedFavourites(contents, favourites, reference);
    const std::vector<const Listentry *> rowsBefore = fuzz::rowsOf(window, favouritesList);

    // As start_download does for list 0: a fresh parser, then the file.
    window.currentList = favouritesList;
    delete window.xmlParser;
    window.xmlParser = new XMLTreeParser("UTF-8");
    window.lb_status->setText("");
    read_genrelist(window);

    FUZZ_CHECK(window.xmlParser == nullptr, "the parser is left behind");
    FUZZ_CHECK(window.favouritesUnparsed == !wellFormed, wellFormed ? "parsed" : "not well-formed");
    if (wellFormed) {
        checkList(window, favourites);
    } else {
        FUZZ_CHECK(fuzz::rowsOf(window, favouritesList) == rowsBefore, "a file that did not parse changed the list");
        FUZZ_CHECK(window.lb_status->getText() == "XML parse error.", fuzz::printable(window.lb_status->getText()));
    }
    return 0;
}

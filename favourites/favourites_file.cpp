// Reading and writing the favourites file.

#include "favourites/favourites_file.h"

#include "plugin/ctarnwave.h"

#include "base/boxpath.h"
#include "base/elog.h"
#include "base/whole_file.h"
#include "net/xmltree.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int parseStraight(XMLTreeParser &parser, const char *piece, int length, int isFinal)
{
    return parser.Parse(piece, length, isFinal);
}

// The file the favourites are written to before it replaces the old one, in
// the same directory so that the rename stays on one file system.
std::string temporaryPathFor(const std::string &path)
{
    return path + ".tmp-" + std::to_string(getpid());
}

// A rewritten file keeps the permissions of the one it replaces.
void keepPermissionsOf(const std::string &path, std::FILE *replacement)
{
    struct stat old = {};
    if (stat(path.c_str(), &old) == 0)
        fchmod(fileno(replacement), old.st_mode & 07777);
}

// Closes the written file and puts it in place of `path`; on any failure the
// temporary file goes and the old file stays as it was.
bool closeAndReplace(std::FILE *written, const std::string &temporaryPath, const std::string &path)
{
    bool complete = std::fflush(written) == 0 && std::ferror(written) == 0 && fsync(fileno(written)) == 0;
    complete = std::fclose(written) == 0 && complete;
    if (complete && std::rename(temporaryPath.c_str(), path.c_str()) == 0)
        return true;
    std::remove(temporaryPath.c_str());
    return false;
}

// Moves a favourites file that did not parse out of the way, to the first
// free name of path.broken, path.broken.1, ...; false when it is still there.
bool putAside(const std::string &path)
{
    std::string aside = path + ".broken";
    struct stat existing = {};
    for (int n = 1; lstat(aside.c_str(), &existing) == 0; ++n)
        aside = path + ".broken." + std::to_string(n);
    if (std::rename(path.c_str(), aside.c_str()) != 0) {
        if (errno == ENOENT)
            return true; // gone meanwhile: nothing to keep
        eWarning("[TWV] the favourites file %s did not parse and cannot be put aside (%s); not written over",
                 path.c_str(), std::strerror(errno));
        return false;
    }
    eWarning("[TWV] the favourites file did not parse; kept as %s", aside.c_str());
    return true;
}

} // namespace

void read_genrelist(Ctarnwave &window)
{
    read_genrelist(window, parseStraight);
}

void read_genrelist(Ctarnwave &window, const GenrelistPieceParser &parsePiece)
{
    const std::string path = boxPath(genrelistPath);
    // A FIFO or a device in its place counts as no file, and is never waited for.
    const int descriptor = boxfile::openRegularFile(path);
    std::FILE *file = descriptor >= 0 ? fdopen(descriptor, "r") : nullptr;
    if (descriptor >= 0 && !file)
        close(descriptor);
    if (!file) {
        eDebug("[TWV] <read> %s", path.c_str());
        window.favouritesUnparsed = false;
        return;
    }

    // Piece by piece: a piece shorter than a whole one is the last, so a file
    // whose size is a multiple of the piece size ends with an empty last piece.
    char piece[genrelistPieceSize];
    for (;;) {
        const std::size_t length = std::fread(piece, 1, sizeof piece, file);
        const int isFinal = length < sizeof piece ? 1 : 0;
        if (!parsePiece(*window.xmlParser, piece, static_cast<int>(length), isFinal)) {
            std::fclose(file);
            window.favouritesUnparsed = true;
            window.lb_status->setText("XML parse error.");
            delete window.xmlParser;
            window.xmlParser = nullptr;
            return;
        }
        if (isFinal) {
            std::fclose(file);
            window.favouritesUnparsed = false;
            window.parseXML();
            delete window.xmlParser;
            window.xmlParser = nullptr;
            return;
        }
    }
}

void Ctarnwave::write_genrelist()
{
    // Written beside the file and renamed over it, so that a crash or a full
    // disk never leaves half a list; failing to write is not reported.
    const std::string path = boxPath(genrelistPath);
    // A file that did not parse may hold favourites the list never got.
    if (favouritesUnparsed) {
        if (!putAside(path))
            return;
        favouritesUnparsed = false;
    }
    const std::string temporaryPath = temporaryPathFor(path);
    std::FILE *file = std::fopen(temporaryPath.c_str(), "w");
    if (!file)
        return;
    keepPermissionsOf(path, file);

    std::fprintf(file, "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n");
    std::fprintf(file, "<genrelist>\n");
    lists[0]->forEachEntry(save_genrexml{file});
    std::fprintf(file, "</genrelist>\n");

    if (!closeAndReplace(file, temporaryPath, path))
        return;
    eDebug("[TWV] save %s", path.c_str());
}

bool save_genrexml::operator()(const my_ListBox &row)
{
    // The record's own name is escaped, not a copy: it is escaped once more
    // at every save, in every row that shows the record.
    eString &name = row.entry->name;
    replaceAll(name, "&", "&amp;");
    replaceAll(name, "<", "&lt;");
    replaceAll(name, ">", "&gt;");
    replaceAll(name, "\"", "&quot;");
    replaceAll(name, "\xff", "\xc3\xbf"); // Latin-1 y with diaeresis, written as UTF-8

    const eString &url = row.entry->url;
    if (!name.empty() && !url.empty())
        std::fprintf(file, "\t<genre name=\"%s\" url=\"%s\" ></genre>\n", name.c_str(), url.c_str());
    else if (!name.empty())
        std::fprintf(file, "\t<genre name=\"%s\" ></genre>\n", name.c_str());
    return false;
}

void replaceAll(eString &text, const eString &find, const eString &replacement)
{
    if (find.empty())
        return;
    eString::size_type position = 0;
    while ((position = text.find(find, position)) != eString::npos) {
        text.replace(position, find.size(), replacement);
        position += replacement.size();
    }
}

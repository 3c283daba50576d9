#include "catalogue.h"

#include "parse_number.h"

#include <expat.h>

#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

namespace station {
namespace {

struct ParserDeleter
{
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ParserHandle = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

// Collects the elements while expat reads; the first problem found is kept
// with its line and stops the parse.
class CatalogueReader
{
public:
    CatalogueReader(XML_Parser parser, std::string source) : parser_(parser), source_(std::move(source)) { }

    static void XMLCALL onStart(void *self, const XML_Char *name, const XML_Char **attributes)
    {
        static_cast<CatalogueReader *>(self)->start(name, attributes);
    }

    void start(std::string_view name, const XML_Char **attributes)
    {
        ++depth_;
        if (depth_ == 1) {
            if (name != "catalogue")
                fail("the root element must be <catalogue>, not <" + std::string(name) + ">");
            sawRoot_ = true;
            return;
        }
        if (depth_ > 2)
            return fail("<" + std::string(name) + "> may not contain other elements");
        if (name == "genre")
            return readGenre(attributes);
        if (name == "track")
            return readTrack(attributes);
        if (name == "station")
            return readStation(attributes);
        fail("unknown element <" + std::string(name) + ">");
    }

    static void XMLCALL onEnd(void *self, const XML_Char *) { --static_cast<CatalogueReader *>(self)->depth_; }

    const std::string &error() const { return error_; }
    bool sawRoot() const { return sawRoot_; }

    Catalogue take()
    {
        for (const Station &station : stations_) {
            if (!genreNames_.contains(station.genre))
                throw CatalogueError(source_ + ": station " + std::to_string(station.id) + " names the genre \""
                                     + station.genre + "\", which is not declared");
        }
        if (stations_.empty())
            throw CatalogueError(source_ + ": the catalogue has no stations");
        return Catalogue(std::move(genres_), std::move(titles_), std::move(stations_));
    }

private:
    using Attributes = std::vector<std::pair<std::string_view, std::string_view>>;

    static Attributes collect(const XML_Char **attributes)
    {
        Attributes collected;
        for (const XML_Char **attribute = attributes; *attribute != nullptr; attribute += 2)
            collected.emplace_back(attribute[0], attribute[1]);
        return collected;
    }

    // The value of a required attribute; nullopt (after recording the error)
    // when it is missing.
    std::optional<std::string> required(const Attributes &attributes, std::string_view element, std::string_view key)
    {
        for (const auto &[name, value] : attributes) {
            if (name == key)
                return std::string(value);
        }
        fail("<" + std::string(element) + "> lacks the attribute \"" + std::string(key) + "\"");
        return std::nullopt;
    }

    void readGenre(const XML_Char **raw)
    {
        const auto name = required(collect(raw), "genre", "name");
        if (!name)
            return;
        if (name->empty())
            return fail("a genre has an empty name");
        if (!genreNames_.insert(*name).second)
            return fail("the genre \"" + *name + "\" is declared twice");
        genres_.push_back(*name);
    }

    void readTrack(const XML_Char **raw)
    {
        const auto title = required(collect(raw), "track", "title");
        if (title)
            titles_.push_back(*title);
    }

    void readStation(const XML_Char **raw)
    {
        const Attributes attributes = collect(raw);
        Station station;
        const auto id = required(attributes, "station", "id");
        const auto name = required(attributes, "station", "name");
        const auto genre = required(attributes, "station", "genre");
        const auto mediaType = required(attributes, "station", "mt");
        const auto bitrate = required(attributes, "station", "br");
        const auto listeners = required(attributes, "station", "listeners");
        if (!id || !name || !genre || !mediaType || !bitrate || !listeners)
            return;
        const auto number = parseNumber<int>(*id);
        if (!number || *number <= 0)
            return fail("the station id \"" + *id + "\" is not a positive number");
        const auto count = parseNumber<long>(*listeners);
        if (!count || *count < 0)
            return fail("station " + *id + ": the listener count \"" + *listeners + "\" is not a number");
        station.id = *number;
        station.listeners = *count;
        if (name->empty())
            return fail("station " + *id + " has an empty name");
        if (mediaType->empty())
            return fail("station " + *id + " has an empty media type");
        if (!stationIds_.insert(station.id).second)
            return fail("the station id " + *id + " is used twice");
        station.name = *name;
        station.genre = *genre;
        station.mediaType = *mediaType;
        station.bitrate = *bitrate;
        stations_.push_back(std::move(station));
    }

    void fail(const std::string &message)
    {
        if (error_.empty())
            error_ = source_ + ":" + std::to_string(XML_GetCurrentLineNumber(parser_)) + ": " + message;
        XML_StopParser(parser_, XML_FALSE);
    }

    XML_Parser parser_;
    std::string source_;
    std::string error_;
    int depth_ = 0;
    bool sawRoot_ = false;
    std::vector<std::string> genres_;
    std::set<std::string, std::less<>> genreNames_;
    std::vector<std::string> titles_;
    std::vector<Station> stations_;
    std::set<int> stationIds_;
};

} // namespace

Catalogue::Catalogue(std::vector<std::string> genres, std::vector<std::string> titles, std::vector<Station> stations)
    : genres_(std::move(genres)), titles_(std::move(titles)), stations_(std::move(stations))
{
    for (std::size_t index = 0; index < stations_.size(); ++index)
        indexById_.emplace(stations_[index].id, index);
}

const Station *Catalogue::find(int id) const
{
    const auto found = indexById_.find(id);
    return found == indexById_.end() ? nullptr : &stations_[found->second];
}

Catalogue parseCatalogue(std::string_view xml, const std::string &source)
{
    ParserHandle parser(XML_ParserCreate("UTF-8"));
    if (!parser)
        throw CatalogueError(source + ": cannot create an XML parser");
    CatalogueReader reader(parser.get(), source);
    XML_SetUserData(parser.get(), &reader);
    XML_SetElementHandler(parser.get(), &CatalogueReader::onStart, &CatalogueReader::onEnd);
    const XML_Status status = XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE);
    if (!reader.error().empty())
        throw CatalogueError(reader.error());
    if (status != XML_STATUS_OK)
        throw CatalogueError(source + ":" + std::to_string(XML_GetCurrentLineNumber(parser.get()))
                             + ": not well-formed XML: " + XML_ErrorString(XML_GetErrorCode(parser.get())));
    if (!reader.sawRoot())
        throw CatalogueError(source + ": no <catalogue> element");
    return reader.take();
}

Catalogue loadCatalogue(const std::filesystem::path &file)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored))
        throw CatalogueError(file.string() + ": no such file");
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw CatalogueError(file.string() + ": cannot be read");
    std::ostringstream contents;
    contents << in.rdbuf();
    if (in.bad())
        throw CatalogueError(file.string() + ": cannot be read");
    return parseCatalogue(contents.str(), file.string());
}

} // namespace station

// A request to the station server, as it arrives on a connection, answered
// by the server's own handlers behind cpp-httplib's request parsing, and the
// server's parsers of query values and options. Checked: a directory reply
// is well-formed XML with at most 500 stations (and no more than the limit
// asked for), a playlist is served exactly for a station's id, every fault
// the server accepts reads back from its own description, and options that
// are accepted are within their ranges.

#include "fuzz_support.h"

#include "catalogue.h"
#include "faults.h"
#include "loop_cache.h"
#include "options.h"
#include "parse_number.h"
#include "station_query.h"
#include "station_service.h"
#include "title_schedule.h"

#include "net/xmltree.h"

#include <httplib.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t longestInput = 64 * 1024;

// The station server's handlers on a server that is never started: each
// request is read from memory and answered into it.
class StationBox : public httplib::Server
{
public:
    StationBox()
        : catalogue(station::loadCatalogue(TARNWAVE_SOURCE_DIR "/data/catalogue/stations.xml")),
          titles(catalogue.titles(), std::chrono::seconds(20), station::TitleSchedule::Clock::now()), loops(1),
          service(catalogue, titles, loops, faults, station::LiveStreamSettings{})
    {
        service.installOn(*this);
    }

    // Answers `request` as a worker does; `parsed` is what cpp-httplib
    // made of its head (empty when it refused it before that).
    std::string answer(std::string_view request, httplib::Request &parsed)
    {
        httplib::detail::BufferStream stream;
        stream.write(request.data(), request.size());
        bool closed = false;
        process_request(stream, true, closed, [&parsed](httplib::Request &read) { parsed = read; });
        faults.clear();
        return stream.get_buffer().substr(request.size());
    }

    station::Catalogue catalogue;
    station::TitleSchedule titles;
    station::LoopCache loops;
    station::FaultTable faults;
    station::StationService service;
};

struct Reply
{
    int status = 0;
    std::string head;
    std::string body;
};

Reply split(const std::string &text)
{
    Reply reply;
    const std::size_t end = text.find("\r\n\r\n");
    reply.head = text.substr(0, end);
    reply.body = end == std::string::npos ? "" : text.substr(end + 4);
    if (text.starts_with("HTTP/1.1 "))
        reply.status = station::parseNumber<int>(std::string_view(text).substr(9, 3)).value_or(0);
    return reply;
}

bool has(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

// The stations of a directory reply and the rule that chose them.
void checkStations(const httplib::Request &request, const XMLTreeNode &root)
{
    const std::string mediaType = request.get_param_value("mt");
    const std::string search = station::foldCase(request.get_param_value("search"));
    const std::string genre = station::foldCase(request.get_param_value("genre"));
    std::size_t stations = 0;
    for (const XMLTreeNode *node = root.GetChild(); node != nullptr; node = node->GetNext()) {
        if (std::string_view(node->GetType()) != "station")
            continue;
        ++stations;
        const char *name = node->GetAttributeValue("name");
        const char *stationGenre = node->GetAttributeValue("genre");
        const char *stationType = node->GetAttributeValue("mt");
        FUZZ_CHECK(name && stationGenre && stationType, "a station without name, genre or mt");
        FUZZ_CHECK(mediaType.empty() || mediaType == stationType, stationType);
        if (request.has_param("search"))
            FUZZ_CHECK(has(station::foldCase(name), search) || has(station::foldCase(stationGenre), search),
                       std::string(name) + " does not match " + fuzz::printable(search));
        else if (genre != "top")
            FUZZ_CHECK(station::foldCase(stationGenre) == genre, std::string(name) + " is not of " + genre);
    }
    FUZZ_CHECK(stations <= station::longestStationList, std::to_string(stations) + " stations");
    if (const auto limit = station::parseNumber<std::size_t>(request.get_param_value("limit")))
        FUZZ_CHECK(stations <= *limit, std::to_string(stations) + " stations for the limit " + std::to_string(*limit));
}

void checkDirectoryReply(const httplib::Request &request, const Reply &reply)
{
    XMLTreeParser parser(nullptr);
    FUZZ_CHECK(parser.Parse(reply.body.data(), static_cast<int>(reply.body.size()), 1) != 0,
               std::string(parser.ErrorString()) + " in " + fuzz::printable(reply.body));
    const XMLTreeNode &root = *parser.RootNode();
    if (request.has_param("search") || request.has_param("genre"))
        checkStations(request, root);
    else
        FUZZ_CHECK(std::string_view(root.GetType()) == "genrelist", root.GetType());
}

void checkPlaylistReply(const httplib::Request &request, const station::Catalogue &catalogue, const Reply &reply)
{
    const auto id = station::parseNumber<int>(request.get_param_value("id"));
    const bool known = id && catalogue.find(*id) != nullptr;
    FUZZ_CHECK(reply.status == (known ? 200 : 404), "status " + std::to_string(reply.status));
    if (known)
        FUZZ_CHECK(has(reply.body, "\nFile1=http://") && has(reply.body, "/stream/" + std::to_string(*id) + "\n"),
                   fuzz::printable(reply.body));
}

// What the server does with the request: the directory and playlists as
// GET requests answer them in full (no range, no compression).
void checkReply(const httplib::Request &request, const station::Catalogue &catalogue, const std::string &text)
{
    const Reply reply = split(text);
    FUZZ_CHECK(reply.status >= 200 && reply.status < 600, fuzz::printable(reply.head));
    const bool plain = request.method == "GET" && !request.has_header("Range") && !has(reply.head, "Content-Encoding");
    if (!plain)
        return;
    if (request.path == "/sbin/newxml.phtml" && reply.status == 200)
        checkDirectoryReply(request, reply);
    else if (request.path == "/sbin/tunein-station.pls")
        checkPlaylistReply(request, catalogue, reply);
}

// The parsers of query values, which also read the command line.
void checkValue(const std::string &value)
{
    if (const auto fault = station::parseFault(value))
        FUZZ_CHECK(station::parseFault(station::describeFault(*fault)) == fault, station::describeFault(*fault));
    if (const auto rule = station::parseFaultRule(value)) {
        const auto again = station::parseFaultRule(rule->path + "=" + station::describeFault(rule->fault));
        FUZZ_CHECK(rule->path.starts_with('/') && again && again->path == rule->path && again->fault == rule->fault,
                   fuzz::printable(value));
    }
    if (const auto seconds = station::parseDropSeconds(value))
        FUZZ_CHECK(seconds->count() >= 0 && seconds->count() <= 3600 * 1000, fuzz::printable(value));
    const std::string folded = station::foldCase(value);
    FUZZ_CHECK(folded.size() == value.size() && station::foldCase(folded) == folded, fuzz::printable(value));
}

// The query's parameters as the server's command line ("--NAME=VALUE").
void checkOptions(const httplib::Request &request)
{
    std::vector<std::string> arguments{"station-server"};
    for (const auto &[name, value] : request.params)
        arguments.push_back("--" + name + "=" + value);
    station::ServerOptions options;
    try {
        options = station::parseOptions(arguments, "catalogue.xml");
    } catch (const station::UsageError &) {
        return;
    }
    FUZZ_CHECK(options.port >= 0 && options.port <= 65535, std::to_string(options.port));
    FUZZ_CHECK(options.metadataInterval >= 16 && options.metadataInterval <= (1u << 20), "metaint");
    FUZZ_CHECK(options.workers >= 2 && options.workers <= 1024, "workers");
    FUZZ_CHECK(options.titleInterval >= std::chrono::milliseconds(50), "title interval");
    FUZZ_CHECK(options.burst >= std::chrono::milliseconds(0), "burst");
    for (const station::FaultRule &rule : options.faults)
        FUZZ_CHECK(rule.path.starts_with('/'), rule.path);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static StationBox box;
    const std::string_view request = fuzz::text(data, size);
    if (request.size() > longestInput)
        return 0;

    httplib::Request parsed;
    const std::string reply = box.answer(request, parsed);
    if (parsed.method.empty())
        return 0; // refused before the request's head was read
    checkReply(parsed, box.catalogue, reply);
    for (const auto &[name, value] : parsed.params)
        checkValue(value);
    checkOptions(parsed);
    return 0;
}

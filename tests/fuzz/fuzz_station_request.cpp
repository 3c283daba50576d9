// A request to the station server as it arrives on a connection: framed by
// the request gate, then served by a worker on a Connection (which repairs
// the request line) behind cpp-httplib's parsing, by the server's own
// handlers; and the server's parsers of query values and options. Checked:
// the gate's decisions stand whatever follows, and a request it calls whole
// is whole for the worker too, and no more; a directory
// reply is well-formed XML with at most 500 stations (and no more than the
// limit asked for) chosen by the search, genre and media type asked for; a
// playlist is served exactly for a station's id; faults and numbers read back
// from their descriptions, and accepted options stay in their ranges.

#include "fuzz_support.h"
#include "station_worker.h"

#include "faults.h"
#include "options.h"
#include "parse_number.h"
#include "request_framing.h"
#include "station_query.h"
#include "station_service.h"

#include "net/xmltree.h"

#include <httplib.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t longestInput = 64 * 1024;

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

// The gate's view of the bytes: what it decides once stands, however many
// more bytes come (the reply goes out, or the worker starts, on it), and the
// request line it sees is the received bytes' first line.
station::RequestFraming checkFraming(const std::string &received)
{
    const station::RequestLimits limits;
    const station::RequestFraming framing = station::frameRequest(received, limits);
    const std::size_t cut = static_cast<std::size_t>(fuzz::fingerprint(received) % (received.size() + 1));
    const station::RequestFraming early = station::frameRequest(std::string_view(received).substr(0, cut), limits);
    FUZZ_CHECK(early == station::RequestFraming::incomplete || early == framing,
               "decided " + std::to_string(static_cast<int>(early)) + " on " + std::to_string(cut) + " bytes, then "
                   + std::to_string(static_cast<int>(framing)));
    const std::string_view line = station::requestLineOf(received);
    const std::size_t lineEnd = std::min(received.find('\n'), received.size());
    const std::size_t lineBreak = lineEnd > 0 && received[lineEnd - 1] == '\r' ? 1 : 0;
    FUZZ_CHECK(line == std::string_view(received).substr(0, lineEnd - lineBreak), fuzz::printable(line));
    return framing;
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
    static fuzz::StationWorker worker;
    const std::string received(fuzz::text(data, size));
    if (received.size() > longestInput)
        return 0;
    if (checkFraming(received) != station::RequestFraming::complete)
        return 0; // the gate answers, or waits; no worker sees it

    const fuzz::ServedRequest served = worker.serve(received);
    FUZZ_CHECK(served.requestLine == station::requestLineOf(received) || served.requestLine.empty(),
               "the access log's line " + fuzz::printable(served.requestLine));
    if (served.parsed.method.empty())
        return 0; // refused before the request's head was read
    FUZZ_CHECK(!served.readPastTheEnd,
               "the gate called the request whole, the worker wanted more: " + fuzz::printable(received));
    checkReply(served.parsed, worker.catalogue(), served.reply);
    for (const auto &[name, value] : served.parsed.params)
        checkValue(value);
    checkOptions(served.parsed);
    return 0;
}

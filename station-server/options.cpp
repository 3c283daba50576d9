#include "options.h"

#include "parse_number.h"
#include "text_encoding.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

namespace station {
namespace {

std::chrono::milliseconds seconds(const std::string &option, const std::string &text, double least)
{
    const auto value = parseSeconds(text, least, 86400.0);
    if (!value)
        throw UsageError(option + " needs a number of seconds, at least " + std::to_string(least) + ", not \"" + text
                         + "\"");
    return *value;
}

std::size_t count(const std::string &option, const std::string &text, std::size_t least, std::size_t most)
{
    const auto value = parseNumber<std::size_t>(text);
    if (!value || *value < least || *value > most)
        throw UsageError(option + " needs a whole number from " + std::to_string(least) + " to " + std::to_string(most)
                         + ", not \"" + text + "\"");
    return *value;
}

// "HOST:PORT", "[IPv6]:PORT".
void readListen(const std::string &text, ServerOptions &options)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0)
        throw UsageError("--listen needs HOST:PORT, not \"" + text + "\"");
    std::string host = text.substr(0, colon);
    if (host.front() == '[') {
        if (host.back() != ']' || host.size() < 3)
            throw UsageError("--listen: malformed IPv6 address in \"" + text + "\"");
        host = host.substr(1, host.size() - 2);
    }
    const auto port = parseNumber<int>(text.substr(colon + 1));
    if (!port || *port < 0 || *port > 65535)
        throw UsageError("--listen: \"" + text.substr(colon + 1) + "\" is no port number (0 to 65535)");
    options.host = host;
    options.port = *port;
}

constexpr const char *upstreamUsage = "--upstream needs radio-browser[=URL,...] or shoutcast=KEY[@URL] (each URL "
                                      "http:// or https://, KEY of letters, digits and -._~)";

UsageError upstreamRefused(const std::string &given)
{
    return UsageError(std::string(upstreamUsage) + ", not \"" + given + "\"");
}

// An upstream's address as given on the command line: http: or https:,
// with a host, without blanks, kept without a trailing "/"; nullopt if not.
std::optional<std::string> upstreamUrl(std::string url)
{
    while (url.ends_with('/'))
        url.pop_back();
    const bool web = url.starts_with("http://") || url.starts_with("https://");
    if (!web || url.find_first_of(" \t\r\n") != std::string::npos || url.find("://") + 3 >= url.size())
        return std::nullopt;
    return url;
}

// radio-browser[=URL[,URL...]]: each URL a mirror.
void readRadioBrowser(const std::string &text, ServerOptions &options)
{
    const std::string name = "radio-browser";
    options.upstream = ServerOptions::Upstream::radioBrowser;
    options.radioBrowserServers.clear();
    if (text == name)
        return;
    std::size_t start = name.size() + 1;
    while (start <= text.size()) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        const std::string given = text.substr(start, comma - start);
        const auto url = upstreamUrl(given);
        if (!url)
            throw upstreamRefused(given);
        options.radioBrowserServers.push_back(*url);
        start = comma + 1;
    }
}

// shoutcast=KEY[@URL]: a developer key of letters, digits and "-._~" (as
// it goes into a query unencoded); URL serves both the API and the tune-in
// playlists.
void readShoutcast(const std::string &text, ServerOptions &options)
{
    const std::string given = text.substr(std::string_view("shoutcast=").size());
    const std::size_t at = given.find('@');
    ShoutcastUpstream shoutcast;
    shoutcast.key = given.substr(0, at);
    const bool plainKey = !shoutcast.key.empty() && std::all_of(shoutcast.key.begin(), shoutcast.key.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0
               || std::string_view("-._~").find(c) != std::string_view::npos;
    });
    if (!plainKey)
        throw upstreamRefused(text);
    if (at != std::string::npos) {
        const auto url = upstreamUrl(given.substr(at + 1));
        if (!url)
            throw upstreamRefused(given.substr(at + 1));
        shoutcast.apiUrl = *url;
        shoutcast.tuneInUrl = *url;
    }
    options.upstream = ServerOptions::Upstream::shoutcast;
    options.shoutcast = std::move(shoutcast);
}

void readUpstream(const std::string &text, ServerOptions &options)
{
    if (text == "radio-browser" || text.starts_with("radio-browser="))
        return readRadioBrowser(text, options);
    if (text.starts_with("shoutcast="))
        return readShoutcast(text, options);
    throw upstreamRefused(text);
}

} // namespace

ServerOptions parseOptions(const std::vector<std::string> &arguments, std::filesystem::path defaultCatalogue)
{
    ServerOptions options;
    options.catalogue = std::move(defaultCatalogue);
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::string option = arguments[i];
        std::optional<std::string> inlineValue;
        if (const std::size_t equals = option.find('='); option.starts_with("--") && equals != std::string::npos) {
            inlineValue = option.substr(equals + 1);
            option.resize(equals);
        }
        if (option == "--help" || option == "-h") {
            options.help = true;
            continue;
        }
        const auto value = [&]() -> std::string {
            if (inlineValue)
                return *inlineValue;
            if (i + 1 >= arguments.size())
                throw UsageError(option + " needs a value");
            return arguments[++i];
        };
        if (option == "--listen") {
            readListen(value(), options);
        } else if (option == "--catalogue") {
            options.catalogue = value();
        } else if (option == "--fault") {
            const std::string text = value();
            const auto rule = parseFaultRule(text);
            if (!rule)
                throw UsageError("--fault needs PATH=KIND or PATH=drop:SECONDS (0 to 3600) with a path starting with "
                                 "/ and one of the kinds "
                                 + faultKindNames() + ", not \"" + text + "\"");
            options.faults.push_back(*rule);
        } else if (option == "--title") {
            std::string title = value();
            if (!isUtf8(title))
                throw UsageError("--title needs UTF-8 text");
            options.titles.push_back(std::move(title));
        } else if (option == "--title-interval") {
            options.titleInterval = seconds(option, value(), 0.05);
        } else if (option == "--burst") {
            options.burst = seconds(option, value(), 0.0);
        } else if (option == "--metaint") {
            options.metadataInterval = count(option, value(), 16, 1 << 20);
        } else if (option == "--workers") {
            options.workers = count(option, value(), 2, 1024);
        } else if (option == "--request-timeout") {
            options.requestTimeout = seconds(option, value(), 0.1);
        } else if (option == "--log") {
            options.logFile = value();
        } else if (option == "--upstream") {
            readUpstream(value(), options);
        } else {
            throw UsageError("unknown option \"" + arguments[i] + "\" (see --help)");
        }
    }
    return options;
}

// The fault kinds, as --help lists them.
constexpr const char *faultKindsHelp =
    "Fault kinds:\n"
    "  status503      503 Service Unavailable\n"
    "  status404      404 Not Found\n"
    "  malformed-xml  200 with XML that is not well-formed\n"
    "  truncated      headers promise more body than is sent; then the connection closes\n"
    "  stall          headers, then nothing until the client gives up\n"
    "  trickle        the real reply, one byte every 100 ms\n"
    "  close          the connection closes without a reply\n"
    "  empty200       200 with an empty body\n"
    "  drop           a stream plays for S seconds (default 3, at most 3600), then the\n"
    "                 connection closes; other replies: headers and half the body,\n"
    "                 then the connection closes after S seconds\n"
    "  icy-status     the status line is \"ICY 200 OK\" and the headers are only\n"
    "                 Content-Type and icy-* (and Content-Length off streams), as\n"
    "                 old stream servers answer; a stream plays as usual\n"
    "  latin1-titles  a stream's StreamTitle in ISO-8859-1 instead of UTF-8 (other\n"
    "                 characters become ?); other replies are left as they are\n"
    "  redirect       302 Found, Location: the same address (Host header, path, query)\n"
    "  hostile-address\n"
    "                 a playlist's File1= address gets the query\n"
    "                 ?q=';touch${IFS}hostile-1;'\"$(touch${IFS}hostile-2)\"`touch${IFS}hostile-3`\n"
    "                 which makes files hostile-N in the working directory of a\n"
    "                 shell given the address unquoted or wrongly quoted; the stream\n"
    "                 plays whatever query it is asked with; other replies as they are\n"
    "  ampersand-address\n"
    "                 a playlist's File1= address gets the query ?a=1&b=2; the\n"
    "                 stream plays as usual; other replies as they are\n";

std::string usageText()
{
    return std::string("Usage: station-server [OPTIONS]\n"
                       "\n"
                       "A local stand-in for the internet station directory: it answers the directory's\n"
                       "XML requests, hands out tune-in playlists and plays endless synthesised MP3\n"
                       "streams with ICY titles.\n"
                       "\n"
                       "  --listen HOST:PORT      where to listen (default 127.0.0.1:8150; port 0 picks a\n"
                       "                          free one). Prints \"station-server: listening on\n"
                       "                          http://HOST:PORT\" on stdout once ready.\n"
                       "  --catalogue FILE        the stations to serve (default: data/catalogue/stations.xml\n"
                       "                          of the source tree; its format is described at its top)\n"
                       "  --fault PATH=KIND       spoil every request for PATH (exact, or a prefix ending\n"
                       "                          in *, such as /stream/*); may be given more than once.\n"
                       "                          PATH=drop:SECS sets how long a dropped reply plays\n"
                       "  --title TEXT            every station announces TEXT (UTF-8) instead of the\n"
                       "                          catalogue's titles, in its stream and as the directory's\n"
                       "                          ct; given more than once, they take turns\n"
                       "  --title-interval SECS   how often every station's title changes (default 20)\n"
                       "  --burst SECS            audio sent at once when a stream starts (default 2)\n"
                       "  --metaint BYTES         audio bytes between ICY metadata blocks (default 8192)\n"
                       "  --workers N             requests and streams served at once (default 64); more\n"
                       "                          requests wait for a free worker\n"
                       "  --request-timeout SECS  how long a connection may wait to begin a request, and\n"
                       "                          the request to arrive whole (default 5); then it is\n"
                       "                          closed, a partly sent request answered 408\n"
                       "  --log FILE              append the access log to FILE instead of stderr\n"
                       "  --upstream radio-browser[=URL,...]\n"
                       "                          a gateway: the directory and its playlists come from the\n"
                       "                          community radio directory (its mirrors URL,...; by\n"
                       "                          default those its DNS SRV record names), not from the\n"
                       "                          catalogue\n"
                       "  --upstream shoutcast=KEY[@URL]\n"
                       "                          a gateway to the SHOUTcast directory's API with your\n"
                       "                          developer key KEY (at URL instead of api.shoutcast.com,\n"
                       "                          and its playlists at URL instead of yp.shoutcast.com)\n"
                       "  --help                  this text\n"
                       "\n"
                       "Requests:\n"
                       "  GET /sbin/newxml.phtml                      the genre list\n"
                       "  GET /sbin/newxml.phtml?genre=Top[&mt=TYPE]  the most listened stations (at most 500)\n"
                       "  GET /sbin/newxml.phtml?genre=NAME[&mt=TYPE] the stations of a genre\n"
                       "  GET /sbin/newxml.phtml?search=TEXT[&mt=TYPE] stations whose name or genre contains\n"
                       "                          TEXT (any case; blanks may come raw, as %20 or as +)\n"
                       "      (limit=N shortens any station list)\n"
                       "  GET /sbin/tunein-station.pls?id=N           the station's playlist (404: no such id)\n"
                       "  GET /stream/N                               the station's live MP3 stream; with\n"
                       "                          \"Icy-MetaData: 1\" it carries StreamTitle blocks\n"
                       "  POST /control/fault?path=PATH&kind=KIND[&times=N][&seconds=S]\n"
                       "                          add a fault (for N requests; a drop after S seconds)\n"
                       "  DELETE /control/faults                      remove every fault\n"
                       "  GET /control/faults                         the faults in force\n"
                       "  GET /control/ping                           \"pong\"\n"
                       "\n")
           + faultKindsHelp
           + "\n"
             "Exit status: 0 after SIGINT or SIGTERM, 2 for a bad command line, an unusable\n"
             "catalogue or an address that cannot be listened on.\n";
}

} // namespace station

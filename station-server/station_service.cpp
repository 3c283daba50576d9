#include "station_service.h"

#include "connection.h"
#include "directory_gateway.h"
#include "directory_request.h"
#include "directory_xml.h"
#include "fault_reply.h"
#include "parse_number.h"
#include "playlist.h"
#include "station_query.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace station {
namespace {

// "host:port" as the client reached us, from its Host header; the socket's
// own address when the header is missing or holds anything but a host name,
// an address and a port.
std::string authorityOf(const httplib::Request &request)
{
    std::string localIp = "127.0.0.1";
    int localPort = 0;
    if (const Connection *connection = Connection::current())
        connection->get_local_ip_and_port(localIp, localPort);
    const std::string host = request.get_header_value("Host");
    const bool plain = !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-' || c == ':' || c == '['
               || c == ']' || c == '_';
    });
    if (!plain)
        return (localIp.find(':') != std::string::npos ? "[" + localIp + "]" : localIp) + ":"
               + std::to_string(localPort);
    // A Host header without a port: the client reached us on our own port
    // (unless that is 80). The port follows the last colon unless that colon
    // is inside an IPv6 address's brackets.
    const std::size_t colon = host.rfind(':');
    const std::size_t bracket = host.rfind(']');
    const bool hasPort = colon != std::string::npos && (bracket == std::string::npos || colon > bracket);
    if (!hasPort && localPort != 80)
        return host + ":" + std::to_string(localPort);
    return host;
}

// The absolute address the request was for, as the client reached us.
std::string requestUrl(const httplib::Request &request)
{
    return "http://" + authorityOf(request) + request.target;
}

StreamManner streamManner(const httplib::Request &request, const std::optional<Fault> &fault)
{
    StreamManner manner;
    manner.withMetadata = request.get_header_value("Icy-MetaData") == "1";
    manner.headOnly = request.method == "HEAD";
    if (!fault)
        return manner;
    manner.icyStatusLine = fault->kind == FaultKind::icyStatus;
    manner.latin1Titles = fault->kind == FaultKind::latin1Titles;
    if (fault->kind == FaultKind::drop)
        manner.closeAfter = fault->dropAfter;
    return manner;
}

// The rule a control request describes, or why it cannot be added.
struct FaultRequest
{
    std::optional<FaultRule> rule;
    std::string refusal;
};

FaultRequest readFaultRequest(const httplib::Request &request)
{
    const std::string path = request.get_param_value("path");
    const auto kind = parseFaultKind(request.get_param_value("kind"));
    if (!path.starts_with('/') || !kind)
        return {std::nullopt, "needs path=/... and kind= one of " + faultKindNames()};
    FaultRule rule{path, Fault{*kind}, std::nullopt};
    if (request.has_param("times")) {
        rule.remaining = parseNumber<int>(request.get_param_value("times"));
        if (!rule.remaining || *rule.remaining <= 0)
            return {std::nullopt, "times= needs a positive number"};
    }
    if (request.has_param("seconds")) {
        const std::string seconds = request.get_param_value("seconds");
        const auto dropAfter = parseDropSeconds(seconds);
        if (*kind != FaultKind::drop)
            return {std::nullopt, "seconds= goes only with kind=drop"};
        if (!dropAfter)
            return {std::nullopt, "seconds= needs a number of seconds from 0 to "
                                      + std::to_string(static_cast<int>(longestDropSeconds)) + ", not \"" + seconds
                                      + "\""};
        rule.fault.dropAfter = *dropAfter;
    }
    return {rule, {}};
}

} // namespace

StationService::StationService(const Catalogue &catalogue, const TitleSchedule &titles, LoopCache &loops,
                               FaultTable &faults, LiveStreamSettings streams)
    : catalogue_(catalogue), titles_(titles), loops_(loops), faults_(faults), streams_(streams)
{
}

void StationService::installOn(httplib::Server &server)
{
    server.Get("/sbin/newxml.phtml", [this](const httplib::Request &request, httplib::Response &response) {
        answer(request, response, gateway_ ? gateway_->directoryReply(request) : directoryReply(request));
    });
    server.Get("/sbin/tunein-station.pls", [this](const httplib::Request &request, httplib::Response &response) {
        answer(request, response, gateway_ ? gateway_->playlistReply(request) : playlistReply(request));
    });
    server.Get(R"(/stream/([^/]+))", [this](const httplib::Request &request, httplib::Response &response) {
        serveStream(request, response);
    });
    server.Post("/control/fault",
                [this](const httplib::Request &request, httplib::Response &response) { addFault(request, response); });
    server.Delete("/control/faults", [this](const httplib::Request &, httplib::Response &response) {
        faults_.clear();
        response.set_content("ok\n", textType);
    });
    server.Get("/control/faults", [this](const httplib::Request &, httplib::Response &response) {
        response.set_content(faults_.describe(), textType);
    });
    server.Get("/control/ping",
               [](const httplib::Request &, httplib::Response &response) { response.set_content("pong\n", textType); });
    server.set_error_handler([](const httplib::Request &, httplib::Response &response) {
        if (response.body.empty())
            response.set_content(textReply(response.status).body, textType);
    });
}

Reply StationService::directoryReply(const httplib::Request &request) const
{
    Reply reply;
    reply.contentType = xmlType;
    const DirectoryRequest asked = readDirectoryRequest(request);
    const auto now = TitleSchedule::Clock::now();
    switch (asked.kind) {
    case DirectoryRequest::Kind::search:
        reply.body = stationListXml(searchStations(catalogue_, asked.text, asked.mediaType, asked.limit), titles_, now);
        break;
    case DirectoryRequest::Kind::topList:
        reply.body = stationListXml(topStations(catalogue_, asked.mediaType, asked.limit), titles_, now);
        break;
    case DirectoryRequest::Kind::genre:
        reply.body =
            stationListXml(stationsOfGenre(catalogue_, asked.text, asked.mediaType, asked.limit), titles_, now);
        break;
    case DirectoryRequest::Kind::genreList: reply.body = genreListXml(catalogue_); break;
    }
    return reply;
}

Reply StationService::playlistReply(const httplib::Request &request) const
{
    const auto id = parseNumber<int>(request.get_param_value("id"));
    const Station *station = id ? catalogue_.find(*id) : nullptr;
    if (station == nullptr)
        return textReply(404, "no station has the id \"" + request.get_param_value("id") + "\"");
    Reply reply;
    reply.contentType = playlistType;
    reply.body = tuneInPlaylist(*station, authorityOf(request));
    return reply;
}

void StationService::answer(const httplib::Request &request, httplib::Response &response, const Reply &reply)
{
    if (Connection *connection = Connection::current()) {
        if (const auto fault = faults_.take(request.path)) {
            sendFaultyReply(*connection, *fault, reply, requestUrl(request));
            return;
        }
    }
    response.status = reply.status;
    for (const auto &[name, value] : reply.headers)
        response.set_header(name, value);
    response.set_content(reply.body, reply.contentType);
}

void StationService::serveStream(const httplib::Request &request, httplib::Response &response)
{
    Connection *connection = Connection::current();
    const auto id = parseNumber<int>(request.matches[1].str());
    const Station *station = id ? catalogue_.find(*id) : nullptr;
    if (station == nullptr || connection == nullptr)
        return answer(request, response, textReply(404, "no such station"));
    std::shared_ptr<const Mp3Loop> loop;
    try {
        loop = loops_.loopFor(*station);
    } catch (const EncodingError &error) {
        return answer(request, response, textReply(503, error.what()));
    }
    const auto fault = faults_.take(request.path);
    if (fault && !playsStream(fault->kind)) {
        return sendFaultyReply(*connection, *fault, liveStreamReply(*station, *loop, false, streams_),
                               requestUrl(request));
    }
    serveLiveStream(*connection, *station, *loop, titles_, streamManner(request, fault), streams_);
}

void StationService::addFault(const httplib::Request &request, httplib::Response &response)
{
    FaultRequest wanted = readFaultRequest(request);
    if (!wanted.rule) {
        response.status = 400;
        response.set_content(textReply(400, wanted.refusal).body, textType);
        return;
    }
    faults_.add(std::move(*wanted.rule));
    response.set_content("ok\n", textType);
}

} // namespace station

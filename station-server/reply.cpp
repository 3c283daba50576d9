#include "reply.h"

namespace station {
namespace {

void appendHeader(std::string &head, std::string_view name, std::string_view value)
{
    head += name;
    head += ": ";
    for (const char c : value) {
        if (c != '\r' && c != '\n')
            head += c;
    }
    head += "\r\n";
}

std::string statusLine(std::string_view protocol, int status)
{
    return std::string(protocol) + " " + std::to_string(status) + " " + std::string(reasonPhrase(status)) + "\r\n";
}

} // namespace

Reply textReply(int status, std::string_view why)
{
    Reply reply;
    reply.status = status;
    reply.contentType = textType;
    reply.body = std::to_string(status) + " " + std::string(reasonPhrase(status));
    if (!why.empty())
        reply.body += ": " + std::string(why);
    reply.body += "\n";
    return reply;
}

std::string_view reasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 302: return "Found";
    case 400: return "Bad Request";
    case 404: return "Not Found";
    case 408: return "Request Timeout";
    case 411: return "Length Required";
    case 413: return "Content Too Large";
    case 431: return "Request Header Fields Too Large";
    case 502: return "Bad Gateway";
    case 503: return "Service Unavailable";
    default: return "Unknown";
    }
}

std::string replyHead(const Reply &reply, std::optional<std::size_t> contentLength)
{
    // Live streams answer as the stream servers of the directory do, in
    // HTTP/1.0 and without a length.
    std::string head = statusLine(reply.live ? "HTTP/1.0" : "HTTP/1.1", reply.status);
    appendHeader(head, "Server", "station-server");
    if (!reply.contentType.empty())
        appendHeader(head, "Content-Type", reply.contentType);
    for (const auto &[name, value] : reply.headers)
        appendHeader(head, name, value);
    if (contentLength)
        appendHeader(head, "Content-Length", std::to_string(*contentLength));
    appendHeader(head, "Connection", "close");
    head += "\r\n";
    return head;
}

std::string icyReplyHead(const Reply &reply, std::optional<std::size_t> contentLength)
{
    std::string head = statusLine("ICY", reply.status);
    if (!reply.contentType.empty())
        appendHeader(head, "Content-Type", reply.contentType);
    for (const auto &[name, value] : reply.headers) {
        if (name.starts_with("icy-"))
            appendHeader(head, name, value);
    }
    if (contentLength)
        appendHeader(head, "Content-Length", std::to_string(*contentLength));
    head += "\r\n";
    return head;
}

} // namespace station

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

} // namespace

std::string_view reasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 400: return "Bad Request";
    case 404: return "Not Found";
    case 503: return "Service Unavailable";
    default: return "Unknown";
    }
}

std::string replyHead(const Reply &reply, std::optional<std::size_t> contentLength)
{
    // Live streams answer as the stream servers of the directory do, in
    // HTTP/1.0 and without a length.
    std::string head = reply.live ? "HTTP/1.0 " : "HTTP/1.1 ";
    head += std::to_string(reply.status);
    head += ' ';
    head += reasonPhrase(reply.status);
    head += "\r\n";
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

} // namespace station

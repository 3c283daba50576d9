#ifndef TARNWAVE_STATION_SERVER_REPLY_H
#define TARNWAVE_STATION_SERVER_REPLY_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace station {

// A reply as the server means to send it, before a fault may spoil it.
struct Reply
{
    int status = 200;
    std::string contentType;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    // An endless live stream: sent without a length, and `body` holds only
    // its beginning.
    bool live = false;
};

// The content types of the directory's replies.
inline constexpr const char *xmlType = "text/xml; charset=utf-8";
inline constexpr const char *textType = "text/plain; charset=utf-8";
inline constexpr const char *playlistType = "audio/x-scpls";
// XML passed on as an upstream sent it, in the encoding its declaration names.
inline constexpr const char *declaredXmlType = "text/xml";

std::string_view reasonPhrase(int status);

// A plain-text reply of one line: "404 Not Found: why", or only
// "404 Not Found" when `why` is empty.
Reply textReply(int status, std::string_view why = {});

// The status line and headers, ending with the blank line. A finite reply
// states `contentLength`; every reply written this way closes the connection
// after it. Header values lose any line breaks.
std::string replyHead(const Reply &reply, std::optional<std::size_t> contentLength);
// The same as old stream servers write it: the status line "ICY 200 OK"
// (no HTTP version), then only Content-Type, the icy-* headers and, for a
// finite reply, Content-Length.
std::string icyReplyHead(const Reply &reply, std::optional<std::size_t> contentLength);

} // namespace station

#endif

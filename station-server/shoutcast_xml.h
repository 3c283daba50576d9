#ifndef TARNWAVE_STATION_SERVER_SHOUTCAST_XML_H
#define TARNWAVE_STATION_SERVER_SHOUTCAST_XML_H

// The SHOUTcast directory's keyed API answers in the legacy form already
// (<genrelist>, <stationlist> with a <tunein base=...>), so the gateway
// passes its replies on byte for byte, except that every tunein element is
// made to name the gateway's own tune-in path: the box then asks the gateway
// for a station's playlist, and the gateway asks the directory's tune-in host
// under the base the directory named. The replies come from outside: one that
// is not well-formed XML (in the encoding it declares), declares a document
// type, or whose root is not the list asked for, is refused whole.

#include "upstream_reply_error.h"

#include <string>
#include <string_view>

namespace station::shoutcast {

using ReplyError = UpstreamReplyError;

// The tune-in base the directory's station lists name.
inline constexpr std::string_view defaultTuneInBase = "/sbin/tunein-station.pls";

struct PassedReply
{
    std::string body;
    // The directory's own tune-in base of the last tunein element, when it
    // is a plain path ("/" then letters, digits and "/._-~"); else empty.
    std::string tuneInBase;
};

// `xml` with the attributes of every tunein element replaced by base="`ownBase`"
// (the gateway serves no .m3u or .xspf bases); everything else as it came.
// Throws ReplyError when it is not well-formed, declares a document type or
// its root is not `root` ("genrelist", "stationlist").
PassedReply passOn(std::string_view xml, std::string_view root, std::string_view ownBase);

// True for a station id of the directory: 1 to 18 decimal digits.
bool isStationId(std::string_view text);

// True when a box finds a stream address in `playlist`: the first line that
// holds "File" (as in File1=) has a "=" with something after it.
bool hasStreamLine(std::string_view playlist);

} // namespace station::shoutcast

#endif

#include "directory_gateway.h"

#include <utility>

namespace station {

Reply servedReply(ReplyCache::Served served, const char *contentType)
{
    if (!served.ok)
        return textReply(502, served.error);
    Reply reply;
    reply.contentType = contentType;
    reply.body = std::move(served.body);
    return reply;
}

} // namespace station

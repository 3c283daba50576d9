#ifndef TARNWAVE_STATION_SERVER_UPSTREAM_REPLY_ERROR_H
#define TARNWAVE_STATION_SERVER_UPSTREAM_REPLY_ERROR_H

#include <stdexcept>

namespace station {

// Why a whole reply of an upstream directory could not be used; what() is
// one line.
class UpstreamReplyError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace station

#endif

#include "directory/ehttpdownloadstring.h"

#include <cstddef>

eHTTPDownloadString::eHTTPDownloadString(eHTTPConnection *c, eString *body) : eHTTPDataSource(c), target(body), done(0)
{
}

eHTTPDownloadString::~eHTTPDownloadString() = default;

void eHTTPDownloadString::haveData(void *data, int len)
{
    if (len != 0)
        target->append(static_cast<const char *>(data), static_cast<std::size_t>(len));
    else
        done = 1;
}

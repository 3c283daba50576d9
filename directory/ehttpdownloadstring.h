#ifndef TARNWAVE_DIRECTORY_EHTTPDOWNLOADSTRING_H
#define TARNWAVE_DIRECTORY_EHTTPDOWNLOADSTRING_H

// The body sink of a playlist transfer: appends the reply body, as it
// arrives, to a string held elsewhere (the window's playlistText). Like every
// sink it belongs to its connection, which deletes it.

#include "base/estring.h"
#include "net/ehttpdatasource.h"

class eHTTPDownloadString : public eHTTPDataSource
{
public:
    eHTTPDownloadString(eHTTPConnection *c, eString *body);
    // Neither clears nor frees the target string.
    ~eHTTPDownloadString() override;

    // A piece (len non-zero) is appended to the target byte for byte, zero
    // bytes included; the end of the body (len 0) sets `done` and appends
    // nothing.
    void haveData(void *data, int len) override;

    eString *target; // receives the body
    int done; // 1 once the end of the body was signalled
};

#endif

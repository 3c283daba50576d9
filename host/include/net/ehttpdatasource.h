#ifndef TARNWAVE_HOST_NET_EHTTPDATASOURCE_H
#define TARNWAVE_HOST_NET_EHTTPDATASOURCE_H

// Where the body of an HTTP reply goes. A connection asks for one through its
// createDataSink signal when the body begins; the slot makes a sink on that
// connection and returns it:
//
//   eHTTPDataSource *Player::makeSink(eHTTPConnection *conn) { return new MySink(conn, ...); }
//
// The connection given to the constructor is the sink's parent: it deletes the
// sink when it is itself deleted (after its completion signal, or when its
// owner aborts it), so whoever made the sink never deletes it. A sink made
// without a parent and returned from createDataSink is taken over by that
// connection in the same way.

#include "base/signals.h"

class eHTTPConnection;

class eHTTPDataSource : public SigC::Object
{
public:
    explicit eHTTPDataSource(eHTTPConnection *c);
    ~eHTTPDataSource() override;
    eHTTPDataSource(const eHTTPDataSource &) = delete;
    eHTTPDataSource &operator=(const eHTTPDataSource &) = delete;

    // One piece of the body, in arrival order (len > 0); then, when the whole
    // body arrived, one call with data null and len 0. A transfer that breaks
    // off gives no such end call. The default drops what it is given.
    virtual void haveData(void *data, int len);

    // For a request body, which this client never sends: it asks for none.
    // Returns how many bytes are left to send (always 0 here).
    virtual int doWrite(int bytes);

protected:
    // The parent connection; null once it has let go of the sink.
    eHTTPConnection *connection;

private:
    friend class eHTTPConnection;
};

#endif

#ifndef TARNWAVE_HOST_NET_EHTTPCONNECTION_H
#define TARNWAVE_HOST_NET_EHTTPCONNECTION_H

// The host's HTTP client: one GET request per connection, run by libcurl
// inside the host main loop, so that nothing ever blocks the GUI thread.
//
//   int error = 0;
//   eHTTPConnection *conn = eHTTPConnection::doRequest(url, eApp, &error);
//   if (!conn) { failed(error); return; }
//   CONNECT(conn->transferDone, Window::done);       // void done(int error)
//   CONNECT(conn->createDataSink, Window::makeSink); // eHTTPDataSource *makeSink(eHTTPConnection *)
//   conn->local_header["User-Agent"] = agent;
//   conn->start();
//
// Lifetime. The host deletes the connection right after its transferDone
// signal has returned; the completion slot may read `code` and `code_descr`
// and may start new requests, but must not delete the connection. To abort a
// transfer before it completes, delete the connection: the request stops, no
// signal of it is emitted afterwards, and its sinks are freed. A connection
// that was never started is deleted by its owner.
//
// Signals. Everything is emitted from the main loop, never from inside
// doRequest() or start():
//  - createDataSink(connection) once, when the first byte of the final reply's
//    body arrives (after redirects, whatever the status code). A reply
//    without a body asks for no sink. The returned sink (null: the body is
//    dropped) receives the body in the pieces that arrive, in order, and one
//    haveData(0, 0) when the body is complete, before transferDone.
//  - transferDone(error) exactly once (while the loop runs): 0 when a reply
//    arrived whole (404 and 503 included), otherwise one of the negative codes
//    below.
//
// Limits (limits()): the connection attempt gives up after 10 s, a reply from
// which no byte came for 30 s is broken off, and a body above 16 MiB is
// refused; at most 5 redirects are followed (more is errorOther).

#include "base/ebase.h"
#include "base/estring.h"
#include "base/signals.h"
#include "net/ehttpdatasource.h"

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace boxhost::net {
class HttpTransfer;
}

class eHTTPConnection : public SigC::Object
{
public:
    // The negative results of a transfer.
    enum {
        errorOther = -1, // bad URL, unsupported scheme, too many redirects, anything else
        errorHostNotFound = -2, // the host name does not resolve
        errorConnect = -3, // connection refused or host unreachable
        errorBroken = -4, // timed out (connect or stall) or broken off mid-reply
        errorTooLarge = -5 // body larger than the limit
    };

    struct Limits
    {
        long connectTimeoutMs = 10'000;
        long stallTimeoutMs = 30'000; // with no byte received
        long long maxBodyBytes = 16 * 1024 * 1024;
        int maxRedirects = 5;
    };

    // The limits that transfers started from now on use; tests shorten them.
    static void setLimits(const Limits &limits);
    static Limits limits();

    // A new connection for `url` (http or https) on `loop` (null: eApp), not
    // yet started; or null with *error set to errorOther when the URL is not
    // one that can be fetched. Blanks and other bytes that cannot stand in a
    // URL are sent percent-encoded ("?search=hip hop" as "?search=hip%20hop").
    // A host that does not resolve (-2) or refuses (-3) is reported through
    // transferDone once the connection runs.
    static eHTTPConnection *doRequest(const char *url, eMainloop *loop, int *error = nullptr);

    // Aborts a transfer that has not completed, without emitting anything.
    ~eHTTPConnection() override;
    eHTTPConnection(const eHTTPConnection &) = delete;
    eHTTPConnection &operator=(const eHTTPConnection &) = delete;

    // Sends the request with the headers in local_header. Only the first call counts.
    void start();

    // How many started transfers have not completed (nor been aborted) yet, on
    // all loops: what "no transfer runs" waits for.
    static int activeTransfers();

    // The URL as it is sent.
    const eString &url() const { return m_url; }

    // Request headers, name to value, sent as they are.
    std::map<eString, eString> local_header;

    // The status code and reason phrase of the final reply ("Not Found"); 0 and
    // "" while no reply has arrived (and after a failure before one did).
    int code = 0;
    eString code_descr;

    SigC::Signal1<void, int> transferDone;
    SigC::Signal1<eHTTPDataSource *, eHTTPConnection *> createDataSink;

private:
    friend class eHTTPDataSource;
    friend class boxhost::net::HttpTransfer;

    // Tells posted deliveries whether their connection still exists.
    struct LifeToken
    {
        eHTTPConnection *connection;
    };

    eHTTPConnection(eMainloop *loop, eString url);

    // Sinks made on this connection register and unregister here.
    void adoptSink(eHTTPDataSource *sink);
    void forgetSink(eHTTPDataSource *sink);

    // Called by the transfer (inside libcurl or a loop callback): they only
    // record what happened and post a delivery.
    void replyStatus(int statusCode, const std::string &reason);
    void bodyPiece(const char *data, std::size_t length);
    void finished(int result);

    void scheduleDelivery();
    static void deliver(const std::shared_ptr<LifeToken> &token);

    eMainloop *m_loop;
    eString m_url;
    std::shared_ptr<LifeToken> m_token;
    std::unique_ptr<boxhost::net::HttpTransfer> m_transfer;

    std::vector<std::unique_ptr<eHTTPDataSource>> m_sinks; // owned
    eHTTPDataSource *m_sink = nullptr; // the one receiving the body
    bool m_sinkAsked = false;

    std::deque<std::string> m_pendingPieces; // received, not yet delivered
    bool m_deliveryPosted = false;
    bool m_started = false;
    bool m_finished = false; // the transfer ended; m_result says how
    bool m_completed = false; // transferDone was emitted (or is being)
    int m_result = 0;
};

#endif

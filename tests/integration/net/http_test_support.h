#ifndef TARNWAVE_TESTS_INTEGRATION_NET_HTTP_TEST_SUPPORT_H
#define TARNWAVE_TESTS_INTEGRATION_NET_HTTP_TEST_SUPPORT_H

// Helpers of the HTTP client tests: an in-process server on an ephemeral
// loopback port (its own threads), a sink that records what it is given, and
// one request driven the way the plug-in drives it.

#include "base/ebase.h"
#include "net/ehttpconnection.h"
#include "net/ehttpdatasource.h"
#include "support/test_http_server.h"

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// A gate a server handler waits at until the test opens it (or a time passes),
// so that a stalled reply never holds the server's shutdown for long.
class Gate
{
public:
    void open()
    {
        std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    bool waitOpen(std::chrono::milliseconds limit)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, limit, [this] { return m_open; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
};

// What a sink was given.
struct ReceivedBody
{
    std::vector<std::string> pieces;
    int endMarkers = 0;
    bool pieceAfterEnd = false;

    std::string body() const
    {
        std::string whole;
        for (const std::string &piece : pieces)
            whole += piece;
        return whole;
    }
};

class RecordingSink : public eHTTPDataSource
{
public:
    RecordingSink(eHTTPConnection *c, ReceivedBody &received) : eHTTPDataSource(c), m_received(received) { }
    void haveData(void *data, int len) override
    {
        if (len == 0) {
            ++m_received.endMarkers;
            return;
        }
        if (m_received.endMarkers > 0)
            m_received.pieceAfterEnd = true;
        m_received.pieces.emplace_back(static_cast<const char *>(data), static_cast<std::size_t>(len));
    }

private:
    ReceivedBody &m_received;
};

// One request as the plug-in makes it: doRequest, the two signals, headers,
// start. Records what the connection reports. Destroying it while the
// transfer still runs aborts the transfer.
class Fetch : public SigC::Object
{
public:
    Fetch(eMainloop &loop, const std::string &url, const std::map<eString, eString> &headers = {}, bool withSink = true)
        : m_withSink(withSink)
    {
        connection = eHTTPConnection::doRequest(url.c_str(), &loop, &startError);
        if (connection == nullptr)
            return;
        CONNECT(connection->transferDone, Fetch::transferDone);
        CONNECT(connection->createDataSink, Fetch::createSink);
        for (const auto &[name, value] : headers)
            connection->local_header[name] = value;
        connection->start();
    }
    ~Fetch() override { delete connection; }
    Fetch(const Fetch &) = delete;
    Fetch &operator=(const Fetch &) = delete;

    bool done() const { return completions > 0; }

    eHTTPConnection *connection = nullptr;
    int startError = 0;
    int completions = 0;
    int result = 1;
    int code = 0;
    std::string reason;
    int sinksAsked = 0;
    int endMarkersAtCompletion = 0;
    ReceivedBody received;
    std::function<void(int)> onDone; // runs inside the completion slot

private:
    void transferDone(int error)
    {
        ++completions;
        result = error;
        code = connection->code;
        reason = connection->code_descr;
        endMarkersAtCompletion = received.endMarkers;
        connection = nullptr; // the host deletes it after this slot
        if (onDone)
            onDone(error);
    }
    eHTTPDataSource *createSink(eHTTPConnection *c)
    {
        ++sinksAsked;
        return m_withSink ? new RecordingSink(c, received) : nullptr;
    }

    bool m_withSink;
};

#endif

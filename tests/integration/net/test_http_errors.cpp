// The HTTP client's failures, each with its code: names that do not resolve,
// ports that refuse, replies that stall, break off or grow too large, and
// URLs that cannot be fetched at all. The main loop keeps running throughout.

#include "integration/net/http_test_support.h"
#include "support/loopback_listener.h"
#include "support/run_loop.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::chrono_literals;

namespace {

constexpr std::size_t mebibyte = 1024 * 1024;

// A chunked body of `total` bytes in 64 KiB pieces.
void serveChunked(httplib::Response &response, std::size_t total)
{
    response.set_chunked_content_provider("application/octet-stream", [total](std::size_t, httplib::DataSink &sink) {
        const std::string piece(64 * 1024, 'x');
        for (std::size_t sent = 0; sent < total; sent += piece.size())
            if (!sink.write(piece.data(), std::min(piece.size(), total - sent)))
                return false;
        sink.done();
        return true;
    });
}

class HttpErrors : public ::testing::Test
{
protected:
    void TearDown() override
    {
        gate.open();
        eHTTPConnection::setLimits(eHTTPConnection::Limits{});
    }

    eMainloop loop;
    Gate gate;
    TestHttpServer server{[this](httplib::Server &s) {
        s.Get("/stall-in-body", [this](const httplib::Request &, httplib::Response &response) {
            response.set_chunked_content_provider("text/xml", [this](std::size_t, httplib::DataSink &sink) {
                sink.write("<stationlist>", 13);
                gate.waitOpen(10s);
                return false;
            });
        });
        s.Get("/stall-before-reply", [this](const httplib::Request &, httplib::Response &response) {
            gate.waitOpen(10s);
            response.set_content("late", "text/plain");
        });
        s.Get("/17MiB-announced", [](const httplib::Request &, httplib::Response &response) {
            response.set_content(std::string(17 * mebibyte, 'x'), "application/octet-stream");
        });
        s.Get("/17MiB-chunked",
              [](const httplib::Request &, httplib::Response &response) { serveChunked(response, 17 * mebibyte); });
        s.Get("/1MiB", [](const httplib::Request &, httplib::Response &response) { serveChunked(response, mebibyte); });
        s.Get("/1MiB-and-a-byte",
              [](const httplib::Request &, httplib::Response &response) { serveChunked(response, mebibyte + 1); });
        s.Get("/cut-short", [](const httplib::Request &, httplib::Response &response) {
            response.set_content_provider(1000, "text/plain", [](std::size_t, std::size_t, httplib::DataSink &sink) {
                sink.write(std::string(500, 'y').data(), 500);
                return false;
            });
        });
    }};

    // The result of a request, from doRequest at once or from its completion.
    int resultOf(Fetch &fetch, std::chrono::milliseconds limit = 5s)
    {
        if (fetch.connection == nullptr && fetch.completions == 0)
            return fetch.startError;
        EXPECT_TRUE(runUntil(
            loop, [&] { return fetch.done(); }, limit));
        return fetch.result;
    }
};

TEST_F(HttpErrors, UnresolvableHostNameIsMinusTwo)
{
    Fetch fetch(loop, "http://tarnwave-no-such-host.invalid:8150/sbin/newxml.phtml");
    EXPECT_EQ(resultOf(fetch, 15s), eHTTPConnection::errorHostNotFound);
    EXPECT_EQ(fetch.code, 0);
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 0);
}

TEST_F(HttpErrors, ClosedPortIsMinusThree)
{
    const int port = closedLoopbackPort();
    ASSERT_GT(port, 0);
    Fetch fetch(loop, "http://127.0.0.1:" + std::to_string(port) + "/sbin/newxml.phtml");
    EXPECT_EQ(resultOf(fetch), eHTTPConnection::errorConnect);
    EXPECT_EQ(fetch.sinksAsked, 0);
}

TEST_F(HttpErrors, StallInTheBodyIsMinusFourWithinTheLimitWhileTheGuiTimerTicks)
{
    eHTTPConnection::Limits limits;
    limits.stallTimeoutMs = 1000;
    eHTTPConnection::setLimits(limits);

    eTimer guiTimer(&loop);
    int ticks = 0;
    guiTimer.timeout.connect([&] { ++ticks; });
    guiTimer.start(50);

    const auto started = std::chrono::steady_clock::now();
    Fetch fetch(loop, server.url("/stall-in-body"));
    EXPECT_EQ(resultOf(fetch, 5s), eHTTPConnection::errorBroken);
    const auto elapsed = std::chrono::steady_clock::now() - started;

    // The stall timeout is the behaviour: not before its second, not long after.
    EXPECT_GE(elapsed, 950ms);
    EXPECT_LE(elapsed, 4000ms);
    // About twenty ticks are due: a handful shows that the transfer did not
    // block the loop, which would let none or one through.
    EXPECT_GE(ticks, 5) << "the GUI timer must keep ticking during the transfer";
    EXPECT_EQ(fetch.code, 200);
    EXPECT_EQ(fetch.received.body(), "<stationlist>");
    EXPECT_EQ(fetch.received.endMarkers, 0) << "a broken body has no end";
}

TEST_F(HttpErrors, StallBeforeTheReplyIsMinusFour)
{
    eHTTPConnection::Limits limits;
    limits.stallTimeoutMs = 1000;
    eHTTPConnection::setLimits(limits);

    const auto started = std::chrono::steady_clock::now();
    Fetch fetch(loop, server.url("/stall-before-reply"));
    EXPECT_EQ(resultOf(fetch, 5s), eHTTPConnection::errorBroken);
    // Given up by the 1 s stall timeout, not by any later limit.
    EXPECT_LE(std::chrono::steady_clock::now() - started, 4000ms);
    EXPECT_EQ(fetch.code, 0);
    EXPECT_EQ(fetch.sinksAsked, 0);
}

TEST_F(HttpErrors, AnnouncedBodyOfSeventeenMebibytesIsMinusFive)
{
    Fetch fetch(loop, server.url("/17MiB-announced"));
    EXPECT_EQ(resultOf(fetch, 10s), eHTTPConnection::errorTooLarge);
    EXPECT_EQ(fetch.received.endMarkers, 0);
}

TEST_F(HttpErrors, ChunkedBodyOfSeventeenMebibytesIsMinusFive)
{
    Fetch fetch(loop, server.url("/17MiB-chunked"));
    EXPECT_EQ(resultOf(fetch, 15s), eHTTPConnection::errorTooLarge);
    EXPECT_LE(fetch.received.body().size(), 16 * mebibyte);
    EXPECT_EQ(fetch.received.endMarkers, 0);
}

TEST_F(HttpErrors, BodyOfExactlyTheLimitArrivesAndOneByteMoreDoesNot)
{
    eHTTPConnection::Limits limits;
    limits.maxBodyBytes = static_cast<long long>(mebibyte);
    eHTTPConnection::setLimits(limits);

    Fetch exact(loop, server.url("/1MiB"));
    EXPECT_EQ(resultOf(exact), 0);
    EXPECT_EQ(exact.received.body().size(), mebibyte);
    EXPECT_EQ(exact.received.endMarkers, 1);

    Fetch over(loop, server.url("/1MiB-and-a-byte"));
    EXPECT_EQ(resultOf(over), eHTTPConnection::errorTooLarge);
    EXPECT_EQ(over.received.endMarkers, 0);
}

TEST_F(HttpErrors, ReplyCutShortIsMinusFour)
{
    Fetch fetch(loop, server.url("/cut-short"));
    EXPECT_EQ(resultOf(fetch), eHTTPConnection::errorBroken);
    EXPECT_EQ(fetch.code, 200);
    EXPECT_EQ(fetch.received.endMarkers, 0);
}

TEST_F(HttpErrors, UrlsThatCannotBeFetchedFailAtOnceWithMinusOne)
{
    for (const char *url : {"", "not a url", "ftp://127.0.0.1/file", "file:///etc/passwd", "http://", "127.0.0.1/x",
                            "http://exa mple.com/"}) {
        int error = 0;
        EXPECT_EQ(eHTTPConnection::doRequest(url, &loop, &error), nullptr) << url;
        EXPECT_EQ(error, eHTTPConnection::errorOther) << url;
    }
    int error = 0;
    EXPECT_EQ(eHTTPConnection::doRequest(nullptr, &loop, &error), nullptr);
    EXPECT_EQ(error, eHTTPConnection::errorOther);
}

TEST_F(HttpErrors, DeletingARunningConnectionAbortsItWithoutASignal)
{
    Fetch fetch(loop, server.url("/stall-in-body"));
    ASSERT_NE(fetch.connection, nullptr);
    ASSERT_TRUE(runUntil(
        loop, [&] { return !fetch.received.pieces.empty(); }, 5s));
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 1);

    delete fetch.connection; // the owner aborts, as a window being closed does
    fetch.connection = nullptr;
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 0);
    runUntil(
        loop, [] { return false; }, 300ms);
    EXPECT_EQ(fetch.completions, 0);
    EXPECT_EQ(fetch.received.endMarkers, 0);
}

// Deletes its connection from inside its first haveData, while later pieces
// of the body still wait for delivery.
class SinkThatAbortsItsTransfer : public eHTTPDataSource
{
public:
    SinkThatAbortsItsTransfer(eHTTPConnection *c, int &pieces) : eHTTPDataSource(c), m_pieces(pieces) { }
    void haveData(void *, int len) override
    {
        if (len == 0)
            return;
        ++m_pieces;
        delete connection; // frees this sink too: nothing of it is touched afterwards
    }

private:
    int &m_pieces;
};

TEST_F(HttpErrors, ConnectionDeletedInsideItsSinkDeliversNothingMore)
{
    int error = 0;
    eHTTPConnection *connection = eHTTPConnection::doRequest(server.url("/1MiB").c_str(), &loop, &error);
    ASSERT_NE(connection, nullptr);
    int pieces = 0;
    int completions = 0;
    connection->createDataSink.connect(
        [&](eHTTPConnection *c) -> eHTTPDataSource * { return new SinkThatAbortsItsTransfer(c, pieces); });
    connection->transferDone.connect([&](int) { ++completions; });
    connection->start();

    ASSERT_TRUE(runUntil(
        loop, [&] { return pieces > 0; }, 5s));
    runUntil(
        loop, [] { return false; }, 300ms);
    EXPECT_EQ(pieces, 1);
    EXPECT_EQ(completions, 0);
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 0);
}

} // namespace

// The host's HTTP client against a real server on loopback: replies of every
// kind, headers, redirects, and the connection's life around its signals.

#include "integration/net/http_test_support.h"
#include "support/run_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

using namespace std::chrono_literals;

namespace {

// 256 numbered lines, about 200 KiB: more than libcurl takes in one piece.
std::string numberedBody()
{
    std::string body;
    for (int i = 0; i < 256; ++i) {
        std::string line = "piece " + std::to_string(i) + " ";
        line.resize(800, '.');
        body += line + "\n";
    }
    return body;
}

void serveCommonReplies(httplib::Server &server)
{
    server.Get("/pieces", [](const httplib::Request &, httplib::Response &response) {
        response.set_chunked_content_provider("text/plain", [](std::size_t, httplib::DataSink &sink) {
            const std::string body = numberedBody();
            for (std::size_t offset = 0; offset < body.size(); offset += 1000)
                if (!sink.write(body.data() + offset, std::min<std::size_t>(1000, body.size() - offset)))
                    return false;
            sink.done();
            return true;
        });
    });
    server.Get("/missing", [](const httplib::Request &, httplib::Response &response) {
        response.status = 404;
        response.set_content("no such list", "text/plain");
    });
    server.Get("/busy", [](const httplib::Request &, httplib::Response &response) {
        response.status = 503;
        response.set_content("<html>try later</html>", "text/html");
    });
    server.Get("/empty", [](const httplib::Request &, httplib::Response &response) {
        response.status = 200;
        response.set_content("", "text/xml");
    });
    server.Get("/echo-headers", [](const httplib::Request &request, httplib::Response &response) {
        response.set_content("agent=" + request.get_header_value("User-Agent")
                                 + ";extra=" + request.get_header_value("X-Tarnwave-Test"),
                             "text/plain");
    });
    server.Get(R"(/hop/(\d+))", [](const httplib::Request &request, httplib::Response &response) {
        const int left = std::stoi(request.matches[1]);
        if (left == 0)
            response.set_content("arrived", "text/plain");
        else
            response.set_redirect("/hop/" + std::to_string(left - 1));
    });
    server.Get("/hello", [](const httplib::Request &, httplib::Response &response) {
        response.set_content("hello", "text/plain");
    });
}

class HttpClient : public ::testing::Test
{
protected:
    eMainloop loop;
    TestHttpServer server{serveCommonReplies};

    void runToCompletion(Fetch &fetch)
    {
        ASSERT_TRUE(runUntil(
            loop, [&] { return fetch.done(); }, 5s));
    }
};

TEST_F(HttpClient, BodyInManyPiecesArrivesWholeAndInOrder)
{
    Fetch fetch(loop, server.url("/pieces"));
    ASSERT_NE(fetch.connection, nullptr);
    runToCompletion(fetch);

    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.code, 200);
    EXPECT_EQ(fetch.reason, "OK");
    EXPECT_EQ(fetch.sinksAsked, 1);
    EXPECT_GT(fetch.received.pieces.size(), 3u);
    EXPECT_EQ(fetch.received.body(), numberedBody());
    EXPECT_EQ(fetch.endMarkersAtCompletion, 1) << "the end of the body comes before the completion";
    EXPECT_EQ(fetch.received.endMarkers, 1);
    EXPECT_FALSE(fetch.received.pieceAfterEnd);
    EXPECT_EQ(fetch.completions, 1);
}

TEST_F(HttpClient, NotFoundIsAReplyWithItsReasonPhrase)
{
    Fetch fetch(loop, server.url("/missing"));
    runToCompletion(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.code, 404);
    EXPECT_EQ(fetch.reason, "Not Found");
    EXPECT_EQ(fetch.received.body(), "no such list");
}

TEST_F(HttpClient, ServiceUnavailableIsAReplyWithItsReasonPhrase)
{
    Fetch fetch(loop, server.url("/busy"));
    runToCompletion(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.code, 503);
    EXPECT_EQ(fetch.reason, "Service Unavailable");
    EXPECT_EQ(fetch.sinksAsked, 1) << "a body is handed on whatever the status";
}

TEST_F(HttpClient, UserAgentIsSentAsSet)
{
    Fetch fetch(loop, server.url("/echo-headers"),
                {{"User-Agent", "Tarnwave-Test/1.0 (box)"}, {"X-Tarnwave-Test", "yes"}});
    runToCompletion(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.received.body(), "agent=Tarnwave-Test/1.0 (box);extra=yes");
}

TEST_F(HttpClient, HeaderSetTwiceSendsTheLastValue)
{
    int error = 0;
    eHTTPConnection *connection = eHTTPConnection::doRequest(server.url("/echo-headers").c_str(), &loop, &error);
    ASSERT_NE(connection, nullptr);
    ReceivedBody received;
    bool done = false;
    connection->createDataSink.connect(
        [&](eHTTPConnection *c) -> eHTTPDataSource * { return new RecordingSink(c, received); });
    connection->transferDone.connect([&](int) { done = true; });
    connection->local_header["User-Agent"] = "first";
    connection->local_header["User-Agent"] = "second";
    connection->start();
    ASSERT_TRUE(runUntil(
        loop, [&] { return done; }, 5s));
    EXPECT_EQ(received.body(), "agent=second;extra=");
}

TEST_F(HttpClient, EmptyBodyAsksForNoSink)
{
    Fetch fetch(loop, server.url("/empty"));
    runToCompletion(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.code, 200);
    EXPECT_EQ(fetch.sinksAsked, 0);
    EXPECT_EQ(fetch.received.endMarkers, 0);
}

TEST_F(HttpClient, NoSinkMeansTheBodyIsDropped)
{
    Fetch fetch(loop, server.url("/pieces"), {}, /*withSink=*/false);
    runToCompletion(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.sinksAsked, 1) << "asked once, not for every piece";
    EXPECT_TRUE(fetch.received.pieces.empty());
}

TEST_F(HttpClient, FiveRedirectsAreFollowed)
{
    Fetch fetch(loop, server.url("/hop/5"));
    runToCompletion(fetch);
    EXPECT_EQ(fetch.result, 0);
    EXPECT_EQ(fetch.code, 200);
    EXPECT_EQ(fetch.reason, "OK");
    EXPECT_EQ(fetch.received.body(), "arrived");
}

TEST_F(HttpClient, SixthRedirectIsAnError)
{
    Fetch fetch(loop, server.url("/hop/6"));
    runToCompletion(fetch);
    EXPECT_EQ(fetch.result, eHTTPConnection::errorOther);
    EXPECT_EQ(fetch.sinksAsked, 0);
}

TEST_F(HttpClient, CompletionComesFromTheLoopNeverFromStart)
{
    Fetch fetch(loop, server.url("/hello"));
    ASSERT_NE(fetch.connection, nullptr);
    EXPECT_EQ(fetch.completions, 0);
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 1);
    runToCompletion(fetch);
    EXPECT_EQ(fetch.completions, 1);
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 0);
    // Nothing more arrives later.
    runUntil(
        loop, [] { return false; }, 200ms);
    EXPECT_EQ(fetch.completions, 1);
}

TEST_F(HttpClient, CompletionSlotMayStartTheNextRequest)
{
    Fetch first(loop, server.url("/hello"));
    std::unique_ptr<Fetch> second;
    first.onDone = [&](int) { second = std::make_unique<Fetch>(loop, server.url("/missing")); };
    ASSERT_TRUE(runUntil(
        loop, [&] { return second && second->done(); }, 5s));
    EXPECT_EQ(first.result, 0);
    EXPECT_EQ(first.received.body(), "hello");
    EXPECT_EQ(second->result, 0);
    EXPECT_EQ(second->code, 404);
}

TEST_F(HttpClient, SeveralTransfersRunSideBySide)
{
    std::vector<std::unique_ptr<Fetch>> fetches;
    for (int i = 0; i < 6; ++i)
        fetches.push_back(std::make_unique<Fetch>(loop, server.url(i % 2 == 0 ? "/pieces" : "/hello")));
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 6);
    ASSERT_TRUE(runUntil(
        loop, [&] { return std::all_of(fetches.begin(), fetches.end(), [](const auto &f) { return f->done(); }); },
        10s));
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(fetches[static_cast<std::size_t>(i)]->result, 0);
        EXPECT_EQ(fetches[static_cast<std::size_t>(i)]->received.body(), i % 2 == 0 ? numberedBody() : "hello");
    }
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 0);
}

TEST_F(HttpClient, UnstartedConnectionIsSimplyDeleted)
{
    int error = 0;
    eHTTPConnection *connection = eHTTPConnection::doRequest(server.url("/hello").c_str(), &loop, &error);
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(eHTTPConnection::activeTransfers(), 0);
    delete connection;
}

} // namespace

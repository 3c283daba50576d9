// One GET of an upstream directory, against a server of the test's own on
// 127.0.0.1: the body, the User-Agent, redirects, and a clear line for each
// way it can fail.

#include "upstream_fetch.h"

#include "support/loopback_listener.h"
#include "support/test_http_server.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;

class UpstreamFetch : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { station::curlGlobalInit(); }

    std::atomic<bool> userAgentSeen{false};
    std::string userAgent;
    TestHttpServer server{[this](httplib::Server &routes) {
        routes.Get("/json/tags", [this](const httplib::Request &request, httplib::Response &response) {
            userAgent = request.get_header_value("User-Agent");
            userAgentSeen = true;
            response.set_content(R"([{"name":"jazz","stationcount":12}])", "application/json");
        });
        routes.Get("/moved",
                   [](const httplib::Request &, httplib::Response &response) { response.set_redirect("/json/tags"); });
        routes.Get("/busy", [](const httplib::Request &, httplib::Response &response) {
            response.status = 503;
            response.set_content("try later", "text/plain");
        });
        routes.Get("/huge", [](const httplib::Request &, httplib::Response &response) {
            response.set_content(std::string(300 * 1024, 'x'), "application/json");
        });
        routes.Get("/slow", [](const httplib::Request &, httplib::Response &response) {
            std::this_thread::sleep_for(1500ms);
            response.set_content("[]", "application/json");
        });
    }};
};

TEST_F(UpstreamFetch, GivesTheBodyAndNamesTarnwaveAsTheUserAgent)
{
    const station::FetchResult result = station::fetchUrl(server.url("/json/tags"));
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.status, 200);
    EXPECT_EQ(result.body, R"([{"name":"jazz","stationcount":12}])");
    ASSERT_TRUE(userAgentSeen);
    EXPECT_EQ(userAgent, station::gatewayUserAgent());
    EXPECT_EQ(userAgent.rfind("Tarnwave/", 0), 0u);
}

TEST_F(UpstreamFetch, FollowsARedirect)
{
    const station::FetchResult result = station::fetchUrl(server.url("/moved"));
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.body, R"([{"name":"jazz","stationcount":12}])");
}

TEST_F(UpstreamFetch, AnErrorStatusIsAFailureThatNamesIt)
{
    const station::FetchResult result = station::fetchUrl(server.url("/busy"));
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.status, 503);
    EXPECT_EQ(result.error, "HTTP 503 from " + server.url("/busy"));
}

TEST_F(UpstreamFetch, AFailureNamesTheAddressWithoutItsQuery)
{
    const station::FetchResult result = station::fetchUrl(server.url("/busy?k=secret-key&search=a%20long%20text"));
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, "HTTP 503 from " + server.url("/busy"));
}

TEST_F(UpstreamFetch, ABodyOverTheLimitIsRefused)
{
    station::FetchLimits limits;
    limits.largestBody = 256 * 1024;
    const station::FetchResult result = station::fetchUrl(server.url("/huge"), limits);
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.body.empty());
    EXPECT_NE(result.error.find("the reply is larger than 256 KiB: " + server.url("/huge")), std::string::npos)
        << result.error;
}

TEST_F(UpstreamFetch, ASlowUpstreamTimesOut)
{
    station::FetchLimits limits;
    limits.whole = 300ms;
    const station::FetchResult result = station::fetchUrl(server.url("/slow"), limits);
    EXPECT_FALSE(result.ok);
    EXPECT_NE(result.error.find("no whole reply within 1 s"), std::string::npos) << result.error;
}

TEST_F(UpstreamFetch, AServerThatIsDownIsAFailureThatSaysWhere)
{
    const int port = closedLoopbackPort();
    ASSERT_NE(port, 0);
    const std::string url = "http://127.0.0.1:" + std::to_string(port) + "/json/tags";
    const station::FetchResult result = station::fetchUrl(url);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.error.find(url), std::string::npos) << result.error;
}

TEST_F(UpstreamFetch, OnlyHttpAndHttpsAreFetched)
{
    const station::FetchResult result = station::fetchUrl("file:///etc/passwd");
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.body.empty());
}

} // namespace

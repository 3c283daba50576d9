// The gateways in time, taken directly with short limits and a clock of the
// test's own: an upstream that answers slowly, within and beyond the limits,
// and kept copies that grow old while the upstream is broken.

#include "fake_radio_directory.h"
#include "fake_shoutcast_directory.h"

#include "radio_browser_gateway.h"
#include "shoutcast_gateway.h"
#include "upstream_fetch.h"
#include "upstream_servers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;

std::vector<FakeStation> someStations()
{
    return {
        {"aaaa-0001", "Jazz Night", "jazz,blues", "MP3", 128, true, false, 50, "", "http://radio.example/jazz"},
        {"bbbb-0002", "Rock Hour", "rock", "MP3", 192, true, false, 80, "", "http://radio.example/rock"},
    };
}

httplib::Request directoryRequest(const httplib::Params &params)
{
    httplib::Request request;
    request.method = "GET";
    request.path = "/sbin/newxml.phtml";
    request.params = params;
    return request;
}

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

// A clock that moves only when the test says.
struct TestClock
{
    station::ReplyCache::Clock::time_point now = station::ReplyCache::Clock::now();
    std::function<station::ReplyCache::Clock::time_point()> reader()
    {
        return [this] { return now; };
    }
};

class GatewayTiming : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { station::curlGlobalInit(); }

    // A gateway to `directories`' mirrors, in an order of the test's seed.
    station::RadioBrowserGateway &gatewayTo(const std::vector<const FakeRadioDirectory *> &directories,
                                            station::GatewaySettings settings = {})
    {
        std::vector<std::string> servers;
        for (const FakeRadioDirectory *directory : directories)
            servers.push_back(directory->baseUrl());
        std::mt19937 random(7);
        mirrors_ = std::make_unique<station::ServerRotation>(servers, random);
        gateway_ = std::make_unique<station::RadioBrowserGateway>(*mirrors_, std::move(settings));
        return *gateway_;
    }

    // Settings whose kept copies age by `clock`.
    station::GatewaySettings onTheTestClock()
    {
        station::GatewaySettings settings;
        settings.now = clock.reader();
        return settings;
    }

    TestClock clock;

private:
    std::unique_ptr<station::ServerRotation> mirrors_;
    std::unique_ptr<station::RadioBrowserGateway> gateway_;
};

TEST_F(GatewayTiming, AnUpstreamThatIsSlowButWithinTheLimitsIsWaitedFor)
{
    FakeRadioDirectory directory(someStations());
    directory.answerSlowly(500ms);
    const station::Reply reply = gatewayTo({&directory}).directoryReply(directoryRequest({{"search", "jazz"}}));
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_TRUE(contains(reply.body, "Jazz Night")) << reply.body;
}

TEST_F(GatewayTiming, AnUpstreamSlowerThanTheLimitIs502SayingSo)
{
    FakeRadioDirectory directory(someStations());
    directory.answerSlowly(10s);
    station::GatewaySettings settings;
    settings.fetch.whole = 400ms;
    const station::Reply reply = gatewayTo({&directory}, settings).directoryReply(directoryRequest({}));
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_TRUE(contains(reply.body, "no whole reply within 1 s")) << reply.body;
}

TEST_F(GatewayTiming, OneReplysTimeIsSharedByEveryMirror)
{
    // Each mirror alone may take 1 s; the reply as a whole 1.5 s. So the
    // second mirror asked gets what is left, and the third is not asked.
    std::vector<std::unique_ptr<FakeRadioDirectory>> slow;
    for (int i = 0; i < 3; ++i) {
        slow.push_back(std::make_unique<FakeRadioDirectory>(someStations()));
        slow.back()->answerSlowly(10s);
    }
    station::GatewaySettings settings;
    settings.fetch.whole = 1000ms;
    settings.perReply = 1500ms;
    const station::Reply reply =
        gatewayTo({slow[0].get(), slow[1].get(), slow[2].get()}, settings).directoryReply(directoryRequest({}));
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_TRUE(contains(reply.body, "not asked, for the whole reply must come within 2 s")) << reply.body;
    int asked = 0;
    for (const auto &directory : slow)
        asked += directory->requests("/json/tags");
    EXPECT_EQ(asked, 2);
}

TEST_F(GatewayTiming, AnOldCopyIsServedWhenTheUpstreamBreaksAfterItExpired)
{
    FakeRadioDirectory directory(someStations());
    station::RadioBrowserGateway &gateway = gatewayTo({&directory}, onTheTestClock());
    const station::Reply first = gateway.directoryReply(directoryRequest({{"search", "jazz"}}));
    ASSERT_EQ(first.status, 200) << first.body;
    const int asked = directory.requests("/json/stations/search");

    clock.now += 601s;
    directory.answerBroken("<html>maintenance</html>");
    const station::Reply stale = gateway.directoryReply(directoryRequest({{"search", "jazz"}}));
    EXPECT_EQ(stale.status, 200) << stale.body;
    EXPECT_EQ(stale.body, first.body);
    EXPECT_GT(directory.requests("/json/stations/search"), asked); // expired, so the upstream was asked
}

TEST_F(GatewayTiming, ListsAreKeptTenMinutesAndTheGenreListAnHour)
{
    FakeRadioDirectory directory(someStations());
    station::RadioBrowserGateway &gateway = gatewayTo({&directory}, onTheTestClock());
    const auto askBoth = [&] {
        EXPECT_EQ(gateway.directoryReply(directoryRequest({})).status, 200);
        EXPECT_EQ(gateway.directoryReply(directoryRequest({{"genre", "Top"}})).status, 200);
    };
    askBoth();
    clock.now += 599s;
    askBoth();
    EXPECT_EQ(directory.requests("/json/tags"), 1);
    EXPECT_EQ(directory.requests("/json/stations/search"), 1);
    clock.now += 2s;
    askBoth();
    EXPECT_EQ(directory.requests("/json/tags"), 1);
    EXPECT_EQ(directory.requests("/json/stations/search"), 2);
    clock.now += 3000s;
    askBoth();
    EXPECT_EQ(directory.requests("/json/tags"), 2);
}

TEST_F(GatewayTiming, AnOldShoutcastCopyIsServedWhenTheDirectoryBreaksAfterItExpired)
{
    FakeShoutcastDirectory directory("key7", {{"1001", "Jazz Night", "audio/mpeg", 128, "Jazz", 50, "http://x/1"}});
    station::ShoutcastGateway gateway({"key7", directory.baseUrl(), directory.baseUrl()}, onTheTestClock());
    const station::Reply first = gateway.directoryReply(directoryRequest({{"genre", "Top"}}));
    ASSERT_EQ(first.status, 200) << first.body;

    clock.now += 601s;
    directory.answerBroken("<stationlist");
    const station::Reply stale = gateway.directoryReply(directoryRequest({{"genre", "Top"}}));
    EXPECT_EQ(stale.status, 200) << stale.body;
    EXPECT_EQ(stale.body, first.body);
    EXPECT_EQ(directory.requestsFor("/legacy/Top500"), 2);
}

} // namespace

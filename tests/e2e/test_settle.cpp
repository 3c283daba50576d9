// POST /api/settle waits while an HTTP transfer of the plug-in runs, and says
// so when it gives up first.

#include "emulator_process.h"
#include "widget_json.h"

#include "support/station_server_process.h"
#include "support/test_http_server.h"

#include <httplib.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// A directory that answers every request after a pause.
class SlowDirectory
{
public:
    explicit SlowDirectory(std::chrono::milliseconds pause)
        : m_server([pause](httplib::Server &server) {
              server.Get(".*", [pause](const httplib::Request &, httplib::Response &response) {
                  std::this_thread::sleep_for(pause);
                  response.set_content("<stationlist></stationlist>", "text/xml");
              });
          })
    {
    }

    std::string url() const { return m_server.url(""); }

private:
    TestHttpServer m_server;
};

long long waitedMs(Clock::time_point since)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count();
}

TEST(EmulatorSettle, WaitsUntilARunningTransferHasEnded)
{
    SlowDirectory directory(1200ms);
    EmulatorProcess emulator({"--plugin", testPluginPath(), "--no-autostart", "--directory", directory.url()});
    ASSERT_EQ(emulator.post("/api/plugin/start").status, 200);
    // The record key makes the test plug-in ask the directory.
    ASSERT_EQ(emulator.post("/api/key/record").status, 200);
    ASSERT_TRUE(showsText(emulator.get("/api/widgets").body, "transfer: running"));

    const auto started = Clock::now();
    const HttpReply settled = emulator.post("/api/settle?ms=10000");
    ASSERT_EQ(settled.status, 200);
    EXPECT_NE(settled.body.find(R"("settled":true,"reason":"idle")"), std::string::npos) << settled.body;
    EXPECT_GE(waitedMs(started), 800);
    EXPECT_LT(waitedMs(started), 8000);
    // Settled means the outcome is on screen already.
    const std::string widgets = emulator.get("/api/widgets").body;
    EXPECT_TRUE(showsText(widgets, "transfer: done 200, 27 bytes")) << widgets;
}

TEST(EmulatorSettle, GivesUpAfterTheTimeWhileATransferStalls)
{
    StationServerProcess stations({"--fault", "/sbin/newxml.phtml=stall"});
    EmulatorProcess emulator({"--plugin", testPluginPath(), "--no-autostart", "--directory", stations.baseUrl()});
    ASSERT_EQ(emulator.post("/api/plugin/start").status, 200);
    ASSERT_EQ(emulator.post("/api/key/record").status, 200);

    const auto started = Clock::now();
    const HttpReply waited = emulator.post("/api/settle?ms=400");
    ASSERT_EQ(waited.status, 200);
    EXPECT_NE(waited.body.find(R"("settled":false,"reason":"timeout")"), std::string::npos) << waited.body;
    EXPECT_NE(waited.body.find(R"("activeTransfers":1)"), std::string::npos) << waited.body;
    EXPECT_GE(waitedMs(started), 400);
    EXPECT_LT(waitedMs(started), 3000);
    EXPECT_TRUE(showsText(emulator.get("/api/widgets").body, "transfer: running"));

    // The menu key makes the plug-in abort it: then the box settles at once.
    ASSERT_EQ(emulator.post("/api/key/menu").status, 200);
    const HttpReply settled = emulator.post("/api/settle?ms=5000");
    EXPECT_NE(settled.body.find(R"("settled":true)"), std::string::npos) << settled.body;
    EXPECT_NE(settled.body.find(R"("activeTransfers":0)"), std::string::npos) << settled.body;
    EXPECT_TRUE(showsText(emulator.get("/api/widgets").body, "transfer: aborted"));
}

TEST(EmulatorSettle, AnIdleBoxSettlesAtOnce)
{
    EmulatorProcess emulator({"--plugin", testPluginPath(), "--no-autostart", "--directory", unusedDirectory});
    const auto started = Clock::now();
    const HttpReply settled = emulator.post("/api/settle?ms=5000");
    EXPECT_NE(settled.body.find(R"("settled":true)"), std::string::npos) << settled.body;
    EXPECT_LT(waitedMs(started), 2000);
    EXPECT_EQ(emulator.post("/api/settle?ms=soon").status, 400);
}

} // namespace

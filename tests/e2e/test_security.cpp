// The page and the control API answer the user's own requests only: another
// web page in the same browser can neither press keys (a POST with a foreign
// Origin) nor read the screen through a DNS name rebound to 127.0.0.1 (a
// foreign Host). Bodies over 64 KiB are refused, and listening where others
// can reach the box says so.

#include "emulator_process.h"
#include "widget_json.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class Security : public ::testing::Test
{
protected:
    EmulatorProcess emulator{{"--plugin", testPluginPath(), "--no-autostart", "--directory", unusedDirectory}};

    void SetUp() override { ASSERT_EQ(emulator.post("/api/plugin/start").status, 200); }

    // The test plug-in names the last key it got.
    std::string lastKeyShown() const
    {
        const std::string widgets = emulator.get("/api/widgets").body;
        for (const char *key : {"none", "green", "red"})
            if (showsText(widgets, std::string("key: ") + key))
                return key;
        return "?";
    }

    std::string ownHost() const { return "127.0.0.1:" + std::to_string(emulator.port()); }

    // A request with exactly these Host and (when not empty) Origin headers.
    HttpReply send(const std::string &method, const std::string &path, const std::string &host,
                   const std::string &origin = "", const std::string &body = "") const
    {
        EmulatorProcess::Headers headers = {{"Host", host}};
        if (!origin.empty())
            headers.emplace_back("Origin", origin);
        return emulator.send(method, path, headers, body);
    }
};

TEST_F(Security, AKeyFromAnotherPageIsRefusedAndNotPressed)
{
    const HttpReply refused = send("POST", "/api/key/green", ownHost(), "http://attacker.example");
    EXPECT_EQ(refused.status, 403);
    EXPECT_NE(refused.body.find("another page"), std::string::npos) << refused.body;
    EXPECT_EQ(send("POST", "/api/key/green", ownHost(), "null").status, 403);
    EXPECT_EQ(send("POST", "/api/key/green", ownHost(), "http://127.0.0.1:1").status, 403) << "another port";
    EXPECT_EQ(lastKeyShown(), "none") << "no key reached the box";
}

TEST_F(Security, TheOwnPageAndClientsWithoutAnOriginAreServed)
{
    EXPECT_EQ(send("POST", "/api/key/green", ownHost(), "http://" + ownHost()).status, 200);
    EXPECT_EQ(lastKeyShown(), "green");
    EXPECT_EQ(send("POST", "/api/key/red", ownHost()).status, 200);
    EXPECT_EQ(lastKeyShown(), "red");
    EXPECT_EQ(send("GET", "/api/widgets", "localhost:" + std::to_string(emulator.port())).status, 200);
    EXPECT_EQ(send("GET", "/", ownHost()).status, 200);
}

TEST_F(Security, ARequestToAnotherNameIsRefused)
{
    const std::string port = std::to_string(emulator.port());
    const std::vector<std::string> foreignHosts = {"rebound.example:" + port,
                                                   "rebound.example",
                                                   "127.0.0.2:" + port,
                                                   "127.0.0.1:" + std::to_string(emulator.port() + 1),
                                                   "",
                                                   "[::1]:" + port};
    for (const std::string &host : foreignHosts) {
        EXPECT_EQ(send("GET", "/api/screen.png", host).status, 403) << "Host: " << host;
        EXPECT_EQ(send("GET", "/api/log", host).status, 403) << "Host: " << host;
    }
}

TEST_F(Security, ABodyOver64KiBIsRefused)
{
    EXPECT_EQ(send("POST", "/api/text", ownHost(), "", std::string(64 * 1024 + 1, 'a')).status, 413);
    EXPECT_EQ(send("POST", "/api/text", ownHost(), "", "abc").status, 200);
}

TEST(SecurityWarning, ListeningOnANonLoopbackAddressWarns)
{
    EmulatorProcess everywhere({"--plugin", testPluginPath(), "--directory", unusedDirectory, "--listen", "0.0.0.0:0"});
    EXPECT_NE(everywhere.errors().find("is not a loopback address: anyone who can reach it"), std::string::npos)
        << everywhere.errors();
    // Addresses written as digits cannot be rebound, so they are served there.
    EXPECT_EQ(everywhere.get("/api/widgets").status, 200);

    EmulatorProcess loopback({"--plugin", testPluginPath(), "--directory", unusedDirectory});
    EXPECT_EQ(loopback.errors().find("not a loopback address"), std::string::npos) << loopback.errors();
}

} // namespace

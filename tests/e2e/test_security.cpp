// The page and the control API answer the user's own requests only: another
// web page in the same browser can neither press keys (a POST with a foreign
// Origin) nor read the screen through a DNS name rebound to 127.0.0.1 (a
// foreign Host). Bodies over 64 KiB are refused, a POST without any body
// (curl -X POST) is served at once, and listening where others can reach the
// box says so.

#include "emulator_process.h"
#include "widget_json.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <regex>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

// Well below the 5 s after which the HTTP library gives up reading a body
// that never comes: a reply by then was not held up waiting for one.
constexpr auto promptly = 3s;

struct RawReply
{
    int status = -1; // -1: no whole reply within the limit
    std::string body;
};

// One connection on a plain socket, for requests exactly as written: the
// emulator's HTTP client would add a Content-Length to every POST.
class RawConnection
{
public:
    explicit RawConnection(int port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (m_socket < 0 || ::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
            ::close(m_socket);
            throw std::runtime_error("cannot connect to port " + std::to_string(port));
        }
    }
    ~RawConnection() { ::close(m_socket); }
    RawConnection(const RawConnection &) = delete;
    RawConnection &operator=(const RawConnection &) = delete;

    void send(const std::string &bytes) const
    {
        if (::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("cannot send the request");
    }

    // The next reply on this connection (its body as long as its
    // Content-Length says), as far as it came within `limit`.
    RawReply receive(std::chrono::milliseconds limit)
    {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        while (std::chrono::steady_clock::now() < deadline) {
            if (auto reply = takeReply())
                return *reply;
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            pollfd watched{m_socket, POLLIN, 0};
            char chunk[4096];
            if (::poll(&watched, 1, static_cast<int>(std::max<long long>(left.count(), 1))) <= 0)
                continue;
            const ssize_t got = ::recv(m_socket, chunk, sizeof chunk, 0);
            if (got <= 0)
                break;
            m_received.append(chunk, static_cast<std::size_t>(got));
        }
        return takeReply().value_or(RawReply{});
    }

private:
    std::optional<RawReply> takeReply()
    {
        const std::size_t headEnd = m_received.find("\r\n\r\n");
        if (headEnd == std::string::npos)
            return std::nullopt;
        const std::string head = m_received.substr(0, headEnd);
        std::smatch length;
        const std::size_t bodyLength =
            std::regex_search(head, length, std::regex("\r\nContent-Length: (\\d+)")) ? std::stoul(length[1]) : 0;
        if (m_received.size() < headEnd + 4 + bodyLength)
            return std::nullopt;
        RawReply reply{std::stoi(head.substr(head.find(' ') + 1, 3)), m_received.substr(headEnd + 4, bodyLength)};
        m_received.erase(0, headEnd + 4 + bodyLength);
        return reply;
    }

    int m_socket;
    std::string m_received;
};

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

TEST_F(Security, APostWithoutAnyBodyIsServedAtOnce)
{
    // As curl -X POST sends it: no body, no Content-Length.
    for (const std::string path : {"/api/key/green", "/api/settle?ms=0"}) {
        RawConnection connection(emulator.port());
        connection.send("POST " + path + " HTTP/1.1\r\nHost: " + ownHost() + "\r\n\r\n");
        const RawReply bodiless = connection.receive(promptly);
        const HttpReply empty = emulator.post(path, "");
        EXPECT_EQ(bodiless.status, 200) << path;
        // Only the time the box took to settle may differ.
        const std::regex waited("\"waitedMs\":\\d+");
        EXPECT_EQ(std::regex_replace(bodiless.body, waited, ""), std::regex_replace(empty.body, waited, "")) << path;
    }
    EXPECT_EQ(lastKeyShown(), "green");
}

TEST_F(Security, AConnectionGoesOnAfterAPostWithoutAnyBody)
{
    RawConnection connection(emulator.port());
    connection.send("POST /api/key/red HTTP/1.1\r\nHost: " + ownHost() + "\r\n\r\n");
    EXPECT_EQ(connection.receive(promptly).status, 200);
    connection.send("GET /api/widgets HTTP/1.1\r\nHost: " + ownHost() + "\r\n\r\n");
    const RawReply widgets = connection.receive(promptly);
    EXPECT_EQ(widgets.status, 200);
    EXPECT_TRUE(showsText(widgets.body, "key: red")) << widgets.body;
}

TEST_F(Security, AChunkedBodyIsStillRead)
{
    RawConnection connection(emulator.port());
    connection.send("POST /api/text HTTP/1.1\r\nHost: " + ownHost()
                    + "\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n");
    const RawReply typed = connection.receive(promptly);
    EXPECT_EQ(typed.status, 200);
    EXPECT_NE(typed.body.find(R"("characters":3)"), std::string::npos) << typed.body;
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

#ifndef TARNWAVE_TESTS_INTEGRATION_MEDIA_ICY_STATUS_SERVER_H
#define TARNWAVE_TESTS_INTEGRATION_MEDIA_ICY_STATUS_SERVER_H

// A station as old SHOUTcast servers run it, on a raw loopback socket: every
// request is answered with the status line "ICY 200 OK" in place of HTTP's,
// the icy- headers, and the endless stream of IcyStream, paced the same way
// as StreamTestServer's /radio. An HTTP library would not write that status
// line, hence the plain socket. It can also break the first listener's
// connection the hard way, with a reset, as a station whose server crashed.

#include "icy_stream.h"
#include "mp3_tone.h"

#include "support/loopback_listener.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

class IcyStatusServer
{
public:
    // `resetFirstListenerAfterAudio`: the first listener's connection is reset
    // after that many audio bytes; 0: it is not.
    explicit IcyStatusServer(std::string title, std::size_t resetFirstListenerAfterAudio = 0)
        : m_title(std::move(title)), m_tone(encodeToneMp3(1.0)), m_resetAfterAudio(resetFirstListenerAfterAudio)
    {
        if (!m_listener.listening())
            throw std::runtime_error("cannot open the ICY test server's socket");
        m_acceptor = std::thread([this] { acceptListeners(); });
    }

    ~IcyStatusServer()
    {
        m_stopping = true;
        m_acceptor.join();
        for (std::thread &listener : m_listeners)
            listener.join();
    }

    IcyStatusServer(const IcyStatusServer &) = delete;
    IcyStatusServer &operator=(const IcyStatusServer &) = delete;

    std::string url(const std::string &path) const
    {
        return "http://127.0.0.1:" + std::to_string(m_listener.port()) + path;
    }
    // How many requests arrived; how many of them asked for ICY metadata, and
    // how many to resume from a position (with a Range header, which an old
    // server ignores).
    int requests() const { return m_requests; }
    int metadataRequests() const { return m_metadataRequests; }
    int resumeRequests() const { return m_resumeRequests; }

private:
    static constexpr int pollMilliseconds = 20;

    void acceptListeners()
    {
        while (!m_stopping) {
            pollfd ready = {m_listener.fd(), POLLIN, 0};
            if (poll(&ready, 1, pollMilliseconds) <= 0)
                continue;
            const int connection = accept(m_listener.fd(), nullptr, nullptr);
            if (connection >= 0)
                m_listeners.emplace_back([this, connection] {
                    serve(connection);
                    close(connection);
                });
        }
    }

    void serve(int connection)
    {
        const std::string request = readRequest(connection);
        if (request.empty())
            return;
        const bool resets = ++m_requests == 1 && m_resetAfterAudio > 0;
        const std::string head = lowerCase(request);
        if (head.find("\r\nrange:") != std::string::npos)
            ++m_resumeRequests;
        const bool withMetadata = head.find("\r\nicy-metadata: 1\r\n") != std::string::npos
                                  || head.find("\r\nicy-metadata:1\r\n") != std::string::npos;
        std::string header = "ICY 200 OK\r\nicy-name: Old Style Radio\r\ncontent-type: audio/mpeg\r\n";
        if (withMetadata) {
            ++m_metadataRequests;
            header += "icy-metaint:" + std::to_string(IcyStream::metaInterval) + "\r\n";
        }
        if (!sendAll(connection, header + "\r\n"))
            return;
        IcyStream stream(m_tone, withMetadata);
        const auto started = std::chrono::steady_clock::now();
        while (!m_stopping) {
            if (resets && stream.audioSent() >= m_resetAfterAudio) {
                const linger abort = {1, 0}; // closing now sends a reset
                setsockopt(connection, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
                return;
            }
            if (stream.aheadOfPace(std::chrono::steady_clock::now() - started))
                std::this_thread::sleep_for(std::chrono::milliseconds(pollMilliseconds));
            else if (!sendAll(connection, stream.next(2048, m_title)))
                return;
        }
    }

    // The request's head, up to the blank line; empty when it does not come.
    std::string readRequest(int connection) const
    {
        std::string request;
        char buffer[1024];
        while (!m_stopping && request.find("\r\n\r\n") == std::string::npos && request.size() < 16384) {
            pollfd ready = {connection, POLLIN, 0};
            if (poll(&ready, 1, pollMilliseconds) <= 0)
                continue;
            const ssize_t received = recv(connection, buffer, sizeof buffer, 0);
            if (received <= 0)
                return {};
            request.append(buffer, static_cast<std::size_t>(received));
        }
        return request.find("\r\n\r\n") == std::string::npos ? std::string() : request;
    }

    static std::string lowerCase(std::string text)
    {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return text;
    }

    // False when the listener went away or the server stops.
    bool sendAll(int connection, const std::string &data) const
    {
        std::size_t sent = 0;
        while (sent < data.size()) {
            if (m_stopping)
                return false;
            pollfd ready = {connection, POLLOUT, 0};
            if (poll(&ready, 1, pollMilliseconds) <= 0)
                continue;
            const ssize_t written = send(connection, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
            if (written <= 0)
                return false;
            sent += static_cast<std::size_t>(written);
        }
        return true;
    }

    const std::string m_title;
    const std::string m_tone;
    const std::size_t m_resetAfterAudio;
    LoopbackListener m_listener{8};
    std::thread m_acceptor;
    std::vector<std::thread> m_listeners; // touched by the acceptor only, until it is joined
    std::atomic<bool> m_stopping{false};
    std::atomic<int> m_requests{0};
    std::atomic<int> m_metadataRequests{0};
    std::atomic<int> m_resumeRequests{0};
};

#endif

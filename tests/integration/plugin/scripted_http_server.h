#ifndef TARNWAVE_TESTS_INTEGRATION_PLUGIN_SCRIPTED_HTTP_SERVER_H
#define TARNWAVE_TESTS_INTEGRATION_PLUGIN_SCRIPTED_HTTP_SERVER_H

// A small HTTP server on an ephemeral loopback port, for tests that need exact
// control of a reply: it records each request as it arrived (request line and
// headers, byte for byte) and answers with a scripted reply whose body goes
// out in the given pieces, with a pause after each, so that the client
// receives them one by one. Each connection is answered on a thread of its
// own, so that replies can overlap: a reply with a gate sends its head and its
// first `heldAfter` body bytes, then waits until the test opens the gate.

#include "support/loopback_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

struct ScriptedRequest
{
    std::string target; // as it stood in the request line
    std::map<std::string, std::string> headers; // names as sent
};

struct ScriptedReply
{
    int status = 200;
    std::string reason = "OK";
    std::vector<std::string> bodyPieces;
    std::chrono::milliseconds pauseAfterPiece{0};
    std::string gate; // empty: the reply is not held
    std::size_t heldAfter = 0; // body bytes sent before the gate
};

class ScriptedHttpServer
{
public:
    explicit ScriptedHttpServer(std::function<ScriptedReply(const ScriptedRequest &)> script)
        : m_script(std::move(script))
    {
        if (!m_listener.listening())
            throw std::runtime_error("the scripted server cannot listen");
        m_thread = std::thread([this] { serve(); });
    }
    ~ScriptedHttpServer()
    {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_gateOpened.notify_all();
        m_thread.join();
        for (std::thread &answering : m_answering)
            answering.join();
    }
    ScriptedHttpServer(const ScriptedHttpServer &) = delete;
    ScriptedHttpServer &operator=(const ScriptedHttpServer &) = delete;

    std::string url(const std::string &path) const
    {
        return "http://127.0.0.1:" + std::to_string(m_listener.port()) + path;
    }

    std::vector<ScriptedRequest> received()
    {
        std::lock_guard lock(m_mutex);
        return m_received;
    }

    // Lets the replies held at `gate` go on, those waiting and those to come.
    void open(const std::string &gate)
    {
        {
            std::lock_guard lock(m_mutex);
            m_openGates.insert(gate);
        }
        m_gateOpened.notify_all();
    }

    // How many replies wait at `gate` now.
    int waitingAt(const std::string &gate)
    {
        std::lock_guard lock(m_mutex);
        return m_waiting.count(gate) ? m_waiting[gate] : 0;
    }

private:
    void serve()
    {
        while (!m_stopping) {
            pollfd waiting{m_listener.fd(), POLLIN, 0};
            if (poll(&waiting, 1, 50) <= 0)
                continue;
            const int client = accept(m_listener.fd(), nullptr, nullptr);
            if (client < 0)
                continue;
            m_answering.emplace_back([this, client] {
                answer(client);
                close(client);
            });
        }
    }

    // Blocks a held reply until its gate opens (or the server stops).
    void waitAtGate(const std::string &gate)
    {
        std::unique_lock lock(m_mutex);
        ++m_waiting[gate];
        m_gateOpened.wait(lock, [&] { return m_stopping || m_openGates.count(gate) > 0; });
        --m_waiting[gate];
    }

    void answer(int client)
    {
        std::string head;
        char buffer[4096];
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (head.find("\r\n\r\n") == std::string::npos && std::chrono::steady_clock::now() < deadline) {
            pollfd readable{client, POLLIN, 0};
            if (poll(&readable, 1, 50) <= 0)
                continue;
            const ssize_t got = recv(client, buffer, sizeof buffer, 0);
            if (got <= 0)
                return;
            head.append(buffer, static_cast<std::size_t>(got));
        }
        const ScriptedRequest request = parse(head);
        {
            std::lock_guard lock(m_mutex);
            m_received.push_back(request);
        }
        const ScriptedReply reply = m_script(request);
        std::size_t length = 0;
        for (const std::string &piece : reply.bodyPieces)
            length += piece.size();
        const std::string replyHead = "HTTP/1.1 " + std::to_string(reply.status) + " " + reply.reason
                                      + "\r\nContent-Length: " + std::to_string(length)
                                      + "\r\nConnection: close\r\n\r\n";
        sendAll(client, replyHead);
        std::size_t sent = 0;
        for (const std::string &piece : reply.bodyPieces) {
            const bool gateInside =
                !reply.gate.empty() && sent <= reply.heldAfter && reply.heldAfter < sent + piece.size();
            if (gateInside) {
                const std::size_t before = reply.heldAfter - sent;
                sendAll(client, piece.substr(0, before));
                waitAtGate(reply.gate);
                sendAll(client, piece.substr(before));
            } else {
                sendAll(client, piece);
            }
            sent += piece.size();
            std::this_thread::sleep_for(reply.pauseAfterPiece);
        }
    }

    static ScriptedRequest parse(const std::string &head)
    {
        ScriptedRequest request;
        const std::size_t lineEnd = head.find("\r\n");
        const std::string line = head.substr(0, lineEnd);
        const std::size_t firstBlank = line.find(' ');
        const std::size_t lastBlank = line.rfind(' ');
        if (firstBlank != std::string::npos && lastBlank > firstBlank)
            request.target = line.substr(firstBlank + 1, lastBlank - firstBlank - 1);
        std::size_t start = lineEnd == std::string::npos ? head.size() : lineEnd + 2;
        while (start < head.size()) {
            const std::size_t end = head.find("\r\n", start);
            const std::string header = head.substr(start, end - start);
            const std::size_t colon = header.find(':');
            if (colon != std::string::npos) {
                const std::size_t value = header.find_first_not_of(' ', colon + 1);
                request.headers[header.substr(0, colon)] = value == std::string::npos ? "" : header.substr(value);
            }
            if (end == std::string::npos)
                break;
            start = end + 2;
        }
        return request;
    }

    static void sendAll(int client, const std::string &bytes)
    {
        std::size_t sent = 0;
        while (sent < bytes.size()) {
            const ssize_t wrote = send(client, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
            if (wrote <= 0)
                return;
            sent += static_cast<std::size_t>(wrote);
        }
    }

    std::function<ScriptedReply(const ScriptedRequest &)> m_script;
    LoopbackListener m_listener{8};
    std::atomic<bool> m_stopping{false};
    std::mutex m_mutex;
    std::condition_variable m_gateOpened;
    std::set<std::string> m_openGates;
    std::map<std::string, int> m_waiting;
    std::vector<ScriptedRequest> m_received;
    std::vector<std::thread> m_answering; // only the serving thread adds to it
    std::thread m_thread;
};

#endif

#ifndef TARNWAVE_TESTS_SUPPORT_TEST_HTTP_SERVER_H
#define TARNWAVE_TESTS_SUPPORT_TEST_HTTP_SERVER_H

// An in-process HTTP server for tests, on an ephemeral loopback port.

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

// A cpp-httplib server on 127.0.0.1 with the handlers `setup` installs, served
// from its own threads until destroyed. Throws std::runtime_error when no
// port can be bound.
class TestHttpServer
{
public:
    explicit TestHttpServer(const std::function<void(httplib::Server &)> &setup)
    {
        setup(m_server);
        m_port = m_server.bind_to_any_port("127.0.0.1");
        if (m_port <= 0)
            throw std::runtime_error("cannot bind the test HTTP server to a loopback port");
        m_thread = std::thread([this] {
            m_server.listen_after_bind();
            m_listenEnded = true;
        });
        // stop() before the server runs would be lost, and its thread would
        // never end; so wait until it runs, or has given up.
        while (!m_server.is_running() && !m_listenEnded)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (!m_server.is_running()) {
            m_thread.join();
            throw std::runtime_error("the test HTTP server did not listen on its port");
        }
    }
    ~TestHttpServer()
    {
        m_server.stop();
        if (m_thread.joinable())
            m_thread.join();
    }
    TestHttpServer(const TestHttpServer &) = delete;
    TestHttpServer &operator=(const TestHttpServer &) = delete;

    int port() const { return m_port; }
    std::string url(const std::string &path) const { return "http://127.0.0.1:" + std::to_string(m_port) + path; }

private:
    httplib::Server m_server;
    int m_port = -1;
    std::atomic<bool> m_listenEnded{false};
    std::thread m_thread;
};

#endif

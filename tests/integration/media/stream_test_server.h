#ifndef TARNWAVE_TESTS_INTEGRATION_MEDIA_STREAM_TEST_SERVER_H
#define TARNWAVE_TESTS_INTEGRATION_MEDIA_STREAM_TEST_SERVER_H

// An in-process HTTP server on an ephemeral loopback port for the media tests:
//   /radio  an endless MP3 stream with ICY metadata (StreamTitle, sent again
//           whenever it changes) when the client asks for it with
//           "Icy-MetaData: 1", paced a little above the bit rate after a first
//           burst, like an internet radio station
//   /short  one second of MP3, then the end of the body
//   /page   an HTML page served in place of audio
//   /broken a stream that sends a little audio and then drops the connection

#include "mp3_tone.h"

#include <httplib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

class StreamTestServer
{
public:
    static constexpr std::size_t metaInterval = 4096;

    explicit StreamTestServer(std::string title = "Test Artist - Test Song")
        : m_title(std::move(title)), m_tone(encodeToneMp3(1.0))
    {
        m_server.Get("/radio", [this](const httplib::Request &request, httplib::Response &response) {
            serveRadio(request, response);
        });
        m_server.Get("/short", [this](const httplib::Request &, httplib::Response &response) {
            response.set_content(m_tone, "audio/mpeg");
        });
        m_server.Get("/page", [](const httplib::Request &, httplib::Response &response) {
            std::string page = "<!DOCTYPE html>\n<html><head><title>Station</title></head><body>\n";
            for (int i = 0; i < 200; ++i)
                page += "<p>This station has moved. Please visit our new home page.</p>\n";
            page += "</body></html>\n";
            response.set_content(page, "text/html");
        });
        m_server.Get("/broken", [this](const httplib::Request &, httplib::Response &response) {
            ++m_brokenRequests;
            response.set_content_provider("audio/mpeg", [this](std::size_t, httplib::DataSink &sink) {
                sink.write(m_tone.data(), std::min<std::size_t>(m_tone.size(), 4000));
                return false; // drops the connection
            });
        });
        m_port = m_server.bind_to_any_port("127.0.0.1");
        if (m_port <= 0)
            throw std::runtime_error("cannot bind the test server");
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
        // Stopping a server that has not begun to listen yet would leave it listening for good.
        while (!m_server.is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    ~StreamTestServer()
    {
        m_stopping = true;
        m_server.stop();
        m_thread.join();
    }

    StreamTestServer(const StreamTestServer &) = delete;
    StreamTestServer &operator=(const StreamTestServer &) = delete;

    std::string url(const std::string &path) const { return "http://127.0.0.1:" + std::to_string(m_port) + path; }
    std::string title() const
    {
        std::lock_guard lock(m_mutex);
        return m_title;
    }
    // Listeners hear the new title with their next metadata block.
    void setTitle(std::string title)
    {
        std::lock_guard lock(m_mutex);
        m_title = std::move(title);
    }
    // How many requests for /radio asked for ICY metadata.
    int metadataRequests() const { return m_metadataRequests; }
    // How many requests for /broken arrived.
    int brokenRequests() const { return m_brokenRequests; }
    // The "station" query parameter of the last request for /radio, decoded.
    std::string lastQueryStation() const
    {
        std::lock_guard lock(m_mutex);
        return m_lastQueryStation;
    }
    std::string lastUserAgent() const
    {
        std::lock_guard lock(m_mutex);
        return m_lastUserAgent;
    }

private:
    // One listener's position in the endless stream.
    struct Listener
    {
        std::size_t tonePosition = 0;
        std::size_t untilMetadata = metaInterval;
        std::size_t sent = 0;
        std::string titleSent; // what the last metadata block announced
    };

    void serveRadio(const httplib::Request &request, httplib::Response &response)
    {
        {
            std::lock_guard lock(m_mutex);
            m_lastUserAgent = request.get_header_value("User-Agent");
            m_lastQueryStation = request.get_param_value("station");
        }
        const bool withMetadata = request.get_header_value("Icy-MetaData") == "1";
        if (withMetadata) {
            ++m_metadataRequests;
            response.set_header("icy-metaint", std::to_string(metaInterval));
        }
        response.set_header("icy-name", "Tarnwave Test Radio");
        auto listener = std::make_shared<Listener>();
        const auto started = std::chrono::steady_clock::now();
        response.set_content_provider(
            "audio/mpeg", [this, listener, withMetadata, started](std::size_t, httplib::DataSink &sink) {
                if (m_stopping)
                    return false;
                // 64 kbit/s is 8000 bytes a second: a burst of one second, then a quarter more than that
                // rate, so that little is buffered ahead and a new title is heard soon.
                const auto elapsed = std::chrono::steady_clock::now() - started;
                const auto allowed = static_cast<std::size_t>(
                    8000 + 10 * std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
                if (listener->sent >= allowed) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
                    return true;
                }
                std::string piece = nextPiece(*listener, withMetadata, 2048);
                listener->sent += piece.size();
                return sink.write(piece.data(), piece.size());
            });
    }

    // About `audioBytes` of the looping tone, with a metadata block after
    // every metaInterval audio bytes when metadata was asked for.
    std::string nextPiece(Listener &listener, bool withMetadata, std::size_t audioBytes) const
    {
        std::string piece;
        while (audioBytes > 0) {
            std::size_t take = std::min(audioBytes, m_tone.size() - listener.tonePosition);
            if (withMetadata)
                take = std::min(take, listener.untilMetadata);
            piece.append(m_tone, listener.tonePosition, take);
            audioBytes -= take;
            listener.tonePosition = (listener.tonePosition + take) % m_tone.size();
            if (withMetadata && (listener.untilMetadata -= take) == 0) {
                const std::string now = title();
                piece += metadataBlock(now == listener.titleSent ? std::string() : "StreamTitle='" + now + "';");
                listener.titleSent = now;
                listener.untilMetadata = metaInterval;
            }
        }
        return piece;
    }

    // A length byte (in units of 16) and the text padded with NULs; an empty
    // text is the one zero byte that says "no change".
    static std::string metadataBlock(const std::string &text)
    {
        const std::size_t units = (text.size() + 15) / 16;
        std::string block(1, static_cast<char>(units));
        block += text;
        block.resize(1 + units * 16, '\0');
        return block;
    }

    std::string m_title;
    const std::string m_tone;
    httplib::Server m_server;
    int m_port = 0;
    std::thread m_thread;
    std::atomic<bool> m_stopping{false};
    std::atomic<int> m_metadataRequests{0};
    std::atomic<int> m_brokenRequests{0};
    mutable std::mutex m_mutex;
    std::string m_lastUserAgent;
    std::string m_lastQueryStation;
};

#endif

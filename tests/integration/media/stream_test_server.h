#ifndef TARNWAVE_TESTS_INTEGRATION_MEDIA_STREAM_TEST_SERVER_H
#define TARNWAVE_TESTS_INTEGRATION_MEDIA_STREAM_TEST_SERVER_H

// An in-process HTTP server on an ephemeral loopback port for the media tests
// (a TestHttpServer with these routes):
//   /radio    an endless MP3 stream with ICY metadata (StreamTitle, sent again
//             whenever it changes) when the client asks for it with
//             "Icy-MetaData: 1", paced a little above the bit rate after a
//             first burst, like an internet radio station
//   /station  the same stream, chunked, as planStation() says: it may break
//             for its first listeners, go off the air, or stall
//   /redirect a 302 to /radio
//   /short    one second of MP3 with its length, then the end of the body
//   /page     an HTML page served in place of audio

#include "icy_stream.h"
#include "mp3_tone.h"

#include "support/test_http_server.h"

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

class StreamTestServer
{
public:
    static constexpr std::size_t metaInterval = IcyStream::metaInterval;

    // How /station behaves; set it before the handler connects.
    struct StationPlan
    {
        // The streams of the first `breakingListeners` listeners break after
        // this many audio bytes; later listeners play on. 0: none breaks.
        std::size_t breakAfterAudio = 0;
        int breakingListeners = 1;
        // A break ends the chunked body properly instead of dropping the connection.
        bool breakEndsBody = false;
        // How many listeners are served at all: later requests are answered
        // "503 Service Unavailable". Negative: every one.
        int listenersServed = -1;
        // Every listener's sending pauses after this many audio bytes until
        // resumeStation(). 0: it does not.
        std::size_t stallAfterAudio = 0;
    };

    explicit StreamTestServer(std::string title = "Test Artist - Test Song")
        : m_title(std::move(title)), m_tone(encodeToneMp3(1.0)), m_server([this](httplib::Server &server) {
              server.Get("/radio", [this](const httplib::Request &request, httplib::Response &response) {
                  serveRadio(request, response);
              });
              server.Get("/station", [this](const httplib::Request &request, httplib::Response &response) {
                  serveStation(request, response);
              });
              server.Get("/redirect", [this](const httplib::Request &, httplib::Response &response) {
                  response.set_redirect(url("/radio"), 302);
              });
              server.Get("/short", [this](const httplib::Request &, httplib::Response &response) {
                  ++m_shortRequests;
                  response.set_content(m_tone, "audio/mpeg");
              });
              server.Get("/page", [](const httplib::Request &, httplib::Response &response) {
                  std::string page = "<!DOCTYPE html>\n<html><head><title>Station</title></head><body>\n";
                  for (int i = 0; i < 200; ++i)
                      page += "<p>This station has moved. Please visit our new home page.</p>\n";
                  page += "</body></html>\n";
                  response.set_content(page, "text/html");
              });
          })
    {
    }

    // Ends the endless streams, so that the server (the last member, gone
    // first) stops at once.
    ~StreamTestServer() { m_stopping = true; }

    StreamTestServer(const StreamTestServer &) = delete;
    StreamTestServer &operator=(const StreamTestServer &) = delete;

    std::string url(const std::string &path) const { return m_server.url(path); }
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
    void planStation(const StationPlan &plan)
    {
        std::lock_guard lock(m_mutex);
        m_stationPlan = plan;
    }
    // Ends the stall of StationPlan::stallAfterAudio for every listener.
    void resumeStation() { m_stationResumed = true; }
    // How many requests for /radio asked for ICY metadata.
    int metadataRequests() const { return m_metadataRequests; }
    // How many requests for /station and for /short arrived.
    int stationRequests() const { return m_stationRequests; }
    int shortRequests() const { return m_shortRequests; }
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
    // What one listener of /station gets.
    struct ListenerPlan
    {
        std::size_t breakAfterAudio = 0;
        bool breakEndsBody = false;
        std::size_t stallAfterAudio = 0;
    };

    void serveRadio(const httplib::Request &request, httplib::Response &response)
    {
        {
            std::lock_guard lock(m_mutex);
            m_lastUserAgent = request.get_header_value("User-Agent");
            m_lastQueryStation = request.get_param_value("station");
        }
        const bool withMetadata = startStream(request, response);
        response.set_content_provider("audio/mpeg", streamProvider(withMetadata, ListenerPlan{}));
    }

    void serveStation(const httplib::Request &request, httplib::Response &response)
    {
        const int number = ++m_stationRequests;
        StationPlan plan;
        {
            std::lock_guard lock(m_mutex);
            plan = m_stationPlan;
        }
        if (plan.listenersServed >= 0 && number > plan.listenersServed) {
            response.status = 503;
            response.set_content("The station is off the air.\n", "text/plain");
            return;
        }
        const ListenerPlan listener{number <= plan.breakingListeners ? plan.breakAfterAudio : 0, plan.breakEndsBody,
                                    plan.stallAfterAudio};
        const bool withMetadata = startStream(request, response);
        response.set_chunked_content_provider("audio/mpeg", streamProvider(withMetadata, listener));
    }

    // Sets the station's headers; whether the listener asked for metadata.
    bool startStream(const httplib::Request &request, httplib::Response &response)
    {
        const bool withMetadata = request.get_header_value("Icy-MetaData") == "1";
        if (withMetadata) {
            ++m_metadataRequests;
            response.set_header("icy-metaint", std::to_string(metaInterval));
        }
        response.set_header("icy-name", "Tarnwave Test Radio");
        return withMetadata;
    }

    // Sends the paced stream to one listener as `plan` says.
    httplib::ContentProviderWithoutLength streamProvider(bool withMetadata, ListenerPlan plan)
    {
        auto stream = std::make_shared<IcyStream>(m_tone, withMetadata);
        const auto started = std::chrono::steady_clock::now();
        return [this, stream, plan, started](std::size_t, httplib::DataSink &sink) {
            if (m_stopping)
                return false;
            if (plan.breakAfterAudio > 0 && stream->audioSent() >= plan.breakAfterAudio) {
                if (!plan.breakEndsBody)
                    return false; // drops the connection
                sink.done();
                return true;
            }
            const bool stalled =
                plan.stallAfterAudio > 0 && stream->audioSent() >= plan.stallAfterAudio && !m_stationResumed;
            if (stalled || stream->aheadOfPace(std::chrono::steady_clock::now() - started)) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
                return true;
            }
            const std::string piece = stream->next(2048, title());
            return sink.write(piece.data(), piece.size());
        };
    }

    std::string m_title;
    const std::string m_tone;
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_stationResumed{false};
    std::atomic<int> m_metadataRequests{0};
    std::atomic<int> m_stationRequests{0};
    std::atomic<int> m_shortRequests{0};
    mutable std::mutex m_mutex;
    StationPlan m_stationPlan;
    std::string m_lastUserAgent;
    std::string m_lastQueryStation;
    // Last: it serves only while everything above exists.
    TestHttpServer m_server;
};

#endif

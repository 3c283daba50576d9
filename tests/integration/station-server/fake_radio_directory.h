#ifndef TARNWAVE_TESTS_INTEGRATION_STATION_SERVER_FAKE_RADIO_DIRECTORY_H
#define TARNWAVE_TESTS_INTEGRATION_STATION_SERVER_FAKE_RADIO_DIRECTORY_H

// A stand-in for the community radio directory's JSON API on 127.0.0.1, for
// the gateway's tests: the subset the gateway uses (tags by station count,
// the station search by tag, name and codec, most clicked first, and the
// address of a station, which counts a click), over a few stations of the
// test's own. It can be told to answer broken JSON, or slowly. No test
// reaches the internet.

#include "support/test_http_server.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

struct FakeStation
{
    std::string uuid;
    std::string name;
    std::string tags; // comma-separated
    std::string codec;
    int bitrate = 0;
    bool working = true; // lastcheckok
    bool hls = false;
    long clicks = 0;
    std::string url;
    std::string resolvedUrl;
};

class FakeRadioDirectory
{
public:
    explicit FakeRadioDirectory(std::vector<FakeStation> stations);
    // Ends any reply still waiting (answerSlowly) before the server stops.
    ~FakeRadioDirectory();
    FakeRadioDirectory(const FakeRadioDirectory &) = delete;
    FakeRadioDirectory &operator=(const FakeRadioDirectory &) = delete;

    std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(server_.port()); }
    // How often each path was asked for ("/json/tags", "/json/stations/search", "/json/url/UUID").
    int requests(const std::string &path) const;
    // Waits until `path` has been asked for at least once; false after `limit`.
    bool waitForRequest(const std::string &path, std::chrono::milliseconds limit = std::chrono::seconds(5)) const;
    // The query of every station search, in order ("codec=MP3&...").
    std::vector<std::string> searches() const;
    // From now on every reply is this text instead of JSON.
    void answerBroken(std::string text);
    // From now on every reply waits this long before it is sent.
    void answerSlowly(std::chrono::milliseconds delay);

private:
    // Counts the request; the broken text to answer instead, if any.
    std::string count(const std::string &path);
    std::string tagsJson() const;
    std::string searchJson(const httplib::Request &request);

    const std::vector<FakeStation> stations_;
    mutable std::mutex mutex_;
    std::map<std::string, int> requests_;
    std::vector<std::string> searches_;
    std::string broken_;
    std::chrono::milliseconds delay_{0};
    std::condition_variable closing_;
    mutable std::condition_variable asked_;
    bool closed_ = false;
    TestHttpServer server_;
};

#endif

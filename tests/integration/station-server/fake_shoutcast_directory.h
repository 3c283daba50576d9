#ifndef TARNWAVE_TESTS_INTEGRATION_STATION_SERVER_FAKE_SHOUTCAST_DIRECTORY_H
#define TARNWAVE_TESTS_INTEGRATION_STATION_SERVER_FAKE_SHOUTCAST_DIRECTORY_H

// A stand-in for the SHOUTcast directory's keyed API on 127.0.0.1, for the
// gateway's tests: /legacy/genrelist, /legacy/Top500, /legacy/stationsearch
// and /legacy/genresearch answer the legacy XML for the developer key it is
// made with (any other key: 401), and the tune-in host's playlists are served
// under the tune-in base its lists name. It can be told to answer broken XML
// or to write its lists in ISO-8859-1. No test reaches the internet.

#include "support/test_http_server.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

struct FakeShoutcastStation
{
    std::string id; // digits
    std::string name; // UTF-8
    std::string mediaType = "audio/mpeg";
    int bitrate = 128;
    std::string genre;
    long listeners = 0;
    std::string streamUrl;
};

class FakeShoutcastDirectory
{
public:
    FakeShoutcastDirectory(std::string key, std::vector<FakeShoutcastStation> stations,
                           std::string tuneInBase = "/sbin/tunein-station.pls");

    std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(server_.port()); }
    // Every request's path and query as it came ("/legacy/Top500?k=...&mt=...").
    std::vector<std::string> requests() const;
    int requestsFor(const std::string &path) const;
    // From now on every list is this text instead of XML.
    void answerBroken(std::string text);
    // From now on the lists are written in ISO-8859-1 and say so.
    void answerInLatin1();

private:
    void list(const httplib::Request &request, httplib::Response &response);
    void playlist(const httplib::Request &request, httplib::Response &response);
    std::string stationListXml(const std::vector<const FakeShoutcastStation *> &stations) const;

    const std::string key_;
    const std::vector<FakeShoutcastStation> stations_;
    const std::string tuneInBase_;
    mutable std::mutex mutex_;
    std::vector<std::string> requests_;
    std::string broken_;
    bool latin1_ = false;
    TestHttpServer server_;
};

#endif

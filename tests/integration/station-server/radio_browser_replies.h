#ifndef TARNWAVE_TESTS_STATION_SERVER_RADIO_BROWSER_REPLIES_H
#define TARNWAVE_TESTS_STATION_SERVER_RADIO_BROWSER_REPLIES_H

// Replies of the community radio directory's JSON API, made up for the
// gateway's tests: a station is a working MP3 station until a test changes
// the fields it is about.

#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

namespace replies {

using Json = nlohmann::json;

// A well-formed uuid of its own for each number.
inline std::string uuidOf(int number)
{
    char text[40];
    std::snprintf(text, sizeof text, "00000000-0000-4000-8000-%012d", number);
    return text;
}

inline Json station(int number, const std::string &name, long long clicks = 0)
{
    const std::string address = "http://stream.example/" + std::to_string(number);
    return Json{
        {"changeuuid", "ffffffff-0000-4000-8000-000000000000"},
        {"stationuuid", uuidOf(number)},
        {"name", name},
        {"url", address + ".pls"},
        {"url_resolved", address},
        {"homepage", "http://example.org/"},
        {"tags", "rock,pop"},
        {"countrycode", "DE"},
        {"codec", "MP3"},
        {"bitrate", 128},
        {"hls", 0},
        {"lastcheckok", 1},
        {"clickcount", clicks},
        {"votes", 7},
    };
}

inline Json tag(const std::string &name, long long stations)
{
    return Json{{"name", name}, {"stationcount", stations}};
}

} // namespace replies

#endif

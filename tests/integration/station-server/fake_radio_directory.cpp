#include "fake_radio_directory.h"

#include "station_query.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

std::vector<std::string> split(const std::string &tags)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= tags.size()) {
        const std::size_t comma = std::min(tags.find(',', start), tags.size());
        if (comma > start)
            parts.push_back(tags.substr(start, comma - start));
        start = comma + 1;
    }
    return parts;
}

nlohmann::json stationJson(const FakeStation &station)
{
    return {{"stationuuid", station.uuid},
            {"name", station.name},
            {"url", station.url},
            {"url_resolved", station.resolvedUrl},
            {"tags", station.tags},
            {"codec", station.codec},
            {"bitrate", station.bitrate},
            {"hls", station.hls ? 1 : 0},
            {"lastcheckok", station.working ? 1 : 0},
            {"clickcount", station.clicks},
            {"votes", 3},
            {"countrycode", "DE"}};
}

} // namespace

FakeRadioDirectory::FakeRadioDirectory(std::vector<FakeStation> stations)
    : stations_(std::move(stations)), server_([this](httplib::Server &routes) {
          routes.Get("/json/tags", [this](const httplib::Request &, httplib::Response &response) {
              const std::string broken = count("/json/tags");
              response.set_content(broken.empty() ? tagsJson() : broken, "application/json");
          });
          routes.Get("/json/stations/search", [this](const httplib::Request &request, httplib::Response &response) {
              const std::string broken = count("/json/stations/search");
              response.set_content(broken.empty() ? searchJson(request) : broken, "application/json");
          });
          routes.Get(R"(/json/url/([^/]+))", [this](const httplib::Request &request, httplib::Response &response) {
              const std::string uuid = request.matches[1];
              if (const std::string broken = count("/json/url/" + uuid); !broken.empty())
                  return response.set_content(broken, "application/json");
              const auto station = std::find_if(stations_.begin(), stations_.end(),
                                                [&](const FakeStation &each) { return each.uuid == uuid; });
              if (station == stations_.end()) {
                  response.set_content(R"({"ok":false,"message":"no such station"})", "application/json");
                  return;
              }
              const std::string url = station->resolvedUrl.empty() ? station->url : station->resolvedUrl;
              const nlohmann::json reply{{"ok", true},
                                         {"message", "retrieved station url"},
                                         {"stationuuid", uuid},
                                         {"name", station->name},
                                         {"url", url}};
              response.set_content(reply.dump(), "application/json");
          });
      })
{
}

int FakeRadioDirectory::requests(const std::string &path) const
{
    const std::lock_guard lock(mutex_);
    const auto found = requests_.find(path);
    return found == requests_.end() ? 0 : found->second;
}

FakeRadioDirectory::~FakeRadioDirectory()
{
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
    }
    closing_.notify_all();
}

bool FakeRadioDirectory::waitForRequest(const std::string &path, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(mutex_);
    return asked_.wait_for(lock, limit, [&] { return requests_.contains(path); });
}

std::vector<std::string> FakeRadioDirectory::searches() const
{
    const std::lock_guard lock(mutex_);
    return searches_;
}

void FakeRadioDirectory::answerBroken(std::string text)
{
    const std::lock_guard lock(mutex_);
    broken_ = std::move(text);
}

void FakeRadioDirectory::answerSlowly(std::chrono::milliseconds delay)
{
    const std::lock_guard lock(mutex_);
    delay_ = delay;
}

std::string FakeRadioDirectory::count(const std::string &path)
{
    std::unique_lock lock(mutex_);
    ++requests_[path];
    asked_.notify_all();
    closing_.wait_for(lock, delay_, [this] { return closed_; });
    return broken_;
}

std::string FakeRadioDirectory::tagsJson() const
{
    // Working stations per tag, most first, as the directory answers.
    std::map<std::string, int> counts;
    for (const FakeStation &station : stations_)
        if (station.working)
            for (const std::string &tag : split(station::foldCase(station.tags)))
                ++counts[tag];
    std::vector<std::pair<std::string, int>> tags(counts.begin(), counts.end());
    std::stable_sort(tags.begin(), tags.end(), [](const auto &a, const auto &b) { return a.second > b.second; });
    nlohmann::json json = nlohmann::json::array();
    for (const auto &[name, stationCount] : tags)
        json.push_back({{"name", name}, {"stationcount", stationCount}});
    return json.dump();
}

std::string FakeRadioDirectory::searchJson(const httplib::Request &request)
{
    {
        const std::lock_guard lock(mutex_);
        std::string query;
        for (const auto &[name, value] : request.params)
            query += (query.empty() ? "" : "&") + name + "=" + value;
        searches_.push_back(query);
    }
    const std::string tag = station::foldCase(request.get_param_value("tag"));
    const std::string name = station::foldCase(request.get_param_value("name"));
    const std::string codec = request.get_param_value("codec");
    std::vector<const FakeStation *> found;
    for (const FakeStation &station : stations_) {
        if (request.get_param_value("hidebroken") == "true" && !station.working)
            continue;
        if (!codec.empty() && station::foldCase(station.codec) != station::foldCase(codec))
            continue;
        if (!name.empty() && station::foldCase(station.name).find(name) == std::string::npos)
            continue;
        const std::vector<std::string> tags = split(station::foldCase(station.tags));
        if (!tag.empty() && std::find(tags.begin(), tags.end(), tag) == tags.end())
            continue;
        found.push_back(&station);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const FakeStation *a, const FakeStation *b) { return a->clicks > b->clicks; });
    nlohmann::json json = nlohmann::json::array();
    for (const FakeStation *station : found)
        json.push_back(stationJson(*station));
    return json.dump();
}

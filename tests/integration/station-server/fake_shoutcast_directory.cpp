#include "fake_shoutcast_directory.h"

#include "directory_xml.h"
#include "station_query.h"
#include "text_encoding.h"

#include <algorithm>
#include <set>

FakeShoutcastDirectory::FakeShoutcastDirectory(std::string key, std::vector<FakeShoutcastStation> stations,
                                               std::string tuneInBase)
    : key_(std::move(key)), stations_(std::move(stations)), tuneInBase_(std::move(tuneInBase)),
      server_([this](httplib::Server &routes) {
          for (const char *path :
               {"/legacy/genrelist", "/legacy/Top500", "/legacy/stationsearch", "/legacy/genresearch"})
              routes.Get(path, [this](const httplib::Request &request, httplib::Response &response) {
                  list(request, response);
              });
          routes.Get(tuneInBase_, [this](const httplib::Request &request, httplib::Response &response) {
              playlist(request, response);
          });
      })
{
}

std::vector<std::string> FakeShoutcastDirectory::requests() const
{
    const std::lock_guard lock(mutex_);
    return requests_;
}

int FakeShoutcastDirectory::requestsFor(const std::string &path) const
{
    const std::lock_guard lock(mutex_);
    return static_cast<int>(std::count_if(requests_.begin(), requests_.end(), [&](const std::string &request) {
        return request == path || request.starts_with(path + "?");
    }));
}

void FakeShoutcastDirectory::answerBroken(std::string text)
{
    const std::lock_guard lock(mutex_);
    broken_ = std::move(text);
}

void FakeShoutcastDirectory::answerInLatin1()
{
    const std::lock_guard lock(mutex_);
    latin1_ = true;
}

void FakeShoutcastDirectory::list(const httplib::Request &request, httplib::Response &response)
{
    std::string broken;
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request.target);
        broken = broken_;
    }
    if (request.get_param_value("k") != key_) {
        response.status = 401;
        response.set_content("invalid developer key", "text/plain");
        return;
    }
    if (!broken.empty()) {
        response.set_content(broken, "text/xml");
        return;
    }
    if (request.path == "/legacy/genrelist") {
        std::set<std::string> genres;
        for (const FakeShoutcastStation &station : stations_)
            genres.insert(station.genre);
        std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<genrelist>\n";
        for (const std::string &genre : genres)
            xml += "<genre name=\"" + station::escapeAttribute(genre) + "\"></genre>\n";
        response.set_content(xml + "</genrelist>\n", "text/xml");
        return;
    }
    const std::string mediaType = request.get_param_value("mt");
    const std::string search = station::foldCase(request.get_param_value("search"));
    const std::string genre = station::foldCase(request.get_param_value("genre"));
    std::vector<const FakeShoutcastStation *> found;
    for (const FakeShoutcastStation &station : stations_) {
        if (!mediaType.empty() && station.mediaType != mediaType)
            continue;
        if (request.path == "/legacy/stationsearch"
            && station::foldCase(station.name).find(search) == std::string::npos)
            continue;
        if (request.path == "/legacy/genresearch" && station::foldCase(station.genre) != genre)
            continue;
        found.push_back(&station);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto *a, const auto *b) { return a->listeners > b->listeners; });
    response.set_content(stationListXml(found), "text/xml");
}

std::string FakeShoutcastDirectory::stationListXml(const std::vector<const FakeShoutcastStation *> &stations) const
{
    bool inLatin1 = false;
    {
        const std::lock_guard lock(mutex_);
        inLatin1 = latin1_;
    }
    std::string xml = std::string("<?xml version=\"1.0\" encoding=\"") + (inLatin1 ? "ISO-8859-1" : "UTF-8")
                      + "\" standalone=\"yes\"?>\n<stationlist>\n<tunein base=\"" + tuneInBase_
                      + "\" base-m3u=\"/sbin/tunein-station.m3u\" base-xspf=\"/sbin/tunein-station.xspf\"/>\n";
    for (const FakeShoutcastStation *station : stations) {
        xml += "<station name=\"" + station::escapeAttribute(station->name) + "\" mt=\"" + station->mediaType
               + "\" id=\"" + station->id + "\" br=\"" + std::to_string(station->bitrate) + "\" genre=\""
               + station::escapeAttribute(station->genre) + "\" lc=\"" + std::to_string(station->listeners)
               + "\"></station>\n";
    }
    xml += "</stationlist>\n";
    return inLatin1 ? station::latin1FromUtf8(xml) : xml;
}

void FakeShoutcastDirectory::playlist(const httplib::Request &request, httplib::Response &response)
{
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request.target);
    }
    const std::string id = request.get_param_value("id");
    const auto station = std::find_if(stations_.begin(), stations_.end(),
                                      [&](const FakeShoutcastStation &each) { return each.id == id; });
    if (station == stations_.end()) {
        response.status = 404;
        response.set_content("not found", "text/plain");
        return;
    }
    response.set_content("[playlist]\r\nnumberofentries=1\r\nFile1=" + station->streamUrl + "\r\nTitle1=(#1 - 5/100) "
                             + station->name + "\r\nLength1=-1\r\nVersion=2\r\n",
                         "audio/x-scpls");
}

#include "directory_xml.h"

namespace station {
namespace {

constexpr std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

void appendAttribute(std::string &out, std::string_view name, std::string_view value)
{
    out += ' ';
    out += name;
    out += "=\"";
    out += escapeAttribute(value);
    out += '"';
}

} // namespace

std::string escapeAttribute(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        switch (c) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '"': escaped += "&quot;"; break;
        case '\'': escaped += "&apos;"; break;
        // Kept as character references so that a parser does not fold them
        // into blanks.
        case '\t': escaped += "&#9;"; break;
        case '\n': escaped += "&#10;"; break;
        case '\r': escaped += "&#13;"; break;
        default:
            if (static_cast<unsigned char>(c) >= 0x20)
                escaped += c;
        }
    }
    return escaped;
}

std::string genreListXml(const std::vector<std::string> &genres)
{
    std::string out(declaration);
    out += "<genrelist>\n";
    for (const std::string &genre : genres) {
        out += "<genre";
        appendAttribute(out, "name", genre);
        out += "/>\n";
    }
    out += "</genrelist>\n";
    return out;
}

std::string stationListXml(const std::vector<DirectoryEntry> &entries)
{
    std::string out(declaration);
    out.reserve(declaration.size() + 64 + entries.size() * 200);
    out += "<stationlist>\n<tunein";
    appendAttribute(out, "base", tuneInPath);
    out += "/>\n";
    for (const DirectoryEntry &entry : entries) {
        out += "<station";
        appendAttribute(out, "name", entry.name);
        appendAttribute(out, "mt", entry.mediaType);
        appendAttribute(out, "id", entry.id);
        appendAttribute(out, "br", entry.bitrate);
        appendAttribute(out, "genre", entry.genre);
        appendAttribute(out, "ct", entry.currentTitle);
        appendAttribute(out, "lc", std::to_string(entry.listeners));
        out += "/>\n";
    }
    out += "</stationlist>\n";
    return out;
}

std::string genreListXml(const Catalogue &catalogue)
{
    return genreListXml(catalogue.genres());
}

DirectoryEntry directoryEntry(const Station &station, const TitleSchedule &titles,
                              TitleSchedule::Clock::time_point when)
{
    return DirectoryEntry{.name = station.name,
                          .mediaType = station.mediaType,
                          .id = std::to_string(station.id),
                          .bitrate = station.bitrate,
                          .genre = station.genre,
                          .currentTitle = titles.titleAt(station, when),
                          .listeners = station.listeners};
}

std::string stationListXml(const std::vector<const Station *> &stations, const TitleSchedule &titles,
                           TitleSchedule::Clock::time_point when)
{
    std::vector<DirectoryEntry> entries;
    entries.reserve(stations.size());
    for (const Station *station : stations)
        entries.push_back(directoryEntry(*station, titles, when));
    return stationListXml(entries);
}

} // namespace station

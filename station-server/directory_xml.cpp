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

std::string genreListXml(const Catalogue &catalogue)
{
    std::string out(declaration);
    out += "<genrelist>\n";
    for (const std::string &genre : catalogue.genres()) {
        out += "<genre";
        appendAttribute(out, "name", genre);
        out += "/>\n";
    }
    out += "</genrelist>\n";
    return out;
}

std::string stationListXml(const std::vector<const Station *> &stations, const TitleSchedule &titles,
                           TitleSchedule::Clock::time_point when)
{
    std::string out(declaration);
    out.reserve(declaration.size() + 64 + stations.size() * 200);
    out += "<stationlist>\n<tunein";
    appendAttribute(out, "base", tuneInPath);
    out += "/>\n";
    for (const Station *station : stations) {
        out += "<station";
        appendAttribute(out, "name", station->name);
        appendAttribute(out, "mt", station->mediaType);
        appendAttribute(out, "id", std::to_string(station->id));
        appendAttribute(out, "br", station->bitrate);
        appendAttribute(out, "genre", station->genre);
        appendAttribute(out, "ct", titles.titleAt(*station, when));
        appendAttribute(out, "lc", std::to_string(station->listeners));
        out += "/>\n";
    }
    out += "</stationlist>\n";
    return out;
}

} // namespace station

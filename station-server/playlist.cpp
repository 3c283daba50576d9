#include "playlist.h"

namespace station {
namespace {

// A PLS value ends at the line's end: line breaks in a name would start a new
// key, so they become blanks.
std::string oneLine(std::string_view text)
{
    std::string line(text);
    for (char &c : line) {
        if (c == '\n' || c == '\r')
            c = ' ';
    }
    return line;
}

// "File1=...", "file12=...": a stream address line of a PLS playlist.
bool isAddressLine(std::string_view line)
{
    if (line.size() < 5 || (line.substr(0, 4) != "File" && line.substr(0, 4) != "file"))
        return false;
    std::size_t at = 4;
    while (at < line.size() && line[at] >= '0' && line[at] <= '9')
        ++at;
    return at > 4 && at < line.size() && line[at] == '=';
}

} // namespace

std::string streamPath(const Station &station)
{
    return "/stream/" + std::to_string(station.id);
}

std::string onePlaylist(std::string_view address, std::string_view title)
{
    std::string out = "[playlist]\n";
    out += "numberofentries=1\n";
    out += "File1=";
    out += address;
    out += "\nTitle1=";
    out += oneLine(title);
    out += "\nLength1=-1\n";
    out += "Version=2\n";
    return out;
}

std::string tuneInPlaylist(const Station &station, std::string_view authority)
{
    return onePlaylist("http://" + std::string(authority) + streamPath(station), station.name);
}

std::string withAddressQuery(std::string_view playlist, std::string_view query)
{
    std::string out;
    out.reserve(playlist.size() + 2 * query.size());
    while (!playlist.empty()) {
        const std::size_t end = playlist.find('\n');
        std::string_view line = playlist.substr(0, end);
        playlist.remove_prefix(end == std::string_view::npos ? playlist.size() : end + 1);
        const bool lineFeed = end != std::string_view::npos;
        const bool carriageReturn = line.ends_with('\r');
        if (carriageReturn)
            line.remove_suffix(1);
        out += line;
        if (isAddressLine(line)) {
            out += line.find('?') == std::string_view::npos ? '?' : '&';
            out += query;
        }
        if (carriageReturn)
            out += '\r';
        if (lineFeed)
            out += '\n';
    }
    return out;
}

} // namespace station

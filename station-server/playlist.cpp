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

} // namespace

std::string streamPath(const Station &station)
{
    return "/stream/" + std::to_string(station.id);
}

std::string tuneInPlaylist(const Station &station, std::string_view authority)
{
    std::string out = "[playlist]\n";
    out += "numberofentries=1\n";
    out += "File1=http://";
    out += authority;
    out += streamPath(station);
    out += "\nTitle1=";
    out += oneLine(station.name);
    out += "\nLength1=-1\n";
    out += "Version=2\n";
    return out;
}

} // namespace station

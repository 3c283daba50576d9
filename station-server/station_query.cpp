#include "station_query.h"

#include <algorithm>

namespace station {
namespace {

template <class Accept>
std::vector<const Station *> mostListened(const Catalogue &catalogue, std::string_view mediaType, std::size_t limit,
                                          Accept accept)
{
    std::vector<const Station *> chosen;
    for (const Station &station : catalogue.stations()) {
        if ((mediaType.empty() || station.mediaType == mediaType) && accept(station))
            chosen.push_back(&station);
    }
    std::stable_sort(chosen.begin(), chosen.end(),
                     [](const Station *a, const Station *b) { return a->listeners > b->listeners; });
    if (chosen.size() > limit)
        chosen.resize(limit);
    return chosen;
}

} // namespace

std::string foldCase(std::string_view text)
{
    std::string folded(text);
    for (std::size_t i = 0; i < folded.size(); ++i) {
        const auto byte = static_cast<unsigned char>(folded[i]);
        if (byte >= 'A' && byte <= 'Z') {
            folded[i] = static_cast<char>(byte - 'A' + 'a');
        } else if (byte == 0xC3 && i + 1 < folded.size()) {
            // U+00C0..U+00DE are C3 80..C3 9E; their small letters are 0x20
            // further on. U+00D7 (the multiplication sign) has none.
            const auto next = static_cast<unsigned char>(folded[i + 1]);
            if (next >= 0x80 && next <= 0x9E && next != 0x97)
                folded[i + 1] = static_cast<char>(next + 0x20);
            ++i;
        }
    }
    return folded;
}

std::vector<const Station *> topStations(const Catalogue &catalogue, std::string_view mediaType, std::size_t limit)
{
    return mostListened(catalogue, mediaType, limit, [](const Station &) { return true; });
}

std::vector<const Station *> stationsOfGenre(const Catalogue &catalogue, std::string_view genre,
                                             std::string_view mediaType, std::size_t limit)
{
    const std::string wanted = foldCase(genre);
    return mostListened(catalogue, mediaType, limit,
                        [&wanted](const Station &station) { return foldCase(station.genre) == wanted; });
}

std::vector<const Station *> searchStations(const Catalogue &catalogue, std::string_view text,
                                            std::string_view mediaType, std::size_t limit)
{
    const std::string wanted = foldCase(text);
    if (wanted.find_first_not_of(" \t") == std::string::npos)
        return {};
    return mostListened(catalogue, mediaType, limit, [&wanted](const Station &station) {
        return foldCase(station.name).find(wanted) != std::string::npos
               || foldCase(station.genre).find(wanted) != std::string::npos;
    });
}

} // namespace station

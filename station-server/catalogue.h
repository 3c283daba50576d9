#ifndef TARNWAVE_STATION_SERVER_CATALOGUE_H
#define TARNWAVE_STATION_SERVER_CATALOGUE_H

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace station {

// One fictional station as the catalogue file describes it. The texts are kept
// exactly as written: the directory reports them unchanged, odd ones included.
struct Station
{
    int id = 0;
    std::string name;
    std::string genre;
    std::string mediaType;
    std::string bitrate;
    long listeners = 0;
};

// Everything the server serves, read once at start and never changed: the
// genres in their order, the pool of titles the streams announce, and the
// stations in file order.
class Catalogue
{
public:
    Catalogue(std::vector<std::string> genres, std::vector<std::string> titles, std::vector<Station> stations);

    const std::vector<std::string> &genres() const { return genres_; }
    const std::vector<std::string> &titles() const { return titles_; }
    const std::vector<Station> &stations() const { return stations_; }
    // nullptr when no station has this id.
    const Station *find(int id) const;

private:
    std::vector<std::string> genres_;
    std::vector<std::string> titles_;
    std::vector<Station> stations_;
    std::unordered_map<int, std::size_t> indexById_;
};

// Why a catalogue could not be used, with the file and the line.
class CatalogueError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Reads and checks a catalogue file (format: the comment at the top of
// data/catalogue/stations.xml). Throws CatalogueError.
Catalogue loadCatalogue(const std::filesystem::path &file);
// The same for text already in memory; `source` names it in errors.
Catalogue parseCatalogue(std::string_view xml, const std::string &source);

} // namespace station

#endif

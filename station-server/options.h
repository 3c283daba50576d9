#ifndef TARNWAVE_STATION_SERVER_OPTIONS_H
#define TARNWAVE_STATION_SERVER_OPTIONS_H

#include "faults.h"
#include "shoutcast_gateway.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace station {

struct ServerOptions
{
    std::string host = "127.0.0.1";
    int port = 8150; // 0: any free port
    std::filesystem::path catalogue;
    std::vector<FaultRule> faults;
    // The titles every station announces in place of the catalogue's (--title).
    std::vector<std::string> titles;
    std::chrono::milliseconds titleInterval{20000};
    std::chrono::milliseconds burst{2000};
    std::size_t metadataInterval = 8192;
    std::size_t workers = 64;
    // How long a connection may wait to begin a request, and then how long
    // the request may take to arrive whole. The box and every test client
    // send a request in one piece right after connecting, so it arrives in
    // milliseconds; 5 s leaves a slow real network ample room, while a client
    // that sends nothing or a byte at a time holds its connection no longer.
    std::chrono::milliseconds requestTimeout{5000};
    std::filesystem::path logFile; // empty: stderr
    // --upstream: serve a live directory instead of the catalogue.
    enum class Upstream { none, radioBrowser, shoutcast };
    Upstream upstream = Upstream::none;
    // radio-browser[=URL,...]: the community directory's mirrors
    // ("https://host"; empty: the mirrors its DNS SRV record names).
    std::vector<std::string> radioBrowserServers;
    // shoutcast=KEY[@URL]: the SHOUTcast directory's keyed API, at URL
    // instead of its own hosts when given.
    ShoutcastUpstream shoutcast;
    bool help = false;
};

// A command line that cannot be followed; the message says why.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Reads the command line (argv[0] is skipped). Options take their value as
// the next argument or after "=". Throws UsageError.
ServerOptions parseOptions(const std::vector<std::string> &arguments, std::filesystem::path defaultCatalogue);

std::string usageText();

} // namespace station

#endif

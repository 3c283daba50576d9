#include "request_guard.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>

namespace emulator {
namespace {

std::string lowercase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return text;
}

// "name:port" or "[v6]:port" into name (without brackets) and port; a missing
// port is HTTP's 80. False when the header cannot be read.
bool splitHostHeader(const std::string &header, std::string &name, int &port)
{
    std::string portText;
    if (header.starts_with('[')) {
        const auto close = header.find(']');
        if (close == std::string::npos)
            return false;
        name = header.substr(1, close - 1);
        const std::string rest = header.substr(close + 1);
        if (!rest.empty() && !rest.starts_with(':'))
            return false;
        portText = rest.empty() ? "" : rest.substr(1);
    } else {
        const auto colon = header.find(':');
        name = header.substr(0, colon);
        portText = colon == std::string::npos ? "" : header.substr(colon + 1);
    }
    if (name.empty())
        return false;
    if (portText.empty()) {
        port = 80;
        return true;
    }
    if (portText.size() > 5
        || !std::all_of(portText.begin(), portText.end(), [](unsigned char c) { return std::isdigit(c); }))
        return false;
    port = std::stoi(portText);
    return true;
}

bool isIpAddress(const std::string &name)
{
    unsigned char address[16];
    return inet_pton(AF_INET, name.c_str(), address) == 1 || inet_pton(AF_INET6, name.c_str(), address) == 1;
}

bool isWildcardAddress(const std::string &host)
{
    return host == "0.0.0.0" || host == "::" || host == "*";
}

bool namesTheListenAddress(const std::string &name, const std::string &listenHost)
{
    if (name == "localhost" || name == lowercase(listenHost))
        return true;
    return isWildcardAddress(listenHost) && isIpAddress(name);
}

} // namespace

std::optional<Refusal> refuseForeignRequest(const std::string &listenHost, int listenPort,
                                            const std::string &hostHeader, const std::string *origin)
{
    std::string name;
    int port = 0;
    if (!splitHostHeader(lowercase(hostHeader), name, port) || port != listenPort
        || !namesTheListenAddress(name, listenHost))
        return Refusal{403, "this box answers only requests to its own address, not to \"" + hostHeader + "\""};
    if (origin != nullptr && lowercase(*origin) != "http://" + lowercase(hostHeader))
        return Refusal{403, "requests from another page (" + *origin + ") are refused"};
    return std::nullopt;
}

bool isLoopbackAddress(const std::string &host)
{
    if (lowercase(host) == "localhost" || host == "::1")
        return true;
    in_addr address{};
    return inet_pton(AF_INET, host.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127;
}

} // namespace emulator

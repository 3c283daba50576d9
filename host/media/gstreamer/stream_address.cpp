#include "media/gstreamer/stream_address.h"

#include <algorithm>
#include <array>

namespace boxmedia {
namespace {

constexpr std::array<std::string_view, 4> playedSchemes = {"http", "https", "icy", "icyx"};

bool isAsciiLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isSchemeCharacter(char c)
{
    return isAsciiLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

char asciiLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::string streamAddress(const std::string &path)
{
    static constexpr char hexDigits[] = "0123456789ABCDEF";
    const auto last = path.find_last_not_of(" \t\r\n");
    std::string address;
    for (std::size_t i = 0; last != std::string::npos && i <= last; ++i) {
        const auto byte = static_cast<unsigned char>(path[i]);
        if (byte <= 0x20 || byte == 0x7f) {
            address += '%';
            address += hexDigits[byte >> 4];
            address += hexDigits[byte & 0x0f];
        } else {
            address += path[i];
        }
    }
    return address;
}

std::string addressScheme(std::string_view address)
{
    const auto colon = address.find(':');
    if (colon == std::string_view::npos || colon == 0 || !isAsciiLetter(address.front()))
        return {};
    const std::string_view scheme = address.substr(0, colon);
    if (!std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter))
        return {};
    std::string lowered(scheme);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), asciiLower);
    return lowered;
}

std::optional<std::string> refusalReason(std::string_view address)
{
    const std::string scheme = addressScheme(address);
    if (std::find(playedSchemes.begin(), playedSchemes.end(), scheme) != playedSchemes.end())
        return std::nullopt;
    const std::string played = "only http:, https:, icy: and icyx: streams are played";
    if (scheme.empty())
        return "the address names no scheme; " + played;
    return scheme + ": addresses are not played; " + played;
}

} // namespace boxmedia

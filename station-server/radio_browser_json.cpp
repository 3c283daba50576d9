#include "radio_browser_json.h"

#include "parse_number.h"
#include "text_encoding.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <span>

namespace station::radiobrowser {
namespace {

using Json = nlohmann::json;

// The most of a text from the reply that an error line quotes: the library
// quotes the token it stopped at, which may be a whole long string.
constexpr std::size_t longestQuote = 160;

constexpr std::string_view blanks = " \t\r\n";

// `text` fit for one line of a message: shortened, control characters as '?'.
std::string quotable(std::string_view text)
{
    const bool cut = text.size() > longestQuote;
    std::string quoted = repairedUtf8(text.substr(0, longestQuote));
    for (char &c : quoted) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    }
    return cut ? quoted + "..." : quoted;
}

// The library's message without its "[json.exception.parse_error.101] " tag.
std::string reasonOf(const Json::exception &error)
{
    std::string_view message = error.what();
    if (const std::size_t tagEnd = message.find("] "); message.starts_with('[') && tagEnd != std::string_view::npos)
        message.remove_prefix(tagEnd + 2);
    return quotable(message);
}

// Parses `reply`, keeping only the fields named in `wanted` at `fieldDepth`
// (1 in an object, 2 in the objects of an array), no structure nested in them
// and no bare values beside those objects: a hostile reply costs no more
// memory than the values that are read from it.
Json parseReply(std::string_view reply, std::string_view what, int fieldDepth, std::span<const std::string_view> wanted)
{
    const auto keep = [fieldDepth, wanted](int depth, Json::parse_event_t event, Json &parsed) {
        switch (event) {
        case Json::parse_event_t::key:
            return depth != fieldDepth
                   || std::ranges::find(wanted, parsed.get_ref<const std::string &>()) != wanted.end();
        case Json::parse_event_t::object_start:
        case Json::parse_event_t::array_start: return depth < fieldDepth;
        case Json::parse_event_t::value: return depth == 0 || depth >= fieldDepth;
        default: return true;
        }
    };
    try {
        return Json::parse(repairedUtf8(reply), keep);
    } catch (const Json::exception &error) {
        throw ReplyError("the " + std::string(what) + " reply is not JSON: " + reasonOf(error));
    }
}

void requireType(const Json &parsed, Json::value_t type, std::string_view what)
{
    if (parsed.type() == type)
        return;
    const std::string expected = type == Json::value_t::array ? "an array" : "an object";
    const std::string found = parsed.type_name();
    const std::string article = found == "array" || found == "object" ? "an " : "a ";
    throw ReplyError("the " + std::string(what) + " reply is " + article + found + ", not " + expected);
}

// The field `key` of `object`; nullptr when it has none.
const Json *fieldOf(const Json &object, std::string_view key)
{
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

// A string field's text; nullopt when it is missing or not a string.
std::optional<std::string> textOf(const Json &object, std::string_view key)
{
    const Json *field = fieldOf(object, key);
    if (field == nullptr || !field->is_string())
        return std::nullopt;
    return repairedUtf8(field->get_ref<const std::string &>());
}

// A whole number from a number (fractions cut off, clamped to the range of
// long long) or from a string of digits, as older replies gave them.
std::optional<long long> integerOf(const Json *field)
{
    constexpr auto largest = std::numeric_limits<long long>::max();
    constexpr auto smallest = std::numeric_limits<long long>::min();
    // 2^63, the first double beyond long long; its negative is the smallest.
    constexpr double beyond = 9223372036854775808.0;
    if (field == nullptr)
        return std::nullopt;
    switch (field->type()) {
    case Json::value_t::number_integer: return field->get<long long>();
    case Json::value_t::number_unsigned: {
        const auto value = field->get<unsigned long long>();
        return value > static_cast<unsigned long long>(largest) ? largest : static_cast<long long>(value);
    }
    case Json::value_t::number_float: {
        const double value = field->get<double>();
        if (!std::isfinite(value))
            return std::nullopt;
        if (value >= beyond)
            return largest;
        return value <= -beyond ? smallest : static_cast<long long>(value);
    }
    case Json::value_t::string: return parseNumber<long long>(field->get_ref<const std::string &>());
    default: return std::nullopt;
    }
}

// A yes or no from true/false, 1/0 (a number or a string) or "true"/"false".
std::optional<bool> flagOf(const Json *field)
{
    if (field != nullptr && field->is_boolean())
        return field->get<bool>();
    if (field != nullptr && field->is_string()) {
        const auto &text = field->get_ref<const std::string &>();
        if (text == "true" || text == "false")
            return text == "true";
    }
    const auto number = integerOf(field);
    if (number == 0 || number == 1)
        return number == 1;
    return std::nullopt;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string> tagsOf(std::string_view text)
{
    std::vector<std::string> tags;
    while (!text.empty()) {
        const std::size_t comma = text.find(',');
        const std::string_view tag = trimmed(text.substr(0, comma));
        if (!tag.empty())
            tags.emplace_back(tag);
        text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    }
    return tags;
}

std::optional<RemoteStation> stationFrom(const Json &entry)
{
    if (!entry.is_object())
        return std::nullopt;
    auto uuid = textOf(entry, "stationuuid");
    auto name = textOf(entry, "name");
    if (!uuid || !isStationUuid(*uuid) || !name)
        return std::nullopt;
    RemoteStation station;
    station.uuid = std::move(*uuid);
    station.name = std::move(*name);
    station.url = textOf(entry, "url").value_or("");
    station.resolvedUrl = textOf(entry, "url_resolved").value_or("");
    station.tags = tagsOf(textOf(entry, "tags").value_or(""));
    station.codec = textOf(entry, "codec").value_or("");
    const long long bitrate = integerOf(fieldOf(entry, "bitrate")).value_or(0);
    station.bitrate = bitrate > 0 && bitrate <= largestBitrate ? static_cast<long>(bitrate) : 0;
    station.hls = flagOf(fieldOf(entry, "hls")).value_or(false);
    station.lastCheckOk = flagOf(fieldOf(entry, "lastcheckok")).value_or(false);
    station.clickCount = std::max(integerOf(fieldOf(entry, "clickcount")).value_or(0), 0LL);
    return station;
}

} // namespace

bool isStationUuid(std::string_view text)
{
    return !text.empty() && text.size() <= 64 && std::ranges::all_of(text, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == '-';
    });
}

std::optional<std::string> streamAddress(std::string_view text)
{
    text = trimmed(text);
    const auto startsWith = [text](std::string_view scheme) {
        return text.size() > scheme.size()
               && std::ranges::equal(text.substr(0, scheme.size()), scheme,
                                     [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; });
    };
    if (!startsWith("http://") && !startsWith("https://"))
        return std::nullopt;
    std::string address;
    for (const char c : text) {
        if (c == ' ')
            address += "%20";
        else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            return std::nullopt;
        else
            address += c;
    }
    return address;
}

std::vector<Tag> parseTags(std::string_view json)
{
    constexpr std::string_view wanted[] = {"name", "stationcount"};
    const Json parsed = parseReply(json, "tags", 2, wanted);
    requireType(parsed, Json::value_t::array, "tags");
    std::vector<Tag> tags;
    for (const Json &entry : parsed) {
        if (!entry.is_object())
            continue;
        auto name = textOf(entry, "name");
        const auto count = integerOf(fieldOf(entry, "stationcount"));
        if (name && !trimmed(*name).empty() && count)
            tags.push_back(Tag{std::move(*name), std::max(*count, 0LL)});
    }
    return tags;
}

std::vector<RemoteStation> parseStations(std::string_view json)
{
    constexpr std::string_view wanted[] = {"stationuuid", "name",    "url", "url_resolved", "tags",
                                           "codec",       "bitrate", "hls", "lastcheckok",  "clickcount"};
    const Json parsed = parseReply(json, "stations", 2, wanted);
    requireType(parsed, Json::value_t::array, "stations");
    std::vector<RemoteStation> stations;
    stations.reserve(parsed.size());
    for (const Json &entry : parsed) {
        if (auto station = stationFrom(entry))
            stations.push_back(std::move(*station));
    }
    return stations;
}

StationAddress parseStationAddress(std::string_view json)
{
    constexpr std::string_view wanted[] = {"ok", "url", "name", "message"};
    const Json parsed = parseReply(json, "url", 1, wanted);
    requireType(parsed, Json::value_t::object, "url");
    if (flagOf(fieldOf(parsed, "ok")) != true) {
        const auto message = textOf(parsed, "message");
        throw NoStationAddress("the url reply does not say ok" + (message ? ": " + quotable(*message) : std::string()));
    }
    const auto url = textOf(parsed, "url");
    if (!url)
        throw NoStationAddress("the url reply has no url");
    auto address = streamAddress(*url);
    if (!address)
        throw NoStationAddress("the url reply's address is not a usable http: or https: address: \"" + quotable(*url)
                               + "\"");
    return StationAddress{std::move(*address), textOf(parsed, "name").value_or("")};
}

} // namespace station::radiobrowser

#include "request_framing.h"

#include "parse_number.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace station {
namespace {

bool sameLetters(std::string_view a, std::string_view b)
{
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    return a.size() == b.size()
           && std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

// A method or a header's name: letters, digits and the few marks HTTP allows,
// never a blank or a control character.
bool isToken(std::string_view text)
{
    const auto tokenCharacter = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0
               || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
    };
    return !text.empty() && std::all_of(text.begin(), text.end(), tokenCharacter);
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

// The methods whose requests cpp-httplib reads a body for even without a
// Content-Length (until the connection closes).
bool expectsBody(std::string_view method)
{
    return method == "POST" || method == "PUT" || method == "PATCH" || method == "PRI";
}

// The head read so far, line by line. Each line is judged as it completes,
// so what is decided on part of a request stands for the whole of it.
class HeadReader
{
public:
    // The framing the line (without its CR LF) decides, if any.
    std::optional<RequestFraming> take(std::string_view line)
    {
        if (method_.empty())
            return takeRequestLine(line);
        if (line.empty()) {
            ended_ = true;
            return std::nullopt;
        }
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || !isToken(line.substr(0, colon)))
            return RequestFraming::malformed;
        const std::string_view name = line.substr(0, colon);
        if (sameLetters(name, "Transfer-Encoding"))
            return RequestFraming::lengthRequired;
        if (sameLetters(name, "Content-Length"))
            return takeLength(trimmed(line.substr(colon + 1)));
        return std::nullopt;
    }

    bool ended() const { return ended_; }
    std::string_view method() const { return method_; }
    const std::optional<std::size_t> &length() const { return length_; }

private:
    std::optional<RequestFraming> takeRequestLine(std::string_view line)
    {
        const std::size_t space = line.find(' ');
        if (space == std::string_view::npos || !isToken(line.substr(0, space)))
            return RequestFraming::malformed;
        method_ = line.substr(0, space);
        return std::nullopt;
    }

    std::optional<RequestFraming> takeLength(std::string_view value)
    {
        const std::optional<std::size_t> length = parseNumber<std::size_t>(value);
        if (!length || (length_ && *length_ != *length))
            return RequestFraming::malformed;
        length_ = length;
        return std::nullopt;
    }

    std::string_view method_;
    std::optional<std::size_t> length_;
    bool ended_ = false;
};

} // namespace

RequestFraming frameRequest(std::string_view received, const RequestLimits &limits)
{
    HeadReader head;
    std::size_t lineStart = 0;
    while (!head.ended()) {
        const std::size_t lineFeed = received.find('\n', lineStart);
        const std::size_t lineEnd = lineFeed == std::string_view::npos ? received.size() : lineFeed + 1;
        if (lineEnd > limits.headBytes)
            return RequestFraming::headTooLarge;
        if (lineFeed == std::string_view::npos)
            return RequestFraming::incomplete;
        if (lineFeed == lineStart || received[lineFeed - 1] != '\r')
            return RequestFraming::malformed; // a bare line feed ends no line for the worker
        if (const auto decided = head.take(received.substr(lineStart, lineFeed - 1 - lineStart)))
            return *decided;
        lineStart = lineEnd;
    }
    if (!head.length())
        return expectsBody(head.method()) ? RequestFraming::lengthRequired : RequestFraming::complete;
    if (*head.length() > limits.bodyBytes)
        return RequestFraming::bodyTooLarge;
    return received.size() - lineStart >= *head.length() ? RequestFraming::complete : RequestFraming::incomplete;
}

std::string_view requestLineOf(std::string_view received)
{
    std::string_view line = received.substr(0, received.find('\n'));
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

} // namespace station

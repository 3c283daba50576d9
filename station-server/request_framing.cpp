#include "request_framing.h"

#include "parse_number.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace station {
namespace {

// The offset just past the blank line that ends the head (CR LF or a bare
// LF), or npos.
std::size_t endOfHead(std::string_view received)
{
    const std::size_t crlf = received.find("\n\r\n");
    const std::size_t lf = received.find("\n\n");
    if (crlf == std::string_view::npos && lf == std::string_view::npos)
        return std::string_view::npos;
    return crlf < lf ? crlf + 3 : lf + 2;
}

bool sameLetters(std::string_view a, std::string_view b)
{
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    return a.size() == b.size()
           && std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.remove_suffix(1);
    return text;
}

// The body length the head announces: Content-Length, unless the body is
// chunked; nullopt when there is none to wait for (an unreadable length is
// cpp-httplib's to refuse).
std::optional<std::size_t> announcedBodyLength(std::string_view head)
{
    std::optional<std::size_t> length;
    std::size_t lineStart = head.find('\n');
    while (lineStart != std::string_view::npos && lineStart + 1 < head.size()) {
        const std::size_t lineEnd = head.find('\n', lineStart + 1);
        const std::string_view line = head.substr(lineStart + 1, lineEnd - lineStart - 1);
        lineStart = lineEnd;
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            continue;
        const std::string_view name = trimmed(line.substr(0, colon));
        if (sameLetters(name, "Transfer-Encoding"))
            return std::nullopt;
        if (sameLetters(name, "Content-Length"))
            length = parseNumber<std::size_t>(trimmed(line.substr(colon + 1)));
    }
    return length;
}

} // namespace

RequestFraming frameRequest(std::string_view received, const RequestLimits &limits)
{
    const std::size_t headLength = endOfHead(received);
    if (headLength == std::string_view::npos)
        return received.size() > limits.headBytes ? RequestFraming::headTooLarge : RequestFraming::incomplete;
    if (headLength > limits.headBytes)
        return RequestFraming::headTooLarge;
    const std::optional<std::size_t> bodyLength = announcedBodyLength(received.substr(0, headLength));
    if (!bodyLength)
        return RequestFraming::complete;
    if (*bodyLength > limits.bodyBytes)
        return RequestFraming::bodyTooLarge;
    return received.size() - headLength >= *bodyLength ? RequestFraming::complete : RequestFraming::incomplete;
}

std::string_view requestLineOf(std::string_view received)
{
    std::string_view line = received.substr(0, received.find('\n'));
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

} // namespace station

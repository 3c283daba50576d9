// URL checks of the HTTP client: percent-encoding what plug-ins append
// unencoded, and libcurl's own URL parser for the rest.

#include "net/http_url.h"

#include "base/elog.h"

#include <curl/curl.h>

#include <memory>
#include <mutex>

namespace boxhost::net {

namespace {

bool isUnsafe(unsigned char byte)
{
    if (byte <= 0x20 || byte >= 0x7F)
        return true;
    return std::string_view("\"<>\\^`{|}").find(static_cast<char>(byte)) != std::string_view::npos;
}

// Where the path, query or fragment begins: after "scheme://host:port".
std::size_t endOfAuthority(std::string_view url)
{
    const std::size_t schemeEnd = url.find("://");
    if (schemeEnd == std::string_view::npos)
        return 0;
    const std::size_t end = url.find_first_of("/?#", schemeEnd + 3);
    return end == std::string_view::npos ? url.size() : end;
}

struct UrlHandleDeleter
{
    void operator()(CURLU *handle) const { curl_url_cleanup(handle); }
};

std::string urlPart(CURLU *handle, CURLUPart part)
{
    char *text = nullptr;
    if (curl_url_get(handle, part, &text, 0) != CURLUE_OK || text == nullptr)
        return {};
    std::string copy(text);
    curl_free(text);
    return copy;
}

} // namespace

std::string percentEncodeUnsafeBytes(std::string_view url)
{
    static constexpr char hexDigits[] = "0123456789ABCDEF";
    const std::size_t authorityEnd = endOfAuthority(url);
    std::string encoded(url.substr(0, authorityEnd));
    encoded.reserve(url.size() + 16);
    for (const char c : url.substr(authorityEnd)) {
        const auto byte = static_cast<unsigned char>(c);
        if (isUnsafe(byte)) {
            encoded += '%';
            encoded += hexDigits[byte >> 4];
            encoded += hexDigits[byte & 0x0F];
        } else {
            encoded += c;
        }
    }
    return encoded;
}

bool isFetchableUrl(const std::string &url)
{
    initCurlOnce();
    const std::unique_ptr<CURLU, UrlHandleDeleter> handle(curl_url());
    if (!handle || curl_url_set(handle.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK)
        return false;
    const std::string scheme = urlPart(handle.get(), CURLUPART_SCHEME);
    if (scheme != "http" && scheme != "https")
        return false;
    return !urlPart(handle.get(), CURLUPART_HOST).empty();
}

void initCurlOnce()
{
    static std::once_flag once;
    std::call_once(once, [] {
        if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
            eError("eHTTPConnection: libcurl could not be set up");
        const curl_version_info_data *info = curl_version_info(CURLVERSION_NOW);
        if (info != nullptr && (info->features & CURL_VERSION_ASYNCHDNS) == 0)
            eWarning("eHTTPConnection: libcurl %s resolves host names synchronously; a slow name server "
                     "stalls the main loop",
                     info->version);
    });
}

} // namespace boxhost::net

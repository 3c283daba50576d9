#include "upstream_fetch.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>
#include <mutex>

namespace station {
namespace {

struct CurlHandleFree
{
    void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
};

struct Download
{
    std::string body;
    std::size_t largest = 0;
    bool tooLarge = false;
};

std::size_t keepBody(char *data, std::size_t size, std::size_t count, void *userData)
{
    auto *download = static_cast<Download *>(userData);
    const std::size_t bytes = size * count;
    if (download->body.size() + bytes > download->largest) {
        download->tooLarge = true;
        return 0; // ends the transfer with CURLE_WRITE_ERROR
    }
    download->body.append(data, bytes);
    return bytes;
}

std::string seconds(std::chrono::milliseconds duration)
{
    return std::to_string((duration.count() + 999) / 1000) + " s";
}

// "32 MiB", "256 KiB", "100 bytes".
std::string sizeText(std::size_t bytes)
{
    constexpr std::size_t kib = 1024;
    if (bytes % (kib * kib) == 0 && bytes > 0)
        return std::to_string(bytes / (kib * kib)) + " MiB";
    if (bytes % kib == 0 && bytes > 0)
        return std::to_string(bytes / kib) + " KiB";
    return std::to_string(bytes) + " bytes";
}

std::string failure(CURLcode code, const Download &download, const FetchLimits &limits, const char *detail)
{
    if (download.tooLarge)
        return "the reply is larger than " + sizeText(download.largest);
    if (code == CURLE_OPERATION_TIMEDOUT)
        return "no whole reply within " + seconds(limits.whole) + " (or no connection within " + seconds(limits.connect)
               + ")";
    return detail[0] != '\0' ? std::string(detail) : std::string(curl_easy_strerror(code));
}

} // namespace

std::string shownUrl(std::string_view url)
{
    return std::string(url.substr(0, url.find_first_of("?#")));
}

std::string gatewayUserAgent()
{
    return std::string("Tarnwave/") + TARNWAVE_VERSION + " (station-server gateway)";
}

void curlGlobalInit()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

FetchResult fetchUrl(const std::string &url, const FetchLimits &limits)
{
    FetchResult result;
    const std::unique_ptr<CURL, CurlHandleFree> handle(curl_easy_init());
    if (!handle) {
        result.error = "cannot make a request for " + shownUrl(url);
        return result;
    }
    Download download;
    download.largest = limits.largestBody;
    char detail[CURL_ERROR_SIZE] = {};
    const std::string userAgent = gatewayUserAgent();
    CURL *curl = handle.get();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(curl, CURLOPT_USERAGENT, userAgent.c_str());
    curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, ""); // whatever libcurl can decode
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connect.count()));
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(limits.whole.count()));
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L); // many threads; no SIGALRM for name lookups
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, keepBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &download);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, detail);

    const CURLcode code = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &result.status);
    if (code != CURLE_OK) {
        result.error = failure(code, download, limits, detail) + ": " + shownUrl(url);
        return result;
    }
    if (result.status < 200 || result.status > 299) {
        result.error = "HTTP " + std::to_string(result.status) + " from " + shownUrl(url);
        return result;
    }
    result.ok = true;
    result.body = std::move(download.body);
    return result;
}

FetchBudget::FetchBudget(const FetchLimits &limits, std::chrono::milliseconds total)
    : limits_(limits), total_(total), deadline_(Clock::now() + total)
{
}

FetchResult FetchBudget::fetch(const std::string &url) const
{
    using std::chrono::milliseconds;
    const milliseconds left = std::chrono::duration_cast<milliseconds>(deadline_ - Clock::now());
    if (left < milliseconds(1)) {
        FetchResult spent;
        spent.error = "not asked, for the whole reply must come within " + seconds(total_) + ": " + shownUrl(url);
        return spent;
    }
    FetchLimits limits = limits_;
    limits.whole = std::min(limits.whole, left);
    limits.connect = std::min(limits.connect, left);
    return fetchUrl(url, limits);
}

} // namespace station

// HttpTransfer: one request as a libcurl easy handle on the loop's driver.

#include "net/http_transfer.h"

#include "base/elog.h"
#include "net/curl_loop_driver.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace boxhost::net {

namespace {

std::string_view trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string_view::npos)
        return {};
    const std::size_t end = text.find_last_not_of(" \t\r\n");
    return text.substr(begin, end - begin + 1);
}

} // namespace

HttpTransfer::HttpTransfer(eHTTPConnection &connection, eMainloop *loop)
    : m_connection(connection), m_loop(loop), m_stallTimer(loop)
{
    m_stallTimer.timeout.connect([this] { checkStall(); });
}

HttpTransfer::~HttpTransfer()
{
    if (m_running)
        m_driver->remove(m_easy);
    if (m_easy != nullptr)
        curl_easy_cleanup(m_easy);
    curl_slist_free_all(m_headers);
}

bool HttpTransfer::start(const std::string &url, const std::map<eString, eString> &headers,
                         const eHTTPConnection::Limits &limits)
{
    m_easy = curl_easy_init();
    if (m_easy == nullptr)
        return false;
    for (const auto &[name, value] : headers) {
        // "Name;" is libcurl's way of sending a header with an empty value.
        const std::string line = value.empty() ? name + ";" : name + ": " + value;
        curl_slist *appended = curl_slist_append(m_headers, line.c_str());
        if (appended == nullptr)
            return false;
        m_headers = appended;
    }
    m_maxBodyBytes = limits.maxBodyBytes;

    curl_easy_setopt(m_easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(m_easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(m_easy, CURLOPT_MAXREDIRS, static_cast<long>(limits.maxRedirects));
    curl_easy_setopt(m_easy, CURLOPT_CONNECTTIMEOUT_MS, limits.connectTimeoutMs);
    // Refuses a body whose announced length is too large before it comes;
    // onBody counts the rest.
    curl_easy_setopt(m_easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits.maxBodyBytes));
    curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, m_headers);
    curl_easy_setopt(m_easy, CURLOPT_HEADERFUNCTION, &HttpTransfer::onHeaderLine);
    curl_easy_setopt(m_easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_WRITEFUNCTION, &HttpTransfer::onBody);
    curl_easy_setopt(m_easy, CURLOPT_WRITEDATA, this);

    m_driver = CurlLoopDriver::forLoop(m_loop);
    const bool added = m_driver->add(m_easy, [this](CURLcode result) {
        m_running = false;
        if (result != CURLE_OK)
            eDebug("eHTTPConnection: %s: %s", m_connection.url().c_str(), curl_easy_strerror(result));
        finish(resultCode(result, m_bodyTooLarge));
    });
    if (!added)
        return false;
    m_running = true;

    m_stallLimit = std::chrono::milliseconds(std::max(limits.stallTimeoutMs, 1L));
    m_lastActivity = boxhost::monotonicNow();
    m_stallTimer.start(std::max(limits.stallTimeoutMs, 1L), true);
    return true;
}

int HttpTransfer::resultCode(CURLcode result, bool bodyTooLarge)
{
    if (bodyTooLarge)
        return eHTTPConnection::errorTooLarge;
    switch (result) {
    case CURLE_OK: return 0;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY: return eHTTPConnection::errorHostNotFound;
    case CURLE_COULDNT_CONNECT: return eHTTPConnection::errorConnect;
    case CURLE_FILESIZE_EXCEEDED: return eHTTPConnection::errorTooLarge;
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM: return eHTTPConnection::errorBroken;
    default: return eHTTPConnection::errorOther;
    }
}

std::size_t HttpTransfer::onHeaderLine(char *line, std::size_t size, std::size_t count, void *transfer)
{
    auto *self = static_cast<HttpTransfer *>(transfer);
    self->m_lastActivity = boxhost::monotonicNow();
    self->headerLine(std::string_view(line, size * count));
    return size * count;
}

std::size_t HttpTransfer::onBody(char *data, std::size_t size, std::size_t count, void *transfer)
{
    auto *self = static_cast<HttpTransfer *>(transfer);
    const std::size_t length = size * count;
    if (length == 0)
        return 0;
    self->m_lastActivity = boxhost::monotonicNow();
    self->m_bodyBytes += static_cast<long long>(length);
    if (self->m_bodyBytes > self->m_maxBodyBytes) {
        self->m_bodyTooLarge = true;
        return 0; // stops the transfer with a write error
    }
    self->m_connection.bodyPiece(data, length);
    return length;
}

void HttpTransfer::headerLine(std::string_view line)
{
    if (line.starts_with("HTTP/")) {
        // "HTTP/1.1 404 Not Found": a new reply, redirected or final.
        m_statusCode = 0;
        m_reason.clear();
        const std::size_t space = line.find(' ');
        if (space == std::string_view::npos)
            return;
        const std::string_view rest = line.substr(space + 1);
        const std::string_view digits = rest.substr(0, 3);
        std::from_chars(digits.data(), digits.data() + digits.size(), m_statusCode);
        if (rest.size() > 3)
            m_reason = trimmed(rest.substr(3));
        return;
    }
    if (trimmed(line).empty() && m_statusCode != 0)
        m_connection.replyStatus(m_statusCode, m_reason); // the end of a reply's headers
}

void HttpTransfer::finish(int result)
{
    m_stallTimer.stop();
    m_connection.finished(result);
}

void HttpTransfer::checkStall()
{
    if (!m_running)
        return;
    const boxhost::MonotonicTime quiet = boxhost::monotonicNow() - m_lastActivity;
    if (quiet < m_stallLimit) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_stallLimit - quiet);
        m_stallTimer.start(static_cast<long>(left.count()), true);
        return;
    }
    m_driver->remove(m_easy);
    m_running = false;
    eDebug("eHTTPConnection: %s: no data for %lld ms", m_connection.url().c_str(),
           static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(quiet).count()));
    finish(eHTTPConnection::errorBroken);
}

} // namespace boxhost::net

#ifndef TARNWAVE_HOST_NET_HTTP_TRANSFER_H
#define TARNWAVE_HOST_NET_HTTP_TRANSFER_H

// One GET request of an eHTTPConnection as a libcurl easy handle (host
// internal): options and limits, the status line, the body pieces, the stall
// watchdog, and libcurl's result turned into the connection's error codes.
//
// It reports to its connection from inside libcurl's callbacks (status, body
// pieces) and from loop callbacks (the end); the connection only records
// those and delivers them later from the loop.

#include "net/ehttpconnection.h"

#include <curl/curl.h>

#include <map>
#include <memory>
#include <string>

namespace boxhost::net {

class CurlLoopDriver;

class HttpTransfer
{
public:
    HttpTransfer(eHTTPConnection &connection, eMainloop *loop);
    // Takes a running request out of libcurl; nothing is reported afterwards.
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer &) = delete;
    HttpTransfer &operator=(const HttpTransfer &) = delete;

    // Starts the request; false when libcurl would not take it.
    bool start(const std::string &url, const std::map<eString, eString> &headers,
               const eHTTPConnection::Limits &limits);

    // The connection's code for libcurl's result.
    static int resultCode(CURLcode result, bool bodyTooLarge);

private:
    static std::size_t onHeaderLine(char *line, std::size_t size, std::size_t count, void *transfer);
    static std::size_t onBody(char *data, std::size_t size, std::size_t count, void *transfer);

    void headerLine(std::string_view line);
    void finish(int result);
    void checkStall();

    eHTTPConnection &m_connection;
    eMainloop *m_loop;
    std::shared_ptr<CurlLoopDriver> m_driver;
    CURL *m_easy = nullptr;
    curl_slist *m_headers = nullptr;
    bool m_running = false;

    long long m_maxBodyBytes = 0;
    long long m_bodyBytes = 0;
    bool m_bodyTooLarge = false;

    // The reply whose headers are being read (each redirect starts anew).
    int m_statusCode = 0;
    std::string m_reason;

    // Stall watchdog: fires when nothing arrived for the stall time.
    eTimer m_stallTimer;
    boxhost::MonotonicTime m_stallLimit{};
    boxhost::MonotonicTime m_lastActivity{};
};

} // namespace boxhost::net

#endif

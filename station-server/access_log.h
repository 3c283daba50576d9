#ifndef TARNWAVE_STATION_SERVER_ACCESS_LOG_H
#define TARNWAVE_STATION_SERVER_ACCESS_LOG_H

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace station {

// One served request.
struct AccessRecord
{
    std::string client; // "127.0.0.1:43512"
    std::string requestLine; // as it arrived
    int status = 0; // 0: closed without a reply
    std::size_t bytesSent = 0;
    std::chrono::milliseconds duration{0};
    std::string userAgent;
};

// The access log: one line per request, written whole and flushed, on stderr
// or appended to a file:
//   2024-05-01T12:00:00.123Z 127.0.0.1:43512 "GET /sbin/newxml.phtml HTTP/1.1" 200 2345 1ms "Streamripper/1.x"
// Server messages (start, stop) go to the same place, prefixed "station-server:".
class AccessLog
{
public:
    // Logs to stderr.
    AccessLog();
    // Appends to `file`; throws std::runtime_error when it cannot be opened.
    explicit AccessLog(const std::filesystem::path &file);
    ~AccessLog();
    AccessLog(const AccessLog &) = delete;
    AccessLog &operator=(const AccessLog &) = delete;

    void record(const AccessRecord &entry);
    void note(std::string_view message);

private:
    void writeLine(const std::string &line);

    std::mutex mutex_;
    std::FILE *out_;
    bool ownsFile_;
};

} // namespace station

#endif

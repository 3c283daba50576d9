#include "access_log.h"

#include <ctime>
#include <stdexcept>

namespace station {
namespace {

std::string timestampNow()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[40];
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &utc);
    char withMillis[48];
    std::snprintf(withMillis, sizeof(withMillis), "%s.%03dZ", text, static_cast<int>(millis));
    return withMillis;
}

// Quotes a logged text; quotes and control characters inside are escaped so
// that every entry stays one line.
std::string loggedText(std::string_view text)
{
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
            out += escape;
        } else {
            out += c;
        }
    }
    out += '"';
    return out;
}

} // namespace

AccessLog::AccessLog() : out_(stderr), ownsFile_(false)
{
}

AccessLog::AccessLog(const std::filesystem::path &file) : out_(std::fopen(file.c_str(), "a")), ownsFile_(true)
{
    if (out_ == nullptr)
        throw std::runtime_error("cannot open the log file " + file.string());
}

AccessLog::~AccessLog()
{
    if (ownsFile_)
        std::fclose(out_);
}

void AccessLog::record(const AccessRecord &entry)
{
    std::string line = timestampNow();
    line += ' ';
    line += entry.client;
    line += ' ';
    line += loggedText(entry.requestLine);
    line += ' ';
    line += entry.status == 0 ? std::string("-") : std::to_string(entry.status);
    line += ' ';
    line += std::to_string(entry.bytesSent);
    line += ' ';
    line += std::to_string(entry.duration.count());
    line += "ms ";
    line += loggedText(entry.userAgent);
    writeLine(line);
}

void AccessLog::note(std::string_view message)
{
    writeLine(timestampNow() + " station-server: " + std::string(message));
}

void AccessLog::writeLine(const std::string &line)
{
    std::lock_guard lock(mutex_);
    std::fwrite(line.data(), 1, line.size(), out_);
    std::fputc('\n', out_);
    std::fflush(out_);
}

} // namespace station

#include "station_server_child.h"

#include <vector>

namespace emulator {
namespace {

constexpr auto readyLimit = std::chrono::seconds(15);
constexpr std::string_view readyPrefix = "station-server: listening on ";

// The last non-empty line of the server's log: what it complained about.
std::string lastLine(std::string text)
{
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    const std::size_t start = text.rfind('\n');
    return start == std::string::npos ? text : text.substr(start + 1);
}

} // namespace

bool StationServerChild::start(const std::string &binary, const std::string &listen, const std::string &upstream,
                               const std::string &logFile, std::string &error)
{
    boxhost::ChildOptions options;
    options.stopWithParent = true;
    options.errorFile = logFile;
    std::vector<std::string> arguments{"--listen", listen};
    if (!upstream.empty())
        arguments.insert(arguments.end(), {"--upstream", upstream});
    if (!m_process.start(binary, arguments, options, error))
        return false;
    const boxhost::ChildLine ready = m_process.waitForLine(readyPrefix, readyLimit);
    if (!ready.found()) {
        stop();
        if (ready.outcome == boxhost::ChildLine::Outcome::timedOut) {
            error = "station-server did not say it was ready within " + std::to_string(readyLimit.count()) + " s";
        } else {
            const std::string complaint = lastLine(m_process.errors());
            error = "station-server did not start" + (complaint.empty() ? std::string() : ": " + complaint);
        }
        return false;
    }
    m_url = ready.line.substr(readyPrefix.size());
    while (!m_url.empty() && (m_url.back() == '\r' || m_url.back() == '/'))
        m_url.pop_back();
    // What it prints later is read and dropped, so that it never blocks on a full pipe.
    m_process.discardOutput();
    return true;
}

} // namespace emulator

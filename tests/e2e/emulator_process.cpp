#include "emulator_process.h"

#include "support/sanitizer_report.h"

#include <httplib.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto startLimit = std::chrono::seconds(20);
constexpr std::string_view readyMessage = "box-emulator: listening on http://";

std::string fileText(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

HttpReply toReply(const httplib::Result &result)
{
    HttpReply reply;
    if (!result)
        return reply;
    reply.status = result->status;
    reply.body = result->body;
    reply.contentType = result->get_header_value("Content-Type");
    return reply;
}

} // namespace

std::string emulatorBinary()
{
    return TARNWAVE_EMULATOR_BINARY;
}

std::string testPluginPath()
{
    return TARNWAVE_TEST_PLUGIN;
}

std::string noEntryPluginPath()
{
    return TARNWAVE_NO_ENTRY_PLUGIN;
}

EmulatorProcess::EmulatorProcess(std::vector<std::string> arguments, const BoxContents &contents)
{
    if (!contents.settings.empty()) {
        // The configuration store's own file format, keys in byte order.
        std::string store = "# boxhost configuration 1\n";
        for (const auto &[key, value] : contents.settings)
            store += "i:" + key + "=" + std::to_string(value) + "\n";
        store += "# end of boxhost configuration\n";
        writeFile(m_root.file("box/var/tuxbox/config/boxhost.conf"), store);
    }
    if (!contents.favourites.empty())
        writeFile(m_root.file("box/var/tuxbox/config/genrelist.xml"), contents.favourites);

    std::vector<std::string> all = {"--headless", "--root", (m_root.path() / "box").string(), "--listen",
                                    "127.0.0.1:0"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    m_emulator = startProgram(emulatorBinary(), all);
    const boxhost::ChildLine ready = m_emulator.waitForLine(readyMessage, startLimit);
    if (!ready.found()) {
        stop(std::chrono::seconds(2));
        throw std::runtime_error("box-emulator did not start: " + ready.before + errors());
    }
    const std::size_t colon = ready.line.find(':', readyMessage.size());
    m_port = colon == std::string::npos ? 0 : std::atoi(ready.line.c_str() + colon + 1);
    // What it prints later is read and dropped, so that it never blocks on a full pipe.
    m_emulator.discardOutput();
}

std::string EmulatorProcess::boxFile(const std::string &boxPath) const
{
    return (m_root.path() / "box").string() + boxPath;
}

EmulatorProcess::~EmulatorProcess()
{
    stop(std::chrono::seconds(5));
    // A finding of the sanitizers fails the test that started the emulator.
    if (const std::string report = sanitizerReport(errors()); !report.empty())
        ADD_FAILURE() << "box-emulator had a sanitizer finding:\n" << report;
}

int EmulatorProcess::stop(std::chrono::milliseconds limit)
{
    return exitStatusOf(m_emulator.stop(limit));
}

std::optional<int> EmulatorProcess::waitForExit(std::chrono::milliseconds limit)
{
    if (!m_emulator.running())
        return std::nullopt;
    const std::optional<boxhost::ChildExit> end = m_emulator.waitForExit(limit);
    if (!end)
        return std::nullopt;
    return exitStatusOf(*end);
}

std::string EmulatorProcess::errors() const
{
    return m_emulator.errors();
}

HttpReply EmulatorProcess::get(const std::string &path) const
{
    return send("GET", path, {});
}

HttpReply EmulatorProcess::post(const std::string &path, const std::string &body) const
{
    return send("POST", path, {}, body);
}

HttpReply EmulatorProcess::send(const std::string &method, const std::string &path, const Headers &headers,
                                const std::string &body) const
{
    httplib::Client client("127.0.0.1", m_port);
    client.set_read_timeout(std::chrono::seconds(30));
    const httplib::Headers extra(headers.begin(), headers.end());
    return toReply(method == "GET" ? client.Get(path, extra) : client.Post(path, extra, body, "text/plain"));
}

bool EmulatorProcess::waitForBody(const std::string &path, const std::string &text,
                                  std::chrono::milliseconds limit) const
{
    const auto deadline = Clock::now() + limit;
    while (Clock::now() < deadline) {
        if (get(path).body.find(text) != std::string::npos)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

EmulatorExit runEmulatorToExit(const std::vector<std::string> &arguments, std::chrono::milliseconds limit)
{
    // One that goes on after closing its stdout has a second to end, and a
    // second after SIGTERM.
    EmulatorExit result =
        runProgramToExit(emulatorBinary(), arguments, limit, std::chrono::seconds(1), std::chrono::seconds(1));
    if (const std::string report = sanitizerReport(result.errors); !report.empty())
        ADD_FAILURE() << "box-emulator had a sanitizer finding:\n" << report;
    return result;
}

bool processGone(pid_t pid, std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    for (;;) {
        const std::string stat = fileText("/proc/" + std::to_string(pid) + "/stat");
        // Gone, or a zombie waiting for a parent that is not this test.
        const std::size_t close = stat.rfind(')');
        if (stat.empty() || (close != std::string::npos && stat.compare(close + 2, 1, "Z") == 0))
            return true;
        if (Clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

std::vector<pid_t> childrenOf(pid_t pid)
{
    std::vector<pid_t> children;
    std::error_code code;
    for (const auto &task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task", code)) {
        std::istringstream list(fileText((task.path() / "children").string()));
        pid_t child = 0;
        while (list >> child)
            children.push_back(child);
    }
    return children;
}

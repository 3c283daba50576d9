#include "emulator_process.h"

#include "support/sanitizer_report.h"

#include <httplib.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char **environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto startLimit = std::chrono::seconds(20);
constexpr std::string_view readyMessage = "box-emulator: listening on http://";

struct Spawned
{
    pid_t pid = -1;
    int output = -1;
};

Spawned spawnEmulator(const std::vector<std::string> &arguments, const std::string &errorFile)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("cannot create a pipe for box-emulator");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);

    std::vector<std::string> all{emulatorBinary()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (std::string &argument : all)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    Spawned spawned;
    const int failed = posix_spawn(&spawned.pid, all[0].c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (failed != 0) {
        ::close(ends[0]);
        throw std::runtime_error("cannot start " + all[0] + ": " + std::strerror(failed));
    }
    spawned.output = ends[0];
    return spawned;
}

std::optional<int> reap(pid_t pid, std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    for (;;) {
        int status = 0;
        const pid_t done = ::waitpid(pid, &status, WNOHANG);
        if (done == pid)
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        if (done < 0)
            return -1;
        if (Clock::now() >= deadline)
            return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

int stopProcess(pid_t pid, std::chrono::milliseconds limit)
{
    ::kill(pid, SIGTERM);
    if (const auto status = reap(pid, limit))
        return *status;
    ::kill(pid, SIGKILL);
    reap(pid, std::chrono::seconds(5));
    return -1;
}

// Reads from `fd` until `limit` or end of file; appends to `text`. Stops early
// once `until` appears (when it is not empty).
void readFor(int fd, std::string &text, std::chrono::milliseconds limit, std::string_view until = {})
{
    const auto deadline = Clock::now() + limit;
    while (until.empty() || text.find(until) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return;
        pollfd watch{fd, POLLIN, 0};
        if (::poll(&watch, 1, static_cast<int>(left.count())) <= 0)
            continue;
        char buffer[1024];
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got <= 0)
            return;
        text.append(buffer, static_cast<std::size_t>(got));
    }
}

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
    : m_errorFile((m_root.path().parent_path() / (m_root.path().filename().string() + ".emulator.log")).string())
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
    const Spawned spawned = spawnEmulator(all, m_errorFile);
    m_pid = spawned.pid;
    m_output = spawned.output;

    std::string received;
    readFor(m_output, received, startLimit, "\n");
    const std::size_t at = received.find(readyMessage);
    if (at == std::string::npos) {
        stop(std::chrono::seconds(2));
        throw std::runtime_error("box-emulator did not start: " + received + errors());
    }
    const std::size_t colon = received.find(':', at + readyMessage.size());
    m_port = std::atoi(received.c_str() + colon + 1);
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
    std::error_code ignored;
    std::filesystem::remove(m_errorFile, ignored);
}

int EmulatorProcess::stop(std::chrono::milliseconds limit)
{
    int status = -1;
    if (m_pid > 0) {
        status = stopProcess(m_pid, limit);
        m_pid = -1;
    }
    if (m_output >= 0) {
        ::close(m_output);
        m_output = -1;
    }
    return status;
}

std::optional<int> EmulatorProcess::waitForExit(std::chrono::milliseconds limit)
{
    if (m_pid <= 0)
        return std::nullopt;
    const auto status = reap(m_pid, limit);
    if (status)
        m_pid = -1;
    return status;
}

std::string EmulatorProcess::errors() const
{
    return fileText(m_errorFile);
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
    TempDir scratch;
    const std::string errorFile = (scratch.path() / "stderr").string();
    const Spawned spawned = spawnEmulator(arguments, errorFile);
    EmulatorExit result;
    readFor(spawned.output, result.output, limit);
    ::close(spawned.output);
    if (const auto status = reap(spawned.pid, std::chrono::seconds(1))) {
        result.status = *status;
    } else {
        stopProcess(spawned.pid, std::chrono::seconds(1));
        result.status = -1;
    }
    result.errors = fileText(errorFile);
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

// station-server: a local stand-in for the internet station directory (see
// usageText() in options.cpp and README.md).

#include "access_log.h"
#include "catalogue.h"
#include "directory_gateway.h"
#include "faults.h"
#include "http_server.h"
#include "live_stream.h"
#include "loop_cache.h"
#include "options.h"
#include "radio_browser_gateway.h"
#include "shoutcast_gateway.h"
#include "station_service.h"
#include "stop_flag.h"
#include "title_schedule.h"
#include "upstream_fetch.h"
#include "upstream_servers.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <pthread.h>
#include <random>
#include <thread>

namespace {

constexpr int exitUnusable = 2;
// Encoded loops kept for the next listener (at most about 11 MB at 320 kbit/s).
constexpr std::size_t cachedLoops = 64;

int refuse(const std::string &message)
{
    std::fprintf(stderr, "station-server: %s\n", message.c_str());
    return exitUnusable;
}

std::string urlAuthority(const std::string &host, int port)
{
    return (host.find(':') != std::string::npos ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

// Waits for SIGINT or SIGTERM (blocked in every thread, so they arrive only
// here), then raises the stop flag and stops the server once it runs.
class StopOnSignal
{
public:
    StopOnSignal(station::StopFlag &stop, httplib::Server &server, station::AccessLog &log)
        : thread_([this, &stop, &server, &log] { run(stop, server, log); })
    {
    }

    ~StopOnSignal()
    {
        {
            std::lock_guard lock(mutex_);
            serverDone_ = true;
        }
        thread_.join();
    }

    StopOnSignal(const StopOnSignal &) = delete;
    StopOnSignal &operator=(const StopOnSignal &) = delete;

private:
    bool serverDone()
    {
        std::lock_guard lock(mutex_);
        return serverDone_;
    }

    void run(station::StopFlag &stop, httplib::Server &server, station::AccessLog &log)
    {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        const timespec wait{0, 100'000'000};
        int received = -1;
        while (received < 0 && !serverDone())
            received = sigtimedwait(&signals, nullptr, &wait);
        if (received < 0)
            return;
        log.note(std::string("stopping on ") + (received == SIGINT ? "SIGINT" : "SIGTERM"));
        stop.raise();
        // The signal may come before the server has started listening.
        while (!serverDone()) {
            if (server.is_running()) {
                server.stop();
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    std::mutex mutex_;
    bool serverDone_ = false;
    std::thread thread_;
};

// The gateway --upstream asks for, or null with the refusal. The community
// directory's mirrors are those given or those its DNS names, asked in an
// order of this run's own; the log names the upstream, never a key.
std::unique_ptr<station::DirectoryGateway> makeGateway(const station::ServerOptions &options,
                                                       std::unique_ptr<station::ServerRotation> &mirrors,
                                                       station::AccessLog &log, std::string &refusal)
{
    if (options.upstream == station::ServerOptions::Upstream::shoutcast) {
        log.note("a gateway to the SHOUTcast directory at " + options.shoutcast.apiUrl + " (playlists from "
                 + options.shoutcast.tuneInUrl + ")");
        return std::make_unique<station::ShoutcastGateway>(options.shoutcast);
    }
    std::vector<std::string> servers = options.radioBrowserServers;
    if (servers.empty()) {
        std::string why;
        servers = station::lookUpSrvServers(station::radioBrowserSrvName, why);
        if (servers.empty()) {
            refusal = "--upstream radio-browser: " + why + "; name the mirrors with radio-browser=URL,...";
            return nullptr;
        }
    }
    std::mt19937 random(std::random_device{}());
    mirrors = std::make_unique<station::ServerRotation>(std::move(servers), random);
    std::string names;
    for (const std::string &mirror : mirrors->servers())
        names += (names.empty() ? "" : ", ") + mirror;
    log.note("a gateway to the community radio directory at " + names);
    return std::make_unique<station::RadioBrowserGateway>(*mirrors);
}

} // namespace

int main(int argc, char **argv)
{
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    station::ServerOptions options;
    try {
        options = station::parseOptions(std::vector<std::string>(argv, argv + argc), TARNWAVE_DEFAULT_CATALOGUE);
    } catch (const station::UsageError &error) {
        return refuse(error.what());
    }
    if (options.help) {
        std::fputs(station::usageText().c_str(), stdout);
        return 0;
    }

    std::unique_ptr<station::Catalogue> catalogue;
    try {
        catalogue = std::make_unique<station::Catalogue>(station::loadCatalogue(options.catalogue));
    } catch (const station::CatalogueError &error) {
        return refuse(std::string("unusable catalogue: ") + error.what());
    }
    std::unique_ptr<station::AccessLog> log;
    try {
        log = options.logFile.empty() ? std::make_unique<station::AccessLog>()
                                      : std::make_unique<station::AccessLog>(options.logFile);
    } catch (const std::exception &error) {
        return refuse(error.what());
    }

    station::StopFlag stop;
    const station::TitleSchedule titles(options.titles.empty() ? catalogue->titles() : options.titles,
                                        options.titleInterval, station::TitleSchedule::Clock::now());
    station::LoopCache loops(cachedLoops);
    station::FaultTable faults;
    for (const station::FaultRule &rule : options.faults)
        faults.add(rule);
    // Made below when asked for; they outlive the server's workers.
    std::unique_ptr<station::ServerRotation> mirrors;
    std::unique_ptr<station::DirectoryGateway> gateway;
    station::StationHttpServer server(stop, *log, options.workers, options.requestTimeout);
    station::StationService service(*catalogue, titles, loops, faults,
                                    station::LiveStreamSettings{options.metadataInterval, options.burst});
    service.installOn(server);

    if (options.upstream != station::ServerOptions::Upstream::none) {
        station::curlGlobalInit();
        std::string refusal;
        gateway = makeGateway(options, mirrors, *log, refusal);
        if (!gateway)
            return refuse(refusal);
        service.useGateway(*gateway);
    }

    errno = 0;
    int port = options.port;
    const bool bound =
        port == 0 ? (port = server.bind_to_any_port(options.host)) > 0 : server.bind_to_port(options.host, port);
    if (!bound) {
        const int cause = errno;
        return refuse("cannot listen on " + urlAuthority(options.host, options.port)
                      + (cause != 0 ? std::string(": ") + std::strerror(cause) : std::string()));
    }
    server.widenListenBacklog();
    const std::string address = "http://" + urlAuthority(options.host, port);
    std::printf("station-server: listening on %s\n", address.c_str());
    std::fflush(stdout);
    log->note("listening on " + address + " with " + std::to_string(catalogue->stations().size()) + " stations");

    {
        StopOnSignal stopOnSignal(stop, server, *log);
        server.listen_after_bind();
    }
    log->note("stopped");
    return 0;
}

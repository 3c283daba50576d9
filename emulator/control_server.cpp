#include "control_server.h"

#include "gui_bridge.h"
#include "plugin_menu.h"
#include "remote_input.h"
#include "request_guard.h"
#include "screen_composer.h"
#include "settle_state.h"
#include "web_assets.h"

#include "base/elog.h"
#include "gui/drawing/png_io.h"
#include "gui/drawing/utf8.h"
#include "gui/ewindow.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"
#include "gui/widgets/json_writer.h"
#include "system/ezaplcd.h"

#include <httplib.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <optional>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace emulator {
namespace {

using namespace std::chrono_literals;

constexpr auto settleDefault = 5000ms;
constexpr auto settleMost = 120000ms;
constexpr auto startLimit = 5000ms;
constexpr auto settleProbeLeast = 50ms;
constexpr auto pollPause = 10ms;
constexpr int serverThreads = 24;
// No request of the page or the API comes near this; larger bodies get 413.
constexpr std::size_t largestBody = 64 * 1024;

void replyJson(httplib::Response &response, const std::string &json, int status = 200)
{
    response.status = status;
    response.set_header("Cache-Control", "no-store");
    response.set_content(json, "application/json");
}

void replyError(httplib::Response &response, int status, const std::string &message)
{
    JsonWriter json;
    json.beginObject().key("error").value(message).endObject();
    replyJson(response, json.str(), status);
}

void replyBusy(httplib::Response &response)
{
    replyError(response, 503, "the box's GUI did not answer in time");
}

void replyPng(httplib::Response &response, const std::shared_ptr<gPixmap> &picture)
{
    const std::string png = picture ? encodePNG(*picture) : std::string();
    if (png.empty()) {
        replyError(response, 500, "the picture could not be encoded");
        return;
    }
    response.set_header("Cache-Control", "no-store");
    response.set_content(png, "image/png");
}

const char *levelName(boxlog::Level level)
{
    switch (level) {
    case boxlog::Level::debug: return "debug";
    case boxlog::Level::warning: return "warning";
    case boxlog::Level::error: return "error";
    case boxlog::Level::quiet: return "quiet";
    }
    return "debug";
}

long long numberParameter(const httplib::Request &request, const char *name, long long fallback)
{
    if (!request.has_param(name))
        return fallback;
    const std::string text = request.get_param_value(name);
    if (text.empty() || text.size() > 12 || text.find_first_not_of("0123456789") != std::string::npos)
        return -1;
    return std::stoll(text);
}

// Why binding failed: tries the same address once more to learn the error.
std::string bindFailure(const std::string &host, int port)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0 || found == nullptr)
        return "the address cannot be resolved";
    std::string reason = "the address is not available";
    const int fd = ::socket(found->ai_family, found->ai_socktype | SOCK_CLOEXEC, found->ai_protocol);
    if (fd >= 0) {
        const int yes = 1;
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        if (::bind(fd, found->ai_addr, found->ai_addrlen) != 0 || ::listen(fd, 1) != 0)
            reason = std::strerror(errno);
        ::close(fd);
    }
    ::freeaddrinfo(found);
    return reason;
}

// Asks `probe` on the GUI thread every few milliseconds and hands each answer
// (none when the GUI did not answer in time) to `finished`, until it says so,
// `limit` has passed or the emulator closes. A probe may take the time that is
// left, rounded up so that a wait never gives up before its time, but at least
// `probeLeast`.
template <typename Answer, typename Probe, typename Finished>
void pollGui(GuiBridge &gui, std::chrono::milliseconds limit, std::chrono::milliseconds probeLeast, const Probe &probe,
             const Finished &finished)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline || gui.closing())
            return;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - now);
        if (finished(gui.call<Answer>(probe, std::max(left, probeLeast))))
            return;
        std::this_thread::sleep_for(pollPause);
    }
}

// HTTP/1.1 gives a request with neither Content-Length nor Transfer-Encoding
// an empty body, but httplib 0.11 reads a POST's body until the client closes
// and answers 400 after its 5 s read timeout: `curl -X POST URL` hung. httplib
// reads the body only after the pre-routing handler, and hands that handler
// its own request (not a const one), so saying the length there is enough.
void declareEmptyBodyWhenUnframed(const httplib::Request &request)
{
    if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding"))
        const_cast<httplib::Request &>(request).set_header("Content-Length", "0");
}

httplib::Server::HandlerResponse guardRequest(const std::string &listenHost, int listenPort,
                                              const httplib::Request &request, httplib::Response &response)
{
    const std::string origin = request.get_header_value("Origin");
    const auto refusal = refuseForeignRequest(listenHost, listenPort, request.get_header_value("Host"),
                                              request.has_header("Origin") ? &origin : nullptr);
    if (!refusal)
        return httplib::Server::HandlerResponse::Unhandled;
    replyError(response, refusal->status, refusal->reason);
    return httplib::Server::HandlerResponse::Handled;
}

void handlePage(const httplib::Request &request, httplib::Response &response)
{
    const WebAsset *asset = findWebAsset(request.path);
    if (asset == nullptr) {
        replyError(response, 404, "no such page");
        return;
    }
    response.set_header("Cache-Control", "no-cache");
    response.set_content(reinterpret_cast<const char *>(asset->data), asset->size, asset->contentType);
}

void handleLog(const httplib::Request &request, httplib::Response &response)
{
    const long long since = numberParameter(request, "since", 0);
    if (since < 0)
        return replyError(response, 400, "since must be a line number");
    JsonWriter json;
    json.beginObject();
    json.key("last").value(static_cast<long long>(boxlog::lastSequence()));
    json.key("lines").beginArray();
    for (const boxlog::Line &line : boxlog::linesSince(static_cast<std::uint64_t>(since))) {
        json.beginObject();
        json.key("sequence").value(static_cast<long long>(line.sequence));
        json.key("level").value(levelName(line.level));
        json.key("text").value(line.text);
        json.endObject();
    }
    json.endArray().endObject();
    replyJson(response, json.str());
}

// Gives httplib's bare 404 a body that says what was not found.
void handleMissing(const httplib::Request &request, httplib::Response &response)
{
    if (response.status == 404 && response.body.empty())
        replyError(response, 404, "nothing at " + request.path);
}

// What the settle wait has seen. Settled twice in a row, a few milliseconds
// apart, counts as settled.
struct SettleWatch
{
    SettleState last;
    bool answered = false; // the GUI answered at least once
    int settledInARow = 0;

    // Takes one answer (none: the GUI was busy); true once settled.
    bool see(const std::optional<SettleState> &state)
    {
        if (state) {
            last = *state;
            answered = true;
            settledInARow = state->settled() ? settledInARow + 1 : 0;
        }
        return settled();
    }
    bool settled() const { return settledInARow >= 2; }
};

struct StartPlan
{
    enum Outcome { planned, missing, busy } outcome = busy;
    std::uint64_t runsBefore = 0;
    std::string path;
};

// GUI thread: asks the plug-in menu to start the plug-in, as command 301 does.
StartPlan planStart(PluginMenu &menu)
{
    StartPlan plan;
    plan.path = menu.pluginPath();
    plan.runsBefore = menu.runsBegun();
    if (!menu.pluginAvailable())
        plan.outcome = StartPlan::missing;
    else
        plan.outcome = menu.requestStart() ? StartPlan::planned : StartPlan::busy;
    return plan;
}

struct StartProgress
{
    bool begun = false;
    bool ended = false;
    std::string window; // the title of the plug-in's window on top, if one is shown

    // Begun and either showing its window or over already.
    bool shown() const { return begun && (ended || !window.empty()); }
};

// GUI thread: how far the run after the first `runsBefore` runs has come.
StartProgress startProgress(PluginMenu &menu, std::uint64_t runsBefore)
{
    StartProgress progress;
    progress.begun = menu.runsBegun() > runsBefore;
    progress.ended = menu.runsEnded() > runsBefore;
    const eWidget *top = eScreen::osd().activeWindow();
    if (progress.begun && top != nullptr && top != menu.window())
        progress.window = top->getText();
    return progress;
}

} // namespace

ControlServer::ControlServer(GuiBridge &gui) : m_gui(gui), m_server(std::make_unique<httplib::Server>())
{
    m_server->new_task_queue = [] { return new httplib::ThreadPool(serverThreads); };
    // Only SO_REUSEADDR: with the library's default SO_REUSEPORT a second
    // emulator could share the port instead of being told it is taken.
    m_server->set_socket_options([](int socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    });
}

ControlServer::~ControlServer()
{
    stop();
}

bool ControlServer::bind(const std::string &host, int port, std::string &error)
{
    m_host = host;
    if (port == 0) {
        m_port = m_server->bind_to_any_port(host);
        if (m_port > 0)
            return true;
    } else if (m_server->bind_to_port(host, port)) {
        m_port = port;
        return true;
    }
    error = "cannot listen on " + host + ":" + std::to_string(port) + ": " + bindFailure(host, port);
    return false;
}

std::string ControlServer::url() const
{
    const bool v6 = m_host.find(':') != std::string::npos;
    return "http://" + (v6 ? "[" + m_host + "]" : m_host) + ":" + std::to_string(m_port);
}

void ControlServer::start(ScreenComposer &composer, PluginMenu &menu)
{
    m_composer = &composer;
    m_menu = &menu;
    addRoutes();
    m_thread = std::thread([this] { m_server->listen_after_bind(); });
    // stop() only reaches a server that runs: wait until it does.
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!m_server->is_running() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(1ms);
}

void ControlServer::stop()
{
    m_gui.close();
    if (m_thread.joinable()) {
        m_server->stop();
        m_thread.join();
    }
}

void ControlServer::addRoutes()
{
    using Handler = void (ControlServer::*)(const httplib::Request &, httplib::Response &);
    const auto bound = [this](Handler handler) {
        return [this, handler](const httplib::Request &request, httplib::Response &response) {
            (this->*handler)(request, response);
        };
    };
    httplib::Server &server = *m_server;
    server.set_payload_max_length(largestBody);
    server.set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
        declareEmptyBodyWhenUnframed(request);
        return guardRequest(m_host, m_port, request, response);
    });
    server.Get(R"(/(|index\.html|app\.js|style\.css))", handlePage);
    server.Post(R"(/api/key/([^/]+))", bound(&ControlServer::handleKey));
    server.Post("/api/text", bound(&ControlServer::handleText));
    server.Get("/api/widgets", bound(&ControlServer::handleWidgets));
    server.Get("/api/screen.png", bound(&ControlServer::handleScreenPng));
    server.Get("/api/lcd", bound(&ControlServer::handleLcd));
    server.Get("/api/lcd.png", bound(&ControlServer::handleLcdPng));
    server.Post("/api/settle", bound(&ControlServer::handleSettle));
    server.Post("/api/plugin/start", bound(&ControlServer::handlePluginStart));
    server.Get("/api/log", handleLog);
    server.set_error_handler(handleMissing);
}

void ControlServer::handleKey(const httplib::Request &request, httplib::Response &response)
{
    const std::string key = request.matches[1];
    const auto known = m_gui.call<bool>([key] { return isRemoteKey(key); });
    if (!known)
        return replyBusy(response);
    if (!*known)
        return replyError(response, 404, "no remote-control key is called \"" + key + "\"");
    const auto press = m_gui.press([key] { return pressRemoteKey(key); });
    if (!press)
        return replyBusy(response);
    JsonWriter json;
    json.beginObject();
    json.key("key").value(key);
    json.key("used").value(press->used);
    json.key("modal").value(!press->finished);
    json.endObject();
    replyJson(response, json.str());
}

void ControlServer::handleText(const httplib::Request &request, httplib::Response &response)
{
    const std::u32string characters = boxtext::decodeUtf8(request.body);
    const auto typed = m_gui.press([characters] {
        bool used = false;
        for (const char32_t character : characters)
            used = typeCharacter(character) || used;
        return used;
    });
    if (!typed)
        return replyBusy(response);
    JsonWriter json;
    json.beginObject();
    json.key("characters").value(static_cast<long long>(characters.size()));
    json.key("used").value(typed->used);
    json.key("modal").value(!typed->finished);
    json.endObject();
    replyJson(response, json.str());
}

void ControlServer::handleWidgets(const httplib::Request &, httplib::Response &response)
{
    const auto widgets = m_gui.call<std::string>([] { return eScreen::osd().describe(); });
    if (!widgets)
        return replyBusy(response);
    replyJson(response, *widgets);
}

void ControlServer::handleScreenPng(const httplib::Request &, httplib::Response &response)
{
    replyComposed(response, &ScreenComposer::composeScreen);
}

void ControlServer::handleLcd(const httplib::Request &, httplib::Response &response)
{
    const auto lcd = m_gui.call<std::string>([] { return eZapLCD::getInstance()->describe(); });
    if (!lcd)
        return replyBusy(response);
    replyJson(response, *lcd);
}

void ControlServer::handleLcdPng(const httplib::Request &, httplib::Response &response)
{
    replyComposed(response, &ScreenComposer::composeLcd);
}

void ControlServer::replyComposed(httplib::Response &response, const gPixmap &(ScreenComposer::*compose)())
{
    ScreenComposer *composer = m_composer;
    const auto picture = m_gui.call<std::shared_ptr<gPixmap>>(
        [composer, compose] { return std::shared_ptr<gPixmap>((composer->*compose)().clone()); });
    if (!picture)
        return replyBusy(response);
    replyPng(response, *picture);
}

void ControlServer::handleSettle(const httplib::Request &request, httplib::Response &response)
{
    const long long ms = numberParameter(request, "ms", settleDefault.count());
    if (ms < 0)
        return replyError(response, 400, "ms must be a number of milliseconds");
    const auto started = std::chrono::steady_clock::now();
    SettleWatch watch;
    pollGui<SettleState>(m_gui, std::min(std::chrono::milliseconds(ms), settleMost), settleProbeLeast,
                         currentSettleState,
                         [&watch](const std::optional<SettleState> &state) { return watch.see(state); });
    const auto waited =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started);
    JsonWriter json;
    json.beginObject();
    json.key("settled").value(watch.settled());
    json.key("reason").value(watch.settled() ? "idle" : watch.answered ? "timeout" : "gui-busy");
    json.key("waitedMs").value(static_cast<long long>(waited.count()));
    json.key("activeTransfers").value(watch.last.activeTransfers);
    json.key("damagePending").value(watch.last.damagePending);
    json.key("loopBusy").value(watch.last.loopBusy);
    json.endObject();
    replyJson(response, json.str());
}

void ControlServer::handlePluginStart(const httplib::Request &, httplib::Response &response)
{
    PluginMenu *menu = m_menu;
    const auto plan = m_gui.call<StartPlan>([menu] { return planStart(*menu); });
    if (!plan)
        return replyBusy(response);
    if (plan->outcome == StartPlan::missing)
        return replyError(response, 404, "plug-in not found: " + plan->path);
    if (plan->outcome == StartPlan::busy)
        return replyError(response, 409, "the plug-in runs already");

    // Answers once the plug-in shows its window (or has already ended). A
    // start that keeps the GUI busy may use the whole limit for one probe.
    const std::uint64_t before = plan->runsBefore;
    std::optional<StartProgress> progress;
    pollGui<StartProgress>(
        m_gui, startLimit, startLimit, [menu, before] { return startProgress(*menu, before); },
        [&progress](const std::optional<StartProgress> &answer) {
            progress = answer;
            return answer && answer->shown();
        });
    if (!progress || !progress->begun)
        return replyBusy(response);
    JsonWriter json;
    json.beginObject();
    json.key("started").value(true);
    json.key("running").value(!progress->ended);
    json.key("window").value(progress->window);
    json.endObject();
    replyJson(response, json.str(), progress->shown() ? 200 : 202);
}

} // namespace emulator

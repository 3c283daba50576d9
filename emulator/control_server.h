#ifndef TARNWAVE_EMULATOR_CONTROL_SERVER_H
#define TARNWAVE_EMULATOR_CONTROL_SERVER_H

// The emulator's HTTP side: the browser page at "/" and the control API under
// "/api/" (see usageText() and the README of emulator/), on one port. Requests
// are served on the server's threads; everything that touches the GUI goes
// through the GuiBridge, so a stuck GUI answers 503 instead of hanging.

#include <memory>
#include <string>
#include <thread>

namespace httplib {
struct Request;
struct Response;
class Server;
} // namespace httplib

class gPixmap;

namespace emulator {

class GuiBridge;
class PluginMenu;
class ScreenComposer;

class ControlServer
{
public:
    explicit ControlServer(GuiBridge &gui);
    ~ControlServer();
    ControlServer(const ControlServer &) = delete;
    ControlServer &operator=(const ControlServer &) = delete;

    // Binds the port (0: any free one); false with the reason in `error`.
    bool bind(const std::string &host, int port, std::string &error);
    int port() const { return m_port; }
    // "http://HOST:PORT"
    std::string url() const;

    // Serves on a thread of its own until stop(). The GUI objects are used on
    // the GUI thread only (through the bridge); they must outlive stop().
    void start(ScreenComposer &composer, PluginMenu &menu);
    void stop();

private:
    void addRoutes();

    // One handler a route; each answers on the server's thread and reaches
    // the GUI through the bridge only.
    void handleKey(const httplib::Request &request, httplib::Response &response);
    void handleText(const httplib::Request &request, httplib::Response &response);
    void handleWidgets(const httplib::Request &request, httplib::Response &response);
    void handleScreenPng(const httplib::Request &request, httplib::Response &response);
    void handleLcd(const httplib::Request &request, httplib::Response &response);
    void handleLcdPng(const httplib::Request &request, httplib::Response &response);
    void handleSettle(const httplib::Request &request, httplib::Response &response);
    void handlePluginStart(const httplib::Request &request, httplib::Response &response);

    // A PNG of what `compose` paints on the GUI thread.
    void replyComposed(httplib::Response &response, const gPixmap &(ScreenComposer::*compose)());

    GuiBridge &m_gui;
    ScreenComposer *m_composer = nullptr;
    PluginMenu *m_menu = nullptr;
    std::unique_ptr<httplib::Server> m_server;
    std::string m_host;
    int m_port = 0;
    std::thread m_thread;
};

} // namespace emulator

#endif

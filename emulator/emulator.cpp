#include "emulator.h"

#include "box_root.h"
#include "control_server.h"
#include "desktop_window.h"
#include "gui_bridge.h"
#include "plugin_library.h"
#include "plugin_menu.h"
#include "request_guard.h"
#include "screen_composer.h"
#include "script_player.h"
#include "shutdown_signals.h"
#include "station_server_child.h"

#include "base/ebase.h"
#include "base/econfig.h"
#include "base/elog.h"
#include "base/boxpath.h"
#include "base/whole_file.h"
#include "gui/eskin.h"
#include "media/gstreamer/register_stream_handler.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#ifndef TARNWAVE_STATION_SERVER
#define TARNWAVE_STATION_SERVER "station-server"
#endif

namespace emulator {
namespace {

constexpr const char *directoryKey = "/tarnwave/directory";
constexpr const char *defaultStationListen = "127.0.0.1:8150";

int refuse(const std::string &message)
{
    std::fprintf(stderr, "box-emulator: %s\n", message.c_str());
    return exitUnusable;
}

// The plug-in to run: --plugin must load; the default may be missing (the
// emulator then runs with the menu only), but not broken.
bool loadPlugin(const EmulatorOptions &options, std::unique_ptr<PluginLibrary> &plugin, std::string &error)
{
    std::error_code code;
    if (!options.pluginGiven && !std::filesystem::exists(options.pluginPath, code)) {
        eWarning("box-emulator: plug-in not found: %s (the menu says so on OK)", options.pluginPath.c_str());
        return true;
    }
    plugin = PluginLibrary::load(options.pluginPath, error);
    return plugin != nullptr;
}

bool loadScript(const std::string &path, std::vector<ScriptStep> &steps, std::string &error)
{
    std::string text;
    if (const int failure = boxfile::readWholeFile(path, text); failure != 0) {
        error = "cannot read the script " + path + ": " + std::strerror(failure);
        return false;
    }
    if (!parseScript(text, steps, error)) {
        error = path + ": " + error;
        return false;
    }
    return true;
}

// The embedded station server (a gateway to `upstream` when given): on its
// default port, or on a free one when that is taken.
bool startStationServer(StationServerChild &server, const std::string &upstream, std::string &error)
{
    const std::string log = boxPath("/tmp/station-server.log");
    if (server.start(TARNWAVE_STATION_SERVER, defaultStationListen, upstream, log, error))
        return true;
    eWarning("box-emulator: %s; trying a free port", error.c_str());
    return server.start(TARNWAVE_STATION_SERVER, "127.0.0.1:0", upstream, log, error);
}

} // namespace

int runEmulator(const EmulatorOptions &options)
{
    if (options.headless && std::getenv("TARNWAVE_AUDIO_SINK") == nullptr)
        ::setenv("TARNWAVE_AUDIO_SINK", "fakesink sync=true", 1);

    std::string error;
    if (!prepareBoxRoot(options.root, error))
        return refuse(error);
    std::unique_ptr<PluginLibrary> plugin;
    if (!loadPlugin(options, plugin, error))
        return refuse(error);
    std::vector<ScriptStep> steps;
    if (!options.scriptPath.empty() && !loadScript(options.scriptPath, steps, error))
        return refuse(error);

    eApplication app;
    GuiBridge gui(app);
    ControlServer control(gui);
    if (!control.bind(options.listenHost, options.listenPort, error))
        return refuse(error);
    if (!isLoopbackAddress(options.listenHost))
        std::fprintf(stderr,
                     "box-emulator: warning: %s is not a loopback address: anyone who can reach it can press the "
                     "box's keys and see its screen\n",
                     control.url().c_str());

    eSkin skin;
    if (!options.skinPath.empty() && skin.load(options.skinPath.c_str()) != 0)
        eWarning("box-emulator: the skin %s did not load; using the built-in look", options.skinPath.c_str());
    skin.setActive();
    eConfig::reload();

    ScreenComposer composer;
    auto menu = std::make_unique<PluginMenu>(plugin.get(), options.pluginPath);

    StationServerChild stationServer;
    std::string directory = options.directoryUrl;
    if (directory.empty()) {
        if (!startStationServer(stationServer, options.upstream, error))
            return refuse("cannot start the station server: " + error + " (--directory URL uses another)");
        directory = stationServer.url();
        ShutdownSignals::setChildToStop(stationServer.pid());
    }
    eConfig::getInstance()->setKey(directoryKey, directory);
    eDebug("box-emulator: the station directory is %s", directory.c_str());

    boxmedia::registerStreamHandler();
    ShutdownSignals signals(app);

    menu->show();
    std::unique_ptr<DesktopWindow> window;
    if (!options.headless)
        window = DesktopWindow::open(composer, "Tarnwave box");
    control.start(composer, *menu);
    std::printf("box-emulator: listening on %s\n", control.url().c_str());
    if (!window && options.scriptPath.empty())
        std::printf("box-emulator: the box is on the page %s/ (no window here); Ctrl-C stops it\n",
                    control.url().c_str());
    std::fflush(stdout);

    if (plugin && options.autostart)
        menu->requestStart();
    std::unique_ptr<ScriptPlayer> script;
    if (!options.scriptPath.empty()) {
        script = std::make_unique<ScriptPlayer>(std::move(steps), options.shotsDir, composer, [&](int status) {
            if (!options.stay)
                app.quit(status);
        });
        script->start();
    }

    const int status = app.exec();

    control.stop();
    script.reset();
    window.reset();
    boxmedia::unregisterStreamHandler();
    stationServer.stop();
    ShutdownSignals::setChildToStop(0);
    menu.reset();
    eDebug("box-emulator: stopped");
    return status;
}

} // namespace emulator

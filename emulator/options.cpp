#include "options.h"

#include <cstdlib>

#ifndef TARNWAVE_DEFAULT_PLUGIN
#define TARNWAVE_DEFAULT_PLUGIN "tarnwave.so"
#endif
#ifndef TARNWAVE_DEFAULT_SKIN
#define TARNWAVE_DEFAULT_SKIN ""
#endif

namespace emulator {
namespace {

std::string defaultRoot()
{
    const char *data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && *data == '/')
        return std::string(data) + "/tarnwave-box";
    const char *home = std::getenv("HOME");
    return std::string(home != nullptr && *home != '\0' ? home : "/tmp") + "/.local/share/tarnwave-box";
}

} // namespace

bool parseListenAddress(const std::string &text, std::string &host, int &port)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 >= text.size())
        return false;
    const std::string portText = text.substr(colon + 1);
    if (portText.size() > 5 || portText.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const int value = std::atoi(portText.c_str());
    if (value > 65535)
        return false;
    host = text.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    port = value;
    return true;
}

std::optional<EmulatorOptions> parseOptions(const std::vector<std::string> &arguments, std::string &error)
{
    EmulatorOptions options;
    options.root = defaultRoot();
    options.pluginPath = TARNWAVE_DEFAULT_PLUGIN;
    options.skinPath = TARNWAVE_DEFAULT_SKIN;

    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string option = arguments[i];
        std::optional<std::string> inlineValue;
        if (const std::size_t equals = option.find('='); option.starts_with("--") && equals != std::string::npos) {
            inlineValue = option.substr(equals + 1);
            option = option.substr(0, equals);
        }
        // The value of an option that takes one.
        const auto value = [&](std::string &target) {
            if (inlineValue) {
                target = *inlineValue;
                return true;
            }
            if (i + 1 >= arguments.size()) {
                error = option + " needs a value (see --help)";
                return false;
            }
            target = arguments[++i];
            return true;
        };
        const auto flag = [&](bool &target, bool set) {
            if (inlineValue) {
                error = option + " takes no value";
                return false;
            }
            target = set;
            return true;
        };

        bool ok = true;
        if (option == "--help" || option == "-h") {
            options.help = true;
        } else if (option == "--root") {
            ok = value(options.root);
            if (ok && options.root.empty()) {
                error = "--root needs a directory";
                ok = false;
            }
        } else if (option == "--listen") {
            std::string text;
            ok = value(text);
            if (ok && !parseListenAddress(text, options.listenHost, options.listenPort)) {
                error = "--listen needs HOST:PORT (port 0 to 65535), not \"" + text + "\"";
                ok = false;
            }
        } else if (option == "--directory") {
            ok = value(options.directoryUrl);
            if (ok && !options.directoryUrl.starts_with("http://") && !options.directoryUrl.starts_with("https://")) {
                error = "--directory needs an http:// or https:// URL, not \"" + options.directoryUrl + "\"";
                ok = false;
            }
            while (ok && options.directoryUrl.ends_with('/'))
                options.directoryUrl.pop_back();
        } else if (option == "--plugin") {
            ok = value(options.pluginPath);
            options.pluginGiven = true;
        } else if (option == "--autostart") {
            ok = flag(options.autostart, true);
        } else if (option == "--no-autostart") {
            ok = flag(options.autostart, false);
        } else if (option == "--headless") {
            ok = flag(options.headless, true);
        } else if (option == "--script") {
            ok = value(options.scriptPath);
        } else if (option == "--shots") {
            ok = value(options.shotsDir);
        } else if (option == "--stay") {
            ok = flag(options.stay, true);
        } else if (option == "--skin") {
            ok = value(options.skinPath);
        } else if (option == "--upstream") {
            ok = value(options.upstream);
        } else {
            error = "unknown option \"" + arguments[i] + "\" (see --help)";
            ok = false;
        }
        if (!ok)
            return std::nullopt;
    }
    if (!options.upstream.empty() && !options.directoryUrl.empty()) {
        error = "--upstream goes to the embedded station server, which --directory replaces: give one of them";
        return std::nullopt;
    }
    return options;
}

std::string usageText()
{
    return "Usage: box-emulator [OPTIONS]\n"
           "The set-top box on a PC: runs a box plug-in in the host's toolkit, shows the\n"
           "TV picture with the on-screen display over it, and takes the remote control's\n"
           "keys from a desktop window, a browser page, a script or the control API.\n"
           "\n"
           "  --plugin PATH       the plug-in to load (default: the built tarnwave.so;\n"
           "                      when that is missing the emulator runs without one)\n"
           "  --root DIR          the directory that stands for the box's / (default\n"
           "                      ~/.local/share/tarnwave-box); prepared on first start\n"
           "  --directory URL     the station directory; default: start station-server\n"
           "                      on 127.0.0.1:8150 (or a free port) and stop it on exit\n"
           "  --upstream radio-browser[=URL,...] | shoutcast=KEY[@URL]\n"
           "                      the embedded station server serves today's live\n"
           "                      directory instead of its catalogue: the community\n"
           "                      radio directory, or SHOUTcast's with your developer\n"
           "                      key (see station-server --help)\n"
           "  --listen HOST:PORT  the page and the control API (default 127.0.0.1:8160;\n"
           "                      port 0 picks a free one). Prints \"box-emulator:\n"
           "                      listening on http://HOST:PORT\" when ready\n"
           "  --no-autostart      show the plug-in menu instead of starting the plug-in\n"
           "  --autostart         start the plug-in at once (the default)\n"
           "  --headless          no window and no sound (the page still works)\n"
           "  --script FILE       play a script, then exit (see below)\n"
           "  --shots DIR         where a script's \"shot NAME\" writes NAME.png (default out)\n"
           "  --stay              keep running after the script\n"
           "  --skin FILE         the skin to use (default: the built default skin)\n"
           "  --help              this text\n"
           "\n"
           "Keys: up down left right ok exit menu record red green yellow blue 0-9\n"
           "channelup channeldown. In the window: arrows, Enter (ok), Escape or Backspace\n"
           "(exit), F1-F4 (red, green, yellow, blue), M (menu), R (record), digits,\n"
           "Page Up/Down (channel up/down). Letters, blanks and punctuation go to a text\n"
           "field that has the focus; M and R act as keys when none takes them.\n"
           "\n"
           "Script lines: KEY or \"key KEY\", \"wait MS\", \"settle [MS]\", \"shot NAME\",\n"
           "\"text STRING\"; \"#\" starts a comment.\n"
           "\n"
           "Control API: POST /api/key/NAME, POST /api/text (typed characters),\n"
           "GET /api/widgets, GET /api/screen.png, GET /api/lcd, GET /api/lcd.png,\n"
           "POST /api/settle?ms=N, POST /api/plugin/start, GET /api/log?since=N.\n"
           "\n"
           "Exit status: 0 when stopped (Ctrl-C, SIGTERM, end of a script), 1 when a\n"
           "script failed, 2 for an unusable command line, plug-in, root or port.\n";
}

} // namespace emulator

#ifndef TARNWAVE_EMULATOR_OPTIONS_H
#define TARNWAVE_EMULATOR_OPTIONS_H

// The emulator's command line.

#include <optional>
#include <string>
#include <vector>

namespace emulator {

struct EmulatorOptions
{
    std::string root; // the box root; default ~/.local/share/tarnwave-box
    std::string listenHost = "127.0.0.1";
    int listenPort = 8160; // 0: any free port
    std::string directoryUrl; // empty: start the embedded station server
    std::string upstream; // the embedded station server's --upstream; empty: its catalogue
    std::string pluginPath; // the built tarnwave.so unless given
    bool pluginGiven = false; // --plugin was on the command line
    bool autostart = true;
    bool headless = false;
    std::string scriptPath; // empty: no script
    std::string shotsDir = "out";
    bool stay = false; // keep running after the script
    std::string skinPath;
    bool help = false;
};

// The options, or the reason the command line cannot be followed in `error`.
std::optional<EmulatorOptions> parseOptions(const std::vector<std::string> &arguments, std::string &error);

std::string usageText();

// "HOST:PORT" split; false when malformed (port outside 0..65535).
bool parseListenAddress(const std::string &text, std::string &host, int &port);

} // namespace emulator

#endif

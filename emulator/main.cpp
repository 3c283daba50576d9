// box-emulator: the set-top box on a PC (see usageText() in options.cpp).

#include "emulator.h"
#include "options.h"

#include <cstdio>
#include <string>
#include <vector>

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    std::string error;
    const auto options = emulator::parseOptions(arguments, error);
    if (!options) {
        std::fprintf(stderr, "box-emulator: %s\n", error.c_str());
        return emulator::exitUnusable;
    }
    if (options->help) {
        std::fputs(emulator::usageText().c_str(), stdout);
        return 0;
    }
    return emulator::runEmulator(*options);
}

#include "process_cpu.h"

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

double cpuSecondsOf(pid_t pid)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string stat;
    std::getline(in, stat);
    // The fields after the command name in parentheses: utime and stime are
    // the 12th and 13th of them.
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::string field;
    double ticks = 0.0;
    for (int index = 1; index <= 13 && fields >> field; ++index) {
        if (index >= 12)
            ticks += std::stod(field);
    }
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

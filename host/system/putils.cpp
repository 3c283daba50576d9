#include "system/putils.h"

#include "base/boxpath.h"
#include "base/elog.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

extern char **environ;

namespace {

// The host's environment with the box root set, as "NAME=value" strings.
std::vector<std::string> daemonEnvironment()
{
    const std::string &root = boxRoot();
    std::vector<std::string> variables;
    for (char **entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view variable(*entry);
        if (variable.starts_with("TARNWAVE_ROOT=") || variable.starts_with("BOX_ROOT="))
            continue;
        variables.emplace_back(variable);
    }
    variables.push_back("TARNWAVE_ROOT=" + root);
    variables.push_back("BOX_ROOT=" + root);
    return variables;
}

// In the daemon's process, between fork and exec: only async-signal-safe calls.
[[noreturn]] void execDaemonCommand(const char *workingDirectory, int nullDevice, char *const argv[],
                                    char *const envp[])
{
    if (nullDevice >= 0) {
        dup2(nullDevice, STDIN_FILENO);
        dup2(nullDevice, STDOUT_FILENO);
        dup2(nullDevice, STDERR_FILENO);
    }
    if (chdir(workingDirectory) != 0)
        _exit(126);
    struct sigaction defaultAction = {};
    defaultAction.sa_handler = SIG_DFL;
    for (int signalNumber = 1; signalNumber < NSIG; ++signalNumber)
        sigaction(signalNumber, &defaultAction, nullptr); // fails harmlessly for KILL, STOP, RT internals
    sigset_t nothingBlocked;
    sigemptyset(&nothingBlocked);
    sigprocmask(SIG_SETMASK, &nothingBlocked, nullptr);
    close_range(3, ~0U, 0);
    execve("/bin/sh", argv, envp);
    _exit(127);
}

} // namespace

eString pUtils::pUserAgent()
{
    return eString("Tarnwave-Box/" TARNWAVE_VERSION " (boxhost; Linux)");
}

bool pUtils::pFindFile(const eString &path)
{
    if (path.empty())
        return false;
    struct stat info = {};
    return stat(boxPath(path).c_str(), &info) == 0;
}

bool pUtils::send2pDaemon(const eString &cmdline)
{
    eDebug("pDaemon: %s", cmdline.c_str());

    // Everything the daemon's process needs is made before fork: after it,
    // in a host with threads, only async-signal-safe calls are allowed.
    const std::string workingDirectory = boxRoot().empty() ? std::string("/") : boxRoot();
    std::vector<std::string> environment = daemonEnvironment();
    std::vector<char *> envp;
    envp.reserve(environment.size() + 1);
    for (std::string &variable : environment)
        envp.push_back(variable.data());
    envp.push_back(nullptr);
    std::string shellName = "sh";
    std::string shellOption = "-c";
    std::string command = cmdline;
    char *const argv[] = {shellName.data(), shellOption.data(), command.data(), nullptr};
    const int nullDevice = open("/dev/null", O_RDWR | O_CLOEXEC);

    // Fork twice: the first child starts a new session, forks the daemon's
    // process and exits at once, so the daemon's process belongs to init and
    // the host never has to reap it.
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        const pid_t daemonProcess = fork();
        if (daemonProcess == 0)
            execDaemonCommand(workingDirectory.c_str(), nullDevice, argv, envp.data());
        _exit(daemonProcess < 0 ? 1 : 0);
    }
    const int forkError = errno;
    if (nullDevice >= 0)
        close(nullDevice);
    if (child < 0) {
        eWarning("pDaemon: cannot start \"%s\": %s", cmdline.c_str(), std::strerror(forkError));
        return false;
    }

    int status = 0;
    pid_t reaped = -1;
    do {
        reaped = waitpid(child, &status, 0);
    } while (reaped < 0 && errno == EINTR);
    if (reaped == child && !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) {
        eWarning("pDaemon: cannot start \"%s\"", cmdline.c_str());
        return false;
    }
    return true;
}

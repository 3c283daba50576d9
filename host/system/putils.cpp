#include "system/putils.h"

#include "base/boxpath.h"
#include "base/elog.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

extern char **environ;

namespace {

// Up to `limit` bytes of a small file such as /proc/<pid>/comm; "" when it
// cannot be read (the process may have ended meanwhile).
std::string readSmallFile(const std::string &path, std::size_t limit = 4096)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {};
    std::string contents(limit, '\0');
    std::size_t filled = 0;
    while (filled < limit) {
        const ssize_t got = read(fd, contents.data() + filled, limit - filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        filled += static_cast<std::size_t>(got);
    }
    close(fd);
    contents.resize(filled);
    return contents;
}

bool isProcessDirectory(const char *name)
{
    if (*name == '\0')
        return false;
    for (; *name != '\0'; ++name)
        if (*name < '0' || *name > '9')
            return false;
    return true;
}

std::string commOf(const std::string &processDir)
{
    std::string comm = readSmallFile(processDir + "/comm", 64);
    while (!comm.empty() && comm.back() == '\n')
        comm.pop_back();
    return comm;
}

std::string argv0BaseNameOf(const std::string &processDir)
{
    const std::string cmdline = readSmallFile(processDir + "/cmdline");
    const std::string_view argv0(cmdline.c_str()); // up to the first NUL
    const auto slash = argv0.rfind('/');
    return std::string(slash == std::string_view::npos ? argv0 : argv0.substr(slash + 1));
}

// A process that has ended and waits for its parent to reap it.
bool isZombie(const std::string &processDir)
{
    const std::string stat = readSmallFile(processDir + "/stat", 512);
    const auto nameEnd = stat.rfind(')'); // the name itself may hold ')'
    return nameEnd != std::string::npos && nameEnd + 2 < stat.size() && stat[nameEnd + 2] == 'Z';
}

bool hasName(const std::string &processDir, const std::string &name)
{
    const std::string comm = commOf(processDir);
    if (comm.empty())
        return false; // ended meanwhile
    return comm == name || argv0BaseNameOf(processDir) == name;
}

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

bool pUtils::is_running(const eString &name)
{
    if (name.empty())
        return false;
    std::unique_ptr<DIR, int (*)(DIR *)> proc(opendir("/proc"), closedir);
    if (!proc)
        return false;
    while (const dirent *entry = readdir(proc.get())) {
        if (!isProcessDirectory(entry->d_name))
            continue;
        const std::string processDir = std::string("/proc/") + entry->d_name;
        if (hasName(processDir, name) && !isZombie(processDir))
            return true;
    }
    return false;
}

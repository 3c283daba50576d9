#include "system/process_table.h"

#include "system/putils.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

namespace boxhost {
namespace {

// The kernel keeps this many bytes of a program's name (comm).
constexpr std::size_t kernelNameLength = 15;

bool isProcessDirectory(const char *name)
{
    if (*name == '\0')
        return false;
    for (; *name != '\0'; ++name)
        if (*name < '0' || *name > '9')
            return false;
    return true;
}

// Up to `size` bytes of an open file from its start; the length, 0 on failure.
std::size_t readFrom(int fd, char *buffer, std::size_t size)
{
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t got = pread(fd, buffer + filled, size - filled, static_cast<off_t>(filled));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        filled += static_cast<std::size_t>(got);
    }
    return filled;
}

// Up to `size` bytes of /proc/<directory>/<file>; 0 when it cannot be read.
std::size_t readProcessFile(int procFd, const char *directory, const char *file, char *buffer, std::size_t size)
{
    char path[sizeof(dirent::d_name) + 16];
    std::snprintf(path, sizeof path, "%s/%s", directory, file);
    const int fd = openat(procFd, path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return 0;
    const std::size_t length = readFrom(fd, buffer, size);
    close(fd);
    return length;
}

// The fields of "PID (NAME) STATE PPID PGRP SESSION TTY TPGID FLAGS ...";
// the name may itself hold blanks and ')'. Empty when unreadable.
std::string_view statFieldsAfterName(std::string_view line)
{
    const auto nameEnd = line.rfind(')');
    if (nameEnd == std::string_view::npos || nameEnd + 2 >= line.size())
        return {};
    return line.substr(nameEnd + 2);
}

// A process that has ended and waits for its parent to reap it.
bool isZombie(int procFd, const char *directory)
{
    char stat[512];
    const std::string_view fields =
        statFieldsAfterName(std::string_view(stat, readProcessFile(procFd, directory, "stat", stat, sizeof stat)));
    return !fields.empty() && fields.front() == 'Z';
}

// The kernel marks its own threads with this process flag.
constexpr unsigned long kernelThreadFlag = 0x00200000;

bool isKernelThread(int procFd, const char *directory)
{
    char stat[512];
    std::string_view fields =
        statFieldsAfterName(std::string_view(stat, readProcessFile(procFd, directory, "stat", stat, sizeof stat)));
    // FLAGS is the seventh field after the name.
    for (int skipped = 0; skipped < 6 && !fields.empty(); ++skipped) {
        const auto blank = fields.find(' ');
        fields = blank == std::string_view::npos ? std::string_view() : fields.substr(blank + 1);
    }
    if (fields.empty())
        return false;
    const std::string flags(fields.substr(0, fields.find(' ')));
    return (std::strtoul(flags.c_str(), nullptr, 10) & kernelThreadFlag) != 0;
}

// Whether the base name of the process's argv[0] is `name`.
bool argv0BaseNameIs(int procFd, const char *directory, std::string_view name)
{
    char cmdline[4096];
    std::string_view argv0(cmdline, readProcessFile(procFd, directory, "cmdline", cmdline, sizeof cmdline));
    argv0 = argv0.substr(0, argv0.find('\0'));
    const auto slash = argv0.rfind('/');
    return (slash == std::string_view::npos ? argv0 : argv0.substr(slash + 1)) == name;
}

} // namespace

ProcessTable::ProcessTable() = default;

ProcessTable::~ProcessTable()
{
    for (const auto &[pid, process] : m_processes)
        if (process.fd >= 0)
            close(process.fd);
    if (m_proc)
        closedir(m_proc);
}

std::size_t ProcessTable::keptFiles() const
{
    std::lock_guard lock(m_mutex);
    return m_keptFiles;
}

ProcessTable::KnownProcesses::iterator ProcessTable::learn(pid_t pid, const dirent &entry)
{
    const int procFd = dirfd(m_proc);
    KnownProcess process{entry.d_ino, isKernelThread(procFd, entry.d_name), -1, m_scans};
    if (!process.kernelThread && m_keptFiles < maxKeptFiles) {
        char path[sizeof(dirent::d_name) + 16];
        std::snprintf(path, sizeof path, "%s/comm", entry.d_name);
        process.fd = openat(procFd, path, O_RDONLY | O_CLOEXEC);
        if (process.fd >= 0)
            ++m_keptFiles;
    }
    return m_processes.insert_or_assign(pid, process).first;
}

void ProcessTable::forget(KnownProcesses::iterator process)
{
    if (process->second.fd >= 0) {
        close(process->second.fd);
        --m_keptFiles;
    }
    m_processes.erase(process);
}

std::size_t ProcessTable::readName(const KnownProcess &process, const char *directory, char *buffer,
                                   std::size_t size) const
{
    if (process.fd >= 0)
        return readFrom(process.fd, buffer, size);
    return readProcessFile(dirfd(m_proc), directory, "comm", buffer, size);
}

void ProcessTable::forgetProcessesNotSeen(std::size_t scan)
{
    for (auto process = m_processes.begin(); process != m_processes.end();) {
        const auto next = std::next(process);
        if (process->second.seenInScan != scan)
            forget(process);
        process = next;
    }
}

bool ProcessTable::hasProcessNamed(std::string_view name)
{
    if (name.empty())
        return false;
    std::lock_guard lock(m_mutex);
    if (!m_proc)
        m_proc = opendir("/proc");
    if (!m_proc)
        return false;
    rewinddir(m_proc);
    const std::size_t scan = ++m_scans;
    // A longer name shows in the kernel's table cut short: those processes
    // are told by their argv[0].
    const bool cutShort = name.size() > kernelNameLength;
    const std::string_view kernelName = name.substr(0, kernelNameLength);

    bool found = false;
    while (const dirent *entry = readdir(m_proc)) {
        if (!isProcessDirectory(entry->d_name))
            continue;
        const auto pid = static_cast<pid_t>(std::strtol(entry->d_name, nullptr, 10));
        auto process = m_processes.find(pid);
        if (process != m_processes.end() && process->second.inode != entry->d_ino) {
            forget(process); // the number belongs to another process now
            process = m_processes.end();
        }
        if (process == m_processes.end())
            process = learn(pid, *entry);
        process->second.seenInScan = scan;
        // Every process is marked as seen, also after a match.
        if (found || process->second.kernelThread)
            continue;

        char comm[64];
        std::size_t length = readName(process->second, entry->d_name, comm, sizeof comm);
        if (length == 0) {
            forget(process); // gone meanwhile
            continue;
        }
        while (length > 0 && comm[length - 1] == '\n')
            --length;
        if (std::string_view(comm, length) != kernelName)
            continue;
        const int procFd = dirfd(m_proc);
        found = !isZombie(procFd, entry->d_name) && (!cutShort || argv0BaseNameIs(procFd, entry->d_name, name));
    }
    forgetProcessesNotSeen(scan);
    return found;
}

} // namespace boxhost

bool pUtils::is_running(const eString &name)
{
    static boxhost::ProcessTable table;
    return table.hasProcessNamed(name);
}
